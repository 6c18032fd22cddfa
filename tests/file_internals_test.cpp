// The file calls that are not exported: size limits, repairs, texts of attributes, and what is told
// of a position that is none.
#include "files_support.h"
#include "im_process.h"
#include "kel_ImageFileOper_internal.h"
#include "kel_im_imagefile_info.h"
#include "kel_im_internal.h"

using namespace test;

namespace {

TEST(FileInternals, LimitsByTheirFlag) {
    struct Row {
        int flag, width, height, enabled, limitWidth, limitHeight;
    };
    for (const Row& row : {Row{-10, 7, 9, 1, 7, 9},
                           {-10, 1, 1, 1, 1, 1},
                           {-10, 7, 0, 1, 4096, 4096},
                           {-10, 0, 9, 1, 4096, 4096},
                           {-100, 7, 9, 0, 4096, 4096},
                           {3, 7, 9, 1, 4096, 4096}}) {
        tagLimitSize limit{};
        EXPECT_EQ(kel_SetLimitSize(row.flag, row.width, row.height, &limit), 0);
        EXPECT_EQ(limit.limitEnabled, row.enabled);
        EXPECT_EQ(limit.width, row.limitWidth);
        EXPECT_EQ(limit.height, row.limitHeight);
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

    struct Row {
        double bytes, scaled;
        const char* unit;
    };
    for (const Row& row : {Row{1023, 1023, "b"},
                           {1024, 1, "Kb"},
                           {1048575, 1048575 / 1024.0, "Kb"},
                           {1048576, 1, "Mb"},
                           {3e12, 3e12 / 1048576, "Mb"}}) {
        double size = row.bytes;
        EXPECT_STREQ(GetSizeDesc(&size), row.unit);
        EXPECT_EQ(size, row.scaled);
    }
    unsigned char text[] = {'a', 'b', 0, 'c'};
    EXPECT_EQ(FindZero(text, 2) + FindZero(text, 0) + FindZero(text, -1), 0);
    EXPECT_EQ(FindZero(text, 3), 1);
    EXPECT_EQ(FileSize("/no/such/file"), 0);
    EXPECT_EQ(FileSize(writeBytes("four", {1, 2, 3, 4}).c_str()), 4);
}

TEST(FileInternals, RepairsOfEitherSource) {
    // A top-down header counts from 57 bytes on; then come the limit, and RGB by the toolkit.
    Bytes header(57);
    header[0] = 'B';
    header[1] = 'M';
    header[25] = 0xff;
    for (const int length : {56, 57}) {
        const Im original = randomIm(8, 6, IM_CMYK);
        imImage* page = randomIm(8, 6, IM_CMYK).release();
        EXPECT_EQ(
            FixImImageBug2Input(nullptr, header.data(), length, kFromMemory, &page, true, 4, 4), 0);
        const Im expected(imImageCreate(4, 3, IM_RGB, IM_BYTE));
        const Im small(imImageCreate(4, 3, IM_CMYK, IM_BYTE));
        if (length == 57) CaliBMPDIBDirect(header.data(), original.get());
        imProcessResize(original.get(), small.get(), 2);
        imConvertColorSpace(small.get(), expected.get());
        EXPECT_TRUE(same(page, expected.get())) << length;
        imImageDestroy(page);
    }
    imImage* wide = randomIm(8, 6, IM_CMYK, IM_USHORT).release();
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(FixImImageBug2Input("/no/file", nullptr, 0, kFromPath, &wide, false, 0, 0), 1);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "This CMYK format not support!\n");
    EXPECT_EQ(wide, nullptr);
    EXPECT_EQ(FixImImageBug2Input(nullptr, nullptr, 0, kFromPath, &wide, true, 4, 4), 0);
}

}  // namespace
