// Channel image <-> imImage: orientation, sample widths, the binary convention, regions.
#include <opencv2/core/types_c.h>

#include "im_support.h"
#include "kel_im.h"
#include "support.h"

using test::Bytes;
using test::Guarded;
using test::Im;
using test::randomIm;

namespace {

/// All samples, planes apart, the top rows first; of samples of `size` bytes.
Bytes fromTop(const imImage& record, int size = 1) {
    const int rowBytes = record.width * size;
    Bytes bytes;
    for (int p = 0; p < record.depth; ++p)
        for (int y = record.height; y-- > 0;) {
            const auto* const row = static_cast<unsigned char*>(record.data[p]) + y * rowBytes;
            bytes.insert(bytes.end(), row, row + rowBytes);
        }
    return bytes;
}

TEST(ImBridge, DataTypeTable) {
    struct Row {
        int type, counted, copied;
    };
    for (const Row row : {Row{IM_BYTE, 1, 1}, Row{IM_SHORT, -1, 1}, Row{IM_USHORT, 2, 2},
                          Row{IM_INT, 4, 4}, Row{IM_FLOAT, 4, 4}, Row{IM_DOUBLE, -1, 1},
                          Row{IM_CFLOAT, -1, 0}, Row{IM_CDOUBLE, -1, 1}, Row{8, -1, 1}}) {
        SCOPED_TRACE(row.type);
        const int made = row.type == 8 ? int(IM_CDOUBLE) : row.type;
        const Im record = randomIm(5, 3, IM_RGB, made, 1), target = randomIm(5, 3, IM_RGB, made, 2);
        record->data_type = target->data_type = row.type;
        EXPECT_EQ(KelCalImImageDataSize(record.get()), row.counted < 0 ? -1 : 45 * row.counted);
        Guarded buffer(size_t(45 * row.copied));
        EXPECT_EQ(KelGetIMLibImage(record.get(), buffer.data()), row.copied == 0 ? 1 : 0);
        EXPECT_EQ(buffer.bytes(), fromTop(*record, row.copied));
        EXPECT_EQ(KelPutIMLibImage(target.get(), buffer.data()), row.copied == 0 ? 1 : 0);
        EXPECT_EQ(fromTop(*target, row.copied), buffer.bytes());
    }
}

TEST(ImBridge, SizesThatWrapOrVanish) {
    const Im record = randomIm(1, 1, IM_RGB);
    record->width = record->height = 40000;  // 4.8e9 wraps to 505,032,704
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
    const Im record = randomIm(70, 3, IM_BINARY);
    test::samplesOf(*record)[5] = 2;
    test::samplesOf(*record)[77] = 255;
    Bytes outside = fromTop(*record), inside = outside;
    for (size_t i = 0; i < 210; ++i) {
        inside[i] = outside[i] != 0 ? 1 : 0;
        outside[i] = outside[i] != 0 ? 255 : 0;
    }
    Guarded buffer(210);
    ASSERT_EQ(KelGetIMLibImage(record.get(), buffer.data()), 0);
    EXPECT_EQ(buffer.bytes(), outside);
    ASSERT_EQ(KelPutIMLibImage(record.get(), buffer.data()), 0);
    EXPECT_EQ(fromTop(*record), inside);

    // Samples of 4 bytes: the first width times height bytes alone are touched.
    const Im wide = randomIm(4, 2, IM_GRAY, IM_INT);
    wide->color_space = IM_BINARY;
    Bytes expected = fromTop(*wide, 4);
    for (size_t i = 0; i < 8; ++i)
        expected[i] = expected[i] != 0 ? 255 : 0;
    Guarded wideBuffer(32);
    KelGetIMLibImage(wide.get(), wideBuffer.data());
    EXPECT_EQ(wideBuffer.bytes(), expected);
}

TEST(ImBridge, RegionsCountFromTheTop) {
    const Im record = randomIm(7, 5, IM_RGB), target = randomIm(7, 5, IM_RGB, IM_BYTE, 6);
    const Bytes all = fromTop(*record);
    Bytes expected = fromTop(*target), part;
    for (size_t i = 0; i < 18; ++i) {  // 3 x 2 in each of three planes
        const size_t x = i % 3, y = i % 6 / 3, plane = i / 6 * 35;
        part.push_back(all[plane + (1 + y) * 7 + 4 + x]);
        expected[plane + (2 + y) * 7 + 1 + x] = part.back();
    }
    Guarded region(18);
    ASSERT_EQ(KelGetSubIMLibImage(record.get(), region.data(), 4, 1, 3, 2), 0);
    EXPECT_EQ(region.bytes(), part);
    ASSERT_EQ(KelPutSubIMLibImage(target.get(), region.data(), 1, 2, 3, 2), 0);
    EXPECT_EQ(fromTop(*target), expected);
}

TEST(ImBridge, RegionsOfBinaryNormaliseTheStartOfTheStorage) {
    const Im record(imImageCreate(4, 3, IM_BINARY, IM_BYTE));
    Guarded region(Bytes{255, 7, 1, 0});
    // The two bottom rows are memory's first 8 bytes; the region's 4 samples cover the first row
    // only.
    ASSERT_EQ(KelPutSubIMLibImage(record.get(), region.data(), 0, 1, 2, 2), 0);
    EXPECT_EQ(fromTop(*record), (Bytes{0, 0, 0, 0, 255, 7, 0, 0, 1, 0, 0, 0}));
    ASSERT_EQ(KelGetSubIMLibImage(record.get(), region.data(), 0, 1, 2, 2), 0);
    EXPECT_EQ(region.bytes(), (Bytes{255, 255, 255, 0}));
}

TEST(ImBridge, RefusedRegionsTouchNothing) {
    const Im record = randomIm(6, 4, IM_GRAY);
    const Bytes before = fromTop(*record);
    Guarded region(24);
    const Bytes untouched = region.bytes();
    const int most = 2147483647;
    for (const auto& r :
         {CvRect{-1, 0, 2, 2}, CvRect{0, -1, 2, 2}, CvRect{0, 0, 0, 2}, CvRect{0, 0, 2, 0},
          CvRect{5, 0, 2, 1}, CvRect{0, 3, 1, 2}, CvRect{5, 0, most, 1}, CvRect{0, 3, 1, most}}) {
        EXPECT_EQ(KelGetSubIMLibImage(record.get(), region.data(), r.x, r.y, r.width, r.height), 1);
        EXPECT_EQ(KelPutSubIMLibImage(record.get(), region.data(), r.x, r.y, r.width, r.height), 1);
    }
    EXPECT_EQ(region.bytes(), untouched);
    EXPECT_EQ(fromTop(*record), before);
    EXPECT_EQ(KelGetSubIMLibImage(record.get(), region.data(), 4, 2, 2, 2), 0);
}

}  // namespace
