// Channel image <-> imImage: orientation, sample widths, the binary convention, regions.
#include <gtest/gtest.h>
#include <opencv2/core/types_c.h>

#include "im_support.h"
#include "kel_im.h"
#include "support.h"

using test::Bytes;
using test::Guarded;
using test::Im;
using test::randomIm;

namespace {

// Where byte `i` of row `y` from the top lies, for rows of `rowBytes`.
unsigned char& byteAt(imImage& record, int plane, int y, int i, int rowBytes) {
    return static_cast<unsigned char*>(record.data[plane])[(record.height - 1 - y) * rowBytes + i];
}

TEST(ImBridge, DataTypeTable) {
    struct Row {
        int type, counted, copied;
    };
    for (const Row row : {Row{IM_BYTE, 1, 1}, Row{IM_SHORT, -1, 1}, Row{IM_USHORT, 2, 2},
                          Row{IM_INT, 4, 4}, Row{IM_FLOAT, 4, 4}, Row{IM_DOUBLE, -1, 1},
                          Row{IM_CFLOAT, -1, 0}, Row{IM_CDOUBLE, -1, 1}, Row{8, -1, 1}}) {
        SCOPED_TRACE(row.type);
        const Im record = randomIm(5, 3, IM_RGB, row.type == 8 ? int(IM_CDOUBLE) : row.type, 1);
        record->data_type = row.type;
        EXPECT_EQ(KelCalImImageDataSize(record.get()), row.counted < 0 ? -1 : 45 * row.counted);
        const int rowBytes = 5 * row.copied;
        Guarded buffer(size_t(rowBytes * 3 * 3));
        EXPECT_EQ(KelGetIMLibImage(record.get(), buffer.data()), row.copied == 0 ? 1 : 0);
        for (int p = 0; p < 3; ++p)
            for (int y = 0; y < 3; ++y)
                for (int i = 0; i < rowBytes; ++i)
                    ASSERT_EQ(buffer.data()[(p * 3 + y) * rowBytes + i],
                              byteAt(*record, p, y, i, rowBytes));
        const Bytes kept = buffer.bytes();
        const Im target = randomIm(5, 3, IM_RGB, row.type == 8 ? int(IM_CDOUBLE) : row.type, 2);
        target->data_type = row.type;
        EXPECT_EQ(KelPutIMLibImage(target.get(), buffer.data()), row.copied == 0 ? 1 : 0);
        Guarded again(kept.size());
        KelGetIMLibImage(target.get(), again.data());
        EXPECT_EQ(again.bytes(), kept);
    }
}

TEST(ImBridge, SizesThatWrapOrVanish) {
    const Im record = randomIm(1, 1, IM_RGB, IM_BYTE, 1);
    record->width = 40000;
    record->height = 40000;  // 4.8e9 wraps to 505,032,704
    EXPECT_EQ(KelCalImImageDataSize(record.get()), 505032704);
    record->height = 20000;  // 2.4e9 wraps below 0
    EXPECT_EQ(KelCalImImageDataSize(record.get()), -1);
    record->height = 0;
    EXPECT_EQ(KelCalImImageDataSize(record.get()), -1);
    EXPECT_EQ(KelGetIMLibImage(record.get(), nullptr), 0);  // nothing to copy
    EXPECT_EQ(KelPutIMLibImage(record.get(), nullptr), 0);
    record->width = record->height = 1;
}

TEST(ImBridge, BinaryIs0And255OutsideAnd0And1Inside) {
    const Im record = randomIm(70, 3, IM_BINARY, IM_BYTE, 3);
    test::samplesOf(*record)[5] = 2;
    test::samplesOf(*record)[77] = 255;
    Guarded buffer(210);
    ASSERT_EQ(KelGetIMLibImage(record.get(), buffer.data()), 0);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 70; ++x)
            ASSERT_EQ(buffer.data()[y * 70 + x], byteAt(*record, 0, y, x, 70) != 0 ? 255 : 0);
    ASSERT_EQ(KelPutIMLibImage(record.get(), buffer.data()), 0);
    for (int i = 0; i < 210; ++i)
        ASSERT_EQ(static_cast<unsigned char*>(record->data[0])[i],
                  buffer.data()[(2 - i / 70) * 70 + i % 70] != 0 ? 1 : 0);

    // Samples of 4 bytes: the first width times height bytes alone are touched.
    const Im wide = randomIm(4, 2, IM_GRAY, IM_INT, 4);
    wide->color_space = IM_BINARY;
    Guarded wideBuffer(32);
    KelGetIMLibImage(wide.get(), wideBuffer.data());
    for (int i = 0; i < 32; ++i) {
        const int original = byteAt(*wide, 0, i / 16, i % 16, 16);
        ASSERT_EQ(wideBuffer.data()[i], i < 8 ? (original != 0 ? 255 : 0) : original);
    }
}

TEST(ImBridge, RegionsCountFromTheTop) {
    const Im record = randomIm(7, 5, IM_RGB, IM_BYTE, 5);
    Guarded region(3 * 2 * 3);
    ASSERT_EQ(KelGetSubIMLibImage(record.get(), region.data(), 4, 1, 3, 2), 0);
    for (int p = 0; p < 3; ++p)
        for (int j = 0; j < 2; ++j)
            for (int i = 0; i < 3; ++i)
                ASSERT_EQ(region.data()[p * 6 + j * 3 + i], byteAt(*record, p, 1 + j, 4 + i, 7));

    const Im target = randomIm(7, 5, IM_RGB, IM_BYTE, 6);
    Guarded expected(105), result(105);
    KelGetIMLibImage(target.get(), expected.data());
    for (int i = 0; i < 18; ++i)
        expected.data()[i / 6 * 35 + (2 + i % 6 / 3) * 7 + 1 + i % 3] = region.data()[i];
    ASSERT_EQ(KelPutSubIMLibImage(target.get(), region.data(), 1, 2, 3, 2), 0);
    KelGetIMLibImage(target.get(), result.data());
    EXPECT_EQ(result.bytes(), expected.bytes());
}

TEST(ImBridge, RegionsOfBinaryNormaliseTheStartOfTheStorage) {
    const Im record(imImageCreate(4, 3, IM_BINARY, IM_BYTE));
    Guarded region(Bytes{255, 7, 1, 0});
    // The two bottom rows are memory's first 8 bytes; the region's 4 samples cover the first row
    // only.
    ASSERT_EQ(KelPutSubIMLibImage(record.get(), region.data(), 0, 1, 2, 2), 0);
    const auto* const plane = static_cast<const unsigned char*>(record->data[0]);
    EXPECT_EQ(Bytes(plane, plane + 8), (Bytes{1, 0, 0, 0, 255, 7, 0, 0}));
    ASSERT_EQ(KelGetSubIMLibImage(record.get(), region.data(), 0, 1, 2, 2), 0);
    EXPECT_EQ(region.bytes(), (Bytes{255, 255, 255, 0}));
}

TEST(ImBridge, RefusedRegionsTouchNothing) {
    const Im record = randomIm(6, 4, IM_GRAY, IM_BYTE, 7);
    Guarded before(24), after(24), region(24);
    const Bytes untouched = region.bytes();
    KelGetIMLibImage(record.get(), before.data());
    const int most = 2147483647;
    for (const auto& r :
         {CvRect{-1, 0, 2, 2}, CvRect{0, -1, 2, 2}, CvRect{0, 0, 0, 2}, CvRect{0, 0, 2, 0},
          CvRect{5, 0, 2, 1}, CvRect{0, 3, 1, 2}, CvRect{5, 0, most, 1}, CvRect{0, 3, 1, most}}) {
        EXPECT_EQ(KelGetSubIMLibImage(record.get(), region.data(), r.x, r.y, r.width, r.height), 1);
        EXPECT_EQ(KelPutSubIMLibImage(record.get(), region.data(), r.x, r.y, r.width, r.height), 1);
    }
    EXPECT_EQ(region.bytes(), untouched);
    KelGetIMLibImage(record.get(), after.data());
    EXPECT_EQ(after.bytes(), before.bytes());
    EXPECT_EQ(KelGetSubIMLibImage(record.get(), region.data(), 4, 2, 2, 2), 0);
}

}  // namespace
