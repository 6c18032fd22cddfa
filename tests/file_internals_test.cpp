// The file calls that are not exported: size limits, repairs, texts of attributes and of
// resolution, and what is told of a position that is none.
#include "decimal_text.h"
#include "files_support.h"
#include "im_process.h"
#include "kel_ImageFileOper_internal.h"
#include "kel_ImageStorage_internal.h"
#include "kel_im_imagefile_info.h"
#include "kel_im_internal.h"

using namespace test;

namespace {

TEST(FileInternals, LimitsByTheirFlag) {
    const int rows[][6] = {{-10, 7, 9, 1, 7, 9},        {-10, 1, 1, 1, 1, 1},
                           {-10, 7, 0, 1, 4096, 4096},  {-10, 0, 9, 1, 4096, 4096},
                           {-100, 7, 9, 0, 4096, 4096}, {3, 7, 9, 1, 4096, 4096}};
    for (const auto& [flag, width, height, enabled, limitWidth, limitHeight] : rows) {
        tagLimitSize limit{};
        EXPECT_EQ(kel_SetLimitSize(flag, width, height, &limit), 0);
        EXPECT_EQ((std::vector<int>{limit.limitEnabled, limit.width, limit.height}),
                  (std::vector{enabled, limitWidth, limitHeight}));
    }
}

TEST(FileInternals, OperationsThatAreNone) {
    ::testing::internal::CaptureStderr();
    ::testing::internal::CaptureStdout();
    tagImage* records = nullptr;
    int count = 7;
    for (const int type : {2, -1})
        EXPECT_EQ(Kel_Im_LoadReadFile2Buffer(nullptr, nullptr, 0, type, true, &records, &count,
                                             true, 1, 1),
                  -1);
    EXPECT_EQ(count, 7);
    EXPECT_EQ(kel_GetoFileTell(nullptr), 0);
    EXPECT_EQ(Kel_SaveImage_Mult_DT(), 0);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "Kel_Im_LoadReadFile2Buffer operType[2] error!\n"
              "Kel_Im_LoadReadFile2Buffer operType[-1] error!\n");
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "handle is NULL\n");
}

TEST(FileInternals, TextsOfAttributes) {
    const unsigned char byte = 7;
    const unsigned short word = 300;
    const int negative = -12;
    const float real[2] = {96.0F, 1.5F};
    EXPECT_STREQ(AttribData2Str(&byte, IM_BYTE), "  7");
    EXPECT_STREQ(AttribData2Str(&word, IM_USHORT), "  300");
    EXPECT_STREQ(AttribData2Str(&negative, IM_INT), "  -12");
    EXPECT_STREQ(AttribData2Str(real, IM_CFLOAT), "   96,  1.50");
    EXPECT_STREQ(AttribData2Str(real, IM_FLOAT), "96.00");
    EXPECT_STREQ(AttribData2Str(&word, IM_DOUBLE), "96.00");  // as the last call left it

    const std::tuple<double, double, const char*> sizes[] = {{1023, 1023, "b"},
                                                             {1024, 1, "Kb"},
                                                             {1048575, 1048575 / 1024.0, "Kb"},
                                                             {1048576, 1, "Mb"},
                                                             {3e12, 3e12 / 1048576, "Mb"}};
    for (const auto& [bytes, scaled, unit] : sizes) {
        double size = bytes;
        EXPECT_STREQ(GetSizeDesc(&size), unit);
        EXPECT_EQ(size, scaled);
    }
    unsigned char text[] = {'a', 'b', 0, 'c'};
    EXPECT_EQ(FindZero(text, 2) + FindZero(text, 0) + FindZero(text, -1), 0);
    EXPECT_EQ(FindZero(text, 3), 1);
    EXPECT_EQ(FileSize("/no/such/file"), 0);
    EXPECT_EQ(FileSize(writeBytes("four", {1, 2, 3, 4}).c_str()), 4);
}

TEST(FileInternals, RepairsOfEitherSource) {
    // A top-down header counts from 57 bytes on; then come the limit, and RGB by the toolkit.
    Bytes header = changed(Bytes{'B', 'M'} + Bytes(55), 25, {0xff});
    for (const int length : {56, 57}) {
        const Im original = randomIm(8, 6, IM_CMYK);
        imImage* page = randomIm(8, 6, IM_CMYK).release();
        EXPECT_EQ(
            FixImImageBug2Input(nullptr, header.data(), length, kFromMemory, &page, true, 4, 4), 0);
        const Im small(imImageCreate(4, 3, IM_CMYK, IM_BYTE));
        if (length == 57) CaliBMPDIBDirect(header.data(), original.get());
        imProcessResize(original.get(), small.get(), 2);
        EXPECT_TRUE(same(page, converted(*small, IM_RGB).get())) << length;
        imImageDestroy(page);
    }
    imImage* wide = randomIm(8, 6, IM_CMYK, IM_USHORT).release();
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(FixImImageBug2Input("/no/file", nullptr, 0, kFromPath, &wide, false, 0, 0), 1);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "This CMYK format not support!\n");
    EXPECT_EQ(wide, nullptr);
    EXPECT_EQ(FixImImageBug2Input(nullptr, nullptr, 0, kFromPath, &wide, true, 4, 4), 0);
}

std::string fields(std::string x, std::string y) {
    x.resize(8);
    y.resize(8);
    return x + y;
}

TEST(FileInternals, TurnsBothTextsIntoDotsPerInchOrReadsTheFirst) {
    const char* const cases[][4] = {
        {"118.11", "59.055", "300.00", "150.00"},
        {"", "1", "0.00", "2.54"},
        {"1234.567", "427.561", "3135.80", "1086.01"},  // both roundings matter
        {"393700.8", "abc", "1000000.", "0.00"},        // tail lost
        {"-10", " 20x", "-25.40", "50.80"}};
    for (const auto& c : cases) {
        std::string text = fields(c[0], c[1]);
        for (int mode : {0, 2, -1}) {
            EXPECT_EQ(TransResolution(text.data(), mode), std::strtod(c[0], nullptr));
            EXPECT_EQ(text, fields(c[0], c[1]));
        }
        EXPECT_EQ(TransResolution(text.data(), 1), 0.0);
        EXPECT_EQ(text, fields(c[2], c[3]));
    }
}

TEST(FileInternals, ReadsWhatTheStandardCallsRead) {
    for (const char* text : {"", " ", "+5", "-5", "+-5", " 7.5e1z", ".5", "5.", "1e400", "-1e400",
                             "1e-400", "1e999e-1", "e5", "-"})
        EXPECT_EQ(kel::detail::parseDecimal(text), std::strtod(text, nullptr)) << text;
    for (const char* text : {"", "75", " 75 %", "-3", "+4", "x1", "3.9"})
        EXPECT_EQ(kel::detail::parseInteger(text), std::atoi(text)) << text;
    EXPECT_EQ(kel::detail::parseInteger("99999999999"), std::numeric_limits<int>::max());
}

}  // namespace
