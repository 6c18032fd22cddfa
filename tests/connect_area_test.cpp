// Connected areas: the generators against the labeller by point lists; records, classes and spot
// removal against plain forms over those labels.
#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>

#include <functional>
#include <string>

#include "binary_patterns.h"
#include "kel_ConnectArea_internal.h"
#include "loaded_image.h"

using test::area;
using test::Bytes;
using test::Guarded;

namespace {

using Labels = std::vector<int>;

struct Labelled {
    Labels labels;
    int count = 0;
};

/// By the point lists; `full` takes 255 alone as foreground.
Labelled labelledByLists(const Bytes& plane, kelSize size, bool full) {
    Labelled result{Labels(plane.size()), 0};
    int foreground = 0;
    for (size_t i = 0; i < plane.size(); ++i)
        if (full ? plane[i] == 255 : plane[i] != 0) {
            result.labels[i] = -1;
            ++foreground;
        }
    result.count =
        KC_GenerateCALabelBuf_Inner(size.width, size.height, result.labels.data(), foreground + 1);
    return result;
}

std::vector<kelConnectArea> recordsOf(const Labelled& of, kelSize size) {
    std::vector<kelConnectArea> records(size_t(of.count) + 1);
    for (size_t i = 0; i < of.labels.size(); ++i)
        if (of.labels[i] > 0)
            KelSetConnectArea(int(i) % size.width, int(i) / size.width,
                              &records[size_t(of.labels[i])]);
    return records;
}

/// An IplImage over guarded rows: their first bytes are the plane, the rest 7.
class Ipl {
  public:
    Ipl(const Bytes& plane, kelSize size, int channels, int padding)
        : width_(size_t(size.width)),
          step_(size_t(size.width * channels + padding)),
          bytes_(laidOut(plane)) {
        cvInitImageHeader(&image, cvSize(size.width, size.height), IPL_DEPTH_8U, channels);
        cvSetData(&image, bytes_.data(), int(step_));
    }
    Bytes laidOut(const Bytes& plane) const {
        Bytes rows(step_ * (plane.size() / width_), 7);
        for (size_t i = 0; i < plane.size(); ++i)
            rows[i / width_ * step_ + i % width_] = plane[i];
        return rows;
    }
    Bytes bytes() const { return bytes_.bytes(); }

    IplImage image{};

  private:
    size_t width_, step_;
    Guarded bytes_;
};

/// Binary patterns with some samples of other values than 255.
template <class Check>
void forEachPattern(Check check) {
    for (const kelSize size :
         {kelSize{1, 1}, {1, 9}, {9, 1}, {63, 4}, {64, 5}, {65, 31}, {330, 60}})
        for (Bytes& plane : test::binaryPatterns(size.width, size.height)) {
            check(plane, size);
            for (size_t i = 0; i < plane.size(); i += 7)
                plane[i] =
                    plane[i] == 0 && i % 2 == 0 ? 0 : static_cast<unsigned char>(1 + i % 254);
            check(plane, size);
        }
}

TEST(ConnectArea, LabelsAndRecordsEqualThoseOfThePointLists) {
    forEachPattern([](Bytes plane, kelSize size) {
        for (const bool full : {true, false}) {
            const Labelled expected = labelledByLists(plane, size, full);
            Guarded out(4 * plane.size());
            auto* const labels = reinterpret_cast<int*>(out.data());
            Ipl ipl(plane, size, plane.size() % 2 == 0 ? 3 : 1, 3);
            ASSERT_EQ(full ? KC_GenerateCALabelBuf(plane.data(), size.width, size.height, labels)
                           : KC_GenerateCALabelBuf_IplImage(&ipl.image, labels),
                      expected.count);
            ASSERT_EQ(Labels(labels, labels + plane.size()), expected.labels);
            out.bytes();
            const auto records = recordsOf(expected, size);
            Guarded filled(records.size() * sizeof(kelConnectArea));
            kel_set_caArr_value(labels, size.width, size.height, expected.count + 1,
                                reinterpret_cast<kelConnectArea*>(filled.data()));
            ASSERT_EQ(std::memcmp(filled.bytes().data(), records.data(), filled.bytes().size()), 0);
        }
    });
    for (const kelSize none : {kelSize{0, 5}, {5, 0}, {-3, 4}, {-3, -4}}) {
        EXPECT_EQ(KC_GenerateCALabelBuf(nullptr, none.width, none.height, nullptr), 0);
        EXPECT_EQ(kel_set_caArr_value(nullptr, none.width, none.height, -1, nullptr), 0);
    }
}

TEST(ConnectArea, ListsMergeAndAreReleased) {
    Labels labels = {1, 2, 1, 2, 0, 0};
    kelPointPosSeq lists[3];
    for (int i = 0; i < 4; ++i)
        lists[labels[size_t(i)]].addOnePoint(i % 3, i / 3);
    EXPECT_EQ(kel_merge_to_label(lists, 3, 1, 2, labels.data()), 0);
    EXPECT_EQ(labels, (Labels{1, 1, 1, 1, 0, 0}));
    EXPECT_TRUE(lists[1].num == 4 && lists[1].tail->y == 1 && lists[1].tail->next == nullptr);
    lists[1].release();
    for (const auto& list : lists)
        EXPECT_TRUE(list.num == 0 && list.tail == &list.head && list.head.next == nullptr);
}

TEST(ConnectArea, ShapesAtTheirLimits) {
    const struct {
        int w, h, area, shape;
    } cases[] = {{10, 10, 80, 0},  {12, 15, 150, 0}, {12, 14, 150, 1}, {14, 12, 150, 1},
                 {15, 12, 150, 0}, {20, 20, 400, 0}, {20, 20, 399, 1}, {20, 20, 300, 1},
                 {20, 20, 268, 0}, {20, 20, 269, 1}, {11, 11, 100, 1}, {10, 11, 90, 0}};
    for (const auto& c : cases) {
        kelConnectArea ca{c.area, 5, -3, 4 + c.w, c.h - 4, 7};
        EXPECT_EQ(KelCAShape(&ca), 0);
        EXPECT_EQ(ca.shape, c.shape) << c.w << "x" << c.h << " " << c.area;
    }
    kelConnectArea ca{3, 1, 2, 4, 5, 1};
    ::testing::internal::CaptureStdout();
    KelCAPrintData(&ca);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "p0[1, 2] p1[4, 5] area[3] shape[1]\n");
    EXPECT_EQ(KelInitConnectArea(&ca), 0);
    EXPECT_EQ(ca.area + ca.x0 + ca.y0 + ca.x1 + ca.y1 + ca.shape, 0);
}

TEST(ConnectArea, TypesAtTheirLimits) {
    const struct {
        int type, w, h, area, passes;
    } cases[] = {{1, 60, 14, 500, 1}, {1, 61, 14, 500, 0}, {1, 61, 15, 500, 1}, {1, 7, 11, 49, 1},
                 {1, 7, 11, 48, 0},   {1, 6, 20, 60, 0},   {1, 20, 10, 60, 0},  {1, 20, 20, 80, 0},
                 {1, 20, 20, 81, 1},  {1, 20, 20, 279, 1}, {1, 20, 20, 280, 0}, {3, 20, 20, 400, 1},
                 {3, 20, 20, 80, 0},  {2, 9, 9, 9, 0},     {2, 9, 9, 10, 1},    {2, 9, 9, 9999, 1},
                 {2, 9, 9, 10000, 0}, {4, 9, 9, 4, 0},     {4, 9, 9, 5, 1},     {4, 9, 9, 9999, 1},
                 {4, 9, 9, 10000, 0}, {5, 9, 9, 50, 0},    {5, 9, 9, 51, 1},    {6, 29, 90, 299, 1},
                 {6, 29, 90, 300, 0}, {6, 30, 90, 299, 0}, {6, 9, 9, 50, 0},    {6, 9, 9, 51, 1},
                 {7, 60, 90, 900, 0}, {7, 61, 16, 900, 1}, {7, 61, 15, 900, 0}, {8, 9, 9, 50, 0},
                 {8, 9, 9, 51, 1},    {8, 9, 9, 69, 1},    {8, 9, 9, 70, 0},    {0, 20, 20, 100, 0},
                 {9, 20, 20, 100, 0}};
    for (const auto& c : cases) {
        const kelConnectArea record{c.area, 3, 4, 2 + c.w, 3 + c.h, 0};
        kelConnectArea records[] = {record, record, {}};
        Labels types = {-1, -2, -3};
        ::testing::internal::CaptureStdout();
        EXPECT_EQ(kel_set_caType_value(records, 2, types.data(), c.type, 50, 70), c.passes)
            << c.type << ": " << c.w << "x" << c.h << " " << c.area;
        const std::string line = "caArr[1].area = " + std::to_string(c.area) + "\n";
        EXPECT_EQ(::testing::internal::GetCapturedStdout(),
                  c.passes == 1 && c.type == 8 ? line : "");
        EXPECT_EQ(types, (Labels{-1, c.passes == 0 ? -2 : c.type <= 4 ? 50 : 1, -3}));
    }
}

struct ByClass : ::testing::Test {
    int classOf(size_t k, size_t i) const { return types[size_t(labels[k][i])]; }

    const kelSize size{67, 9};
    Bytes src = test::randomBytes(area(size), 1, 0, 3), dst = test::randomBytes(area(size), 2);
    const Bytes other = test::randomBytes(area(size), 3, 0, 2);
    const Bytes random[2] = {test::randomBytes(area(size), 4, 0, 5),
                             test::randomBytes(area(size), 5, 0, 5)};
    Labels labels[2] = {{random[0].begin(), random[0].end()}, {random[1].begin(), random[1].end()}};
    Labels types = {0, 1, 1, 2, 1};
};

TEST_F(ByClass, CopiesEqualTheirPlainForm) {
    for (const int mode : {0, 1, -5})
        for (const bool isIpl : {true, false}) {
            Bytes expected = dst;
            for (size_t i = 0; i < src.size(); ++i)
                if (src[i] != 0 && (classOf(0, i) == 1) == (mode == 0))
                    expected[i] = mode != 0 ? 0 : src[isIpl ? i : i % size_t(size.width)];
            Ipl from(src, size, 1, 5), to(dst, size, 1, 5);
            Guarded out(dst);
            // The target is addressed by the stride of the source.
            to.image.widthStep = 1;
            EXPECT_EQ(isIpl ? kel_copy_IplImage_label_eff(&from.image, labels[0].data(), -1,
                                                          types.data(), &to.image, 1, mode)
                            : kel_copy_uc_label_eff(src.data(), labels[0].data(), 0, types.data(),
                                                    out.data(), size.width, size.height, 1, mode),
                      0);
            EXPECT_EQ(isIpl ? to.bytes() : out.bytes(), isIpl ? to.laidOut(expected) : expected);
        }
}

TEST_F(ByClass, ChangesEqualTheirPlainForm) {
    Labels expectedTypes = types, changed = types;
    Bytes result = dst;
    for (size_t i = 0; i < src.size(); ++i) {
        if (src[i] == 0 || other[i] == 0 || classOf(0, i) != 1 || classOf(1, i) != 2) continue;
        expectedTypes[size_t(labels[1][i])] = 9;
        for (size_t k = 0; k < src.size(); ++k) {
            const int dx = int(k % 67) - int(i % 67), dy = int(k / 67) - int(i / 67);
            if (std::max(std::abs(dx), std::abs(dy)) <= 1 && (src[k] != 0 || other[k] != 0))
                result[k] = 255;
        }
    }
    Ipl a(src, size, 1, 0), b(other, size, 1, 0), out(dst, size, 1, 0);
    EXPECT_EQ(
        kel_process_IplImage_label_eff(&a.image, labels[0].data(), 0, types.data(), 1, &b.image,
                                       labels[1].data(), 0, types.data(), 2, &out.image),
        0);
    EXPECT_EQ(out.bytes(), result);
    Ipl wideA(src, size, 1, 4), wideB(other, size, 1, 4);
    EXPECT_EQ(kel_set_IplImage_label_eff(&wideA.image, labels[0].data(), 0, types.data(), 1,
                                         &wideB.image, labels[1].data(), 0, changed.data(), 2, 9),
              0);
    EXPECT_EQ(changed, expectedTypes);
}

struct Removal {
    const char* name;
    std::function<int(IplImage*)> call;
    std::function<bool(const kelConnectArea&)> keeps;
};

std::vector<Removal> removals(int least, int below) {
    const auto above = [=](const kelConnectArea& a) { return a.area > least; };
    return {
        {"smallspot", [=](IplImage* i) { return kel_del_smallspot_IplImage(i, least); }, above},
        {"bill", [=](IplImage* i) { return kel_del_smallspot_IplImage_bill(i, least, below); },
         [=](const kelConnectArea& a) { return above(a) && a.area < below; }},
        {"smallspot1", kel_del_smallspot_IplImage1,
         [](const kelConnectArea& a) { return a.x1 - a.x0 > 59 && a.y1 - a.y0 > 14; }},
        {"small big", [=](IplImage* i) { return kel_del_small_big_spot_IplImage(i, least); },
         [=](const kelConnectArea& a) { return above(a) && a.area <= 299 && a.x1 - a.x0 <= 28; }}};
}

/// What is left of a plane, how many areas, and a line for each.
struct Expected {
    template <class Keeps>
    Expected(Bytes all, const Labelled& labelled, kelSize size, const Keeps& keeps) : plane(all) {
        const auto records = recordsOf(labelled, size);
        std::vector<bool> stays(records.size());
        for (size_t label = 1; label < records.size(); ++label) {
            stays[label] = keeps(records[label]);
            if (!stays[label]) continue;
            ++kept;
            lines += "caArr[" + std::to_string(label) +
                     "].area = " + std::to_string(records[label].area) + "\n";
        }
        for (size_t i = 0; labelled.count > 0 && i < plane.size(); ++i)
            if (!stays[size_t(labelled.labels[i])]) plane[i] = 0;
    }
    Bytes plane;
    int kept = 0;
    std::string lines;
};

TEST(SpotRemoval, EqualsItsPlainForms) {
    forEachPattern([](const Bytes& plane, kelSize size) {
        const Labelled any = labelledByLists(plane, size, false);
        const Labelled full = labelledByLists(plane, size, true);
        const std::string head = "len = " + std::to_string(plane.size()) +
                                 ", w = " + std::to_string(size.width) +
                                 ", h = " + std::to_string(size.height) + "\n";
        for (const auto& [least, below] : {std::pair{0, 3}, {1, 4}, {3, 300}, {99999, 9}}) {
            for (const Removal& removal : removals(least, below)) {
                const Expected expected(plane, any, size, removal.keeps);
                const std::string name = removal.name;
                const bool isBill = name == "bill";
                const bool isLeft = isBill && any.count > 0 && expected.kept == 0;
                std::string lines = isBill ? head + expected.lines : "";
                if (any.count > 0 && (isBill || name == "smallspot"))
                    lines += "labelNo = " + std::to_string(any.count + 1) +
                             ", setCNo = " + std::to_string(expected.kept) + "\n";
                if (isLeft) lines += "setCNo = 0\n";
                Ipl image(plane, size, 1, 4);
                ::testing::internal::CaptureStdout();
                EXPECT_EQ(removal.call(&image.image), isLeft ? -1 : 0);
                EXPECT_EQ(::testing::internal::GetCapturedStdout(), lines) << name;
                ASSERT_EQ(image.bytes(), image.laidOut(isLeft ? plane : expected.plane))
                    << name << " of " << ::testing::PrintToString(size);
            }
            Guarded spots(plane), pruned(plane);
            EXPECT_EQ(kel_del_smallspot_uc(spots.data(), size.width, size.height, least), 0);
            EXPECT_EQ(PruneSmallSpot(pruned.data(), size.width, size.height, least), 0);
            const auto reaches = [limit = least](auto& a) { return a.area >= limit; };
            const auto exceeds = [limit = least](auto& a) { return a.area > limit; };
            ASSERT_EQ(spots.bytes(), Expected(plane, full, size, exceeds).plane);
            ASSERT_EQ(pruned.bytes(), Expected(plane, any, size, reaches).plane);
        }
    });
    for (const kelSize none : {kelSize{0, 5}, {5, 0}, {-3, 4}}) {
        EXPECT_EQ(kel_del_smallspot_uc(nullptr, none.width, none.height, 1), 0);
        EXPECT_EQ(PruneSmallSpot(nullptr, none.width, none.height, 1), 0);
    }
}

// Clearing goes over all channels, where labels look at the first bytes of the rows.
TEST(SpotRemoval, ClearsWholePixels) {
    Ipl image(Bytes(40, 255), {10, 4}, 3, 2);
    EXPECT_EQ(kel_del_smallspot_IplImage1(&image.image), 0);
    Bytes expected(4 * 32, 0);
    for (size_t row = 0; row < 4; ++row)
        expected[row * 32 + 30] = expected[row * 32 + 31] = 7;
    EXPECT_EQ(image.bytes(), expected);
}

TEST(ConnectArea, DrawsLabelsOverTheImage) {
    std::string file = test::scratchPath("labels.bmp");
    int labels[] = {0, 1, 6, 5, 11, 2};
    Bytes colour = test::randomBytes(18, 5);
    for (const int channels : {1, 3, 2}) {
        EXPECT_EQ(KC_DrawCALabelBuf(colour.data(), 3, 2, channels, labels, file.data()), 0);
        const test::LoadedImage drawn(file);
        ASSERT_TRUE(drawn.size == (kelSize{3, 2}) && drawn.channels == 3);
        for (size_t i = 0; i < 6; ++i)
            for (size_t c = 0; c < 3; ++c) {
                const kelRGB paint = caShowColor[labels[i] % 6];
                const int under = channels == 2 ? 0 : colour[channels == 3 ? 6 * c + i : i];
                const int over = c == 0 ? paint.r : c == 1 ? paint.g : paint.b;
                EXPECT_EQ(drawn.samples[6 * c + i], labels[i] > 0 ? over : under) << i << " " << c;
            }
        std::filesystem::remove(file);
        EXPECT_EQ(KC_DrawCALabelBuf(labels, 3, 2, file.data()), 0);
        EXPECT_EQ(KC_DrawCALabelBuf(colour.data(), 0, 2, channels, labels, file.data()), 0);
        EXPECT_FALSE(std::filesystem::exists(file));
    }
}

}  // namespace
