// The door for C++17 hosts: its images own what they hold, its functions give what the exported
// ones give, and its errors leave nothing behind.
#include "KelImageLib.hpp"

#include "files_support.h"
#include "support.h"

namespace {

kel::Image imageOf(const test::Image& page) {
    const int planes = static_cast<int>(page.samples.size() / test::area(page.size));
    return kel::Image::copyOf(page.samples.data(), page.size, planes);
}

test::Bytes bytesOf(const kel::Image& image) {
    return test::Bytes(image.data(), image.data() + image.bytes());
}

const kelSize kSize = {130, 97};

TEST(Modern, ImagesOwnTheirSamples) {
    kel::Image page(kSize, 3, 7);
    EXPECT_EQ(test::Bytes(test::area(kSize) * 3, 7), bytesOf(page));
    *page.row(2, 96) = 9;
    EXPECT_EQ(9, page.data()[2 * test::area(kSize) + 96 * 130]);
    const kel::Image copy = page;
    EXPECT_EQ(copy, page);
    page.data()[0] = 1;
    EXPECT_NE(copy, page);
    const kel::Image moved = std::move(page);
    EXPECT_EQ(1, moved.data()[0]);
    EXPECT_TRUE(page.empty());  // NOLINT(bugprone-use-after-move): that is the question
    EXPECT_EQ(0u, page.bytes());
    EXPECT_EQ(kel::Image(), page);
    page = moved;
    EXPECT_EQ(moved, page);
    for (const kelSize size : {kelSize{0, 5}, kelSize{5, -1}, kelSize{65536, 32768}})
        EXPECT_THROW(kel::Image(size, 1), std::invalid_argument);
    EXPECT_THROW(kel::Image(kSize, 2), std::invalid_argument);
    EXPECT_THROW(kel::Image::adopt(new unsigned char[4], {2, 0}, 1), std::invalid_argument);
    EXPECT_THROW(kel::Image::adopt(nullptr, kSize, 1), std::invalid_argument);
    EXPECT_THROW(kel::Image::copyOf(nullptr, kSize, 1), std::invalid_argument);
}

TEST(Modern, FilesAndBlocks) {
    const test::WorkingFolder folder;
    const kel::Image page = imageOf(test::page(kSize, 3));
    kel::save(page, "page.png");
    const kel::Page loaded = kel::loadPage("page.png");
    EXPECT_EQ(page, loaded.image);
    EXPECT_EQ("PNG", loaded.format);
    const auto block = kel::encode(page, {"TIFF", 90, 300});
    EXPECT_EQ(page, kel::load(block.data(), block.size()));
    const auto file = std::ofstream("page.tif", std::ios::binary)
                          .write(reinterpret_cast<const char*>(block.data()),
                                 static_cast<std::streamsize>(block.size()))
                          .good();
    ASSERT_TRUE(file);
    EXPECT_DOUBLE_EQ(300, kel::loadPage("page.tif").xResolution);
    const kel::Image small = kel::load("page.png", {65, 65});
    EXPECT_EQ(65, std::max(small.width(), small.height()));
    EXPECT_EQ(page, kel::load("page.png", {65}));  // no limit without a height, and no length
    EXPECT_THROW(kel::load(block.data(), -1), std::invalid_argument);

    try {
        kel::load("none.png");
        FAIL() << "nothing was thrown";
    } catch (const kel::Error& error) {
        EXPECT_EQ(1, error.code());
        EXPECT_STREQ("Kel_LoadImageFile2BufferRParam gave 1", error.what());
    }
    EXPECT_THROW(kel::load(block.data(), 0), kel::Error);
    EXPECT_THROW(kel::load(block.data(), 100), kel::Error);
    EXPECT_THROW(kel::load(block.data(), size_t{1} << 31), std::invalid_argument);
    EXPECT_THROW(kel::save(page, "page.xyz"), kel::Error);
    EXPECT_THROW(kel::save(kel::Image(), "page.png"), std::invalid_argument);
    EXPECT_THROW(kel::encode(page, {"PNG"}), kel::Error);
    EXPECT_THROW(kel::sealOf(page, "none.cfg", 0), kel::Error);
    EXPECT_EQ((std::vector<std::string>{"page.png", "page.tif"}), folder.files());
}

TEST(Modern, InkIsWhiteByEveryMethod) {
    const test::Image plain = test::page(kSize, 3);
    const kel::Image page = imageOf(plain);
    test::Bytes samples = plain.samples, expected(test::area(kSize));
    for (int method = 0; method <= 6; ++method) {
        const bool isLocal = method >= 3 && method <= 5, isClamped = method == 6;
        const int level = method == 1 ? 128 : 0;
        ASSERT_EQ(0, KelBinarizeImage(samples.data(), 3, expected.data(), kSize, !isLocal, method,
                                      level, isClamped ? 100 : 15, isClamped ? 140 : 10));
        const kel::Image ink = kel::binarize(page, {method, level, 15, 10, 100, 140});
        EXPECT_EQ(expected, bytesOf(ink)) << method;
        // Row 3 and columns 0 to 2 are a dark stroke, columns 3 to 5 paper.
        EXPECT_EQ(255, ink.row(0, 3)[1]) << method;
        EXPECT_EQ(0, ink.row(0, 3)[5]) << method;
    }
    EXPECT_THROW(kel::binarize(page, {KEL_BIN_METHOD_ADAPTIVE, 0, 4}), std::invalid_argument);
    EXPECT_THROW(kel::binarize(page, {KEL_BIN_METHOD_ADAPTIVE, 0, 2147483647}),
                 std::invalid_argument);
    EXPECT_EQ(bytesOf(page), plain.samples);
    EXPECT_EQ(page, kel::inverted(kel::inverted(page)));
    EXPECT_TRUE(kel::isBlank(kel::Image(kSize)));
    EXPECT_FALSE(kel::isBlank(kel::binarize(page)));
}

TEST(Modern, PagesTurnScaleAndLoseTheirSpots) {
    const kel::Image page = imageOf(test::page(kSize, 3));
    EXPECT_EQ(page, kel::quarterTurned(kel::quarterTurned(page, 1), -1));
    EXPECT_EQ(kel::quarterTurned(page, 2), kel::quarterTurned(kel::quarterTurned(page, 1), 5));
    EXPECT_EQ(page.row(0, 96)[0], kel::quarterTurned(page, 1).data()[0]);
    EXPECT_EQ(page, kel::rotated(page, 0));
    EXPECT_EQ(page, kel::resized(page, kSize));
    EXPECT_EQ(page, kel::cropped(page, cvRect(0, 0, 130, 97)));
    EXPECT_EQ(page.row(1, 5)[4], *kel::cropped(page, cvRect(4, 5, 126, 92)).row(1, 0));
    EXPECT_THROW(kel::cropped(page, cvRect(4, 5, 127, 92)), std::invalid_argument);
    EXPECT_THROW(kel::skewOf(page), std::invalid_argument);
    EXPECT_EQ(0, kel::skewOf(kel::Image(kSize)));
    EXPECT_THROW(kel::skewOf(kel::binarize(page), 0.1, 1), kel::Error);

    kel::Image ink({60, 40});
    for (const int y : {10, 11, 20})
        std::memset(ink.row(0, y) + 30, 255, 5);
    const kel::Areas areas = kel::areasOf(ink);
    ASSERT_EQ(2u, areas.records.size());
    EXPECT_EQ(10, areas.records[0].area);
    EXPECT_EQ(2, areas.labels[20 * 60 + 34]);
    EXPECT_EQ(1u, kel::areasOf(kel::withoutSpots(ink, 5)).records.size());
    EXPECT_EQ(5, kel::projectionOf(ink, 'H')[11]);
    EXPECT_EQ(3, kel::projectionOf(ink, 'V')[30]);
    EXPECT_EQ(ink.size().width, kel::withoutBlackEdges(ink).width());
    EXPECT_EQ(0, kel::version().find("5.0.2-"));
}

TEST(Modern, SlantedRulesComeUpright) {
    kel::Image ink({400, 300});
    for (int y = 30; y < 270; y += 30)
        for (int x = 20; x < 380; ++x)
            ink.row(0, y + (x - 200) / 20)[x] = 255;  // 2.9 degrees
    const double skew = kel::skewOf(ink);
    EXPECT_NEAR(2.9, std::abs(skew), 0.3);
    EXPECT_NEAR(0, kel::skewOf(kel::binarize(kel::inverted(kel::rotated(ink, -skew)))), 0.3);
}

}  // namespace
