// BMP, ICO and PCX: the kinds that only others write (made by hand here), and headers that lie.
#include "im_support.h"

using namespace test;

namespace {

/// A bitmap put together by hand; masks, palette and rows are hexadecimal.
struct ByHand {
    int headerBytes, width, height, bits;
    unsigned compression = 0;
    std::string masks = {}, palette = {}, rows = {};
    int colors = 0;  ///< as announced
    int gap = 0;     ///< between palette and rows

    Bytes dib() const {
        const size_t side = headerBytes == 12 ? 2 : 4;
        Bytes b = number(4, headerBytes) + number(side, width) + number(side, height) +
                  number(2, 1) + number(2, bits);
        if (headerBytes >= 40)
            b = b + number(4, compression) + number(4, 0) + number(4, 11811) + number(4, 5906) +
                number(8, colors);
        b = b + hex(masks);
        b.resize(std::max(b.size(), size_t(headerBytes)));
        return b + hex(palette);
    }

    Bytes bytes() const {
        const Bytes head = dib(), data = hex(rows);
        const auto at = static_cast<long long>(14 + head.size()) + gap;
        Bytes b = Bytes{'B', 'M'} + number(8, at + static_cast<long long>(data.size())) +
                  number(4, at) + head;
        b.resize(size_t(at), 0xee);
        return b + data;
    }
};

TEST(ImBmp, ReadsEveryDepthAndMaskOrRefuses) {
    const std::string p2 = "0000ff00 ff000000", ink = "00000000 ffffff00";
    const std::string m565 = "00f80000 e0070000 1f000000";
    const std::string mixed = "0000ff0f 00f00000 ff030000";  // 12, 4 and 10 bits
    const std::string rgba = "ff000000 00ff0000 0000ff00 000000ff";
    const std::string argb = "0000ff00 00ff0000 ff000000 000000ff";
    const std::string paper = "ffffff00 00000000", row = "010203ee 040506ee";
    const struct {
        ByHand file;
        const char* seen;
    } cases[] = {
        {{40, 3, 1, 1, 0, "", p2, "a0000000"}, "MAP 1:0000ff 0:ff0000 1:0000ff"},
        {{40, 3, 1, 1, 0, "", ink, "a0000000"}, "BINARY 1 0 1"},
        {{40, 3, 1, 1, 0, "", paper, "a0000000"}, "BINARY 0 1 0"},
        {{40, 3, 1, 1, 0, "", "", "a0000000"}, "BINARY 1 0 1"},
        {{40, 3, 1, 1, 0, "", "ffffff00", "a0000000", 1}, "BINARY 0 1 0"},
        {{12, 3, 1, 1, 0, "", "0000ff ff0000", "a0000000"}, "MAP 1:0000ff 0:ff0000 1:0000ff"},
        {{12, 1, 2, 24, 0, "", "", "010203ee 040506"}, "RGB P 6 3 / 5 2 / 4 1"},
        {{16, 1, 1, 24, 0, "", "", "010203"}, "RGB P 3 / 2 / 1"},
        // two black and white colours, but indexes beyond them
        {{40, 3, 1, 4, 0, "", ink, "1f100000", 2}, "MAP 1:ffffff 15:000000 1:ffffff"},
        {{64, 3, 1, 8, 0, "", p2, "01000100", 2, 9}, "MAP 1:0000ff 0:ff0000 1:0000ff"},
        {{40, 2, 1, 16, 0, "", "", "ff7f 2104"}, "RGB P 255 8 / 255 8 / 255 8"},
        {{40, 2, 1, 16, 3, m565, "", "1ff8 e007"}, "RGB P 255 0 / 0 255 / 255 0"},
        {{108, 1, 1, 32, 3, mixed, "", "00f20008"}, "RGB P 128 / 255 / 128"},
        {{40, 2, 1, 32, 0, "", "", "01020304 05060708"}, "RGB P 3 7 / 2 6 / 1 5"},
        {{40, 1, 1, 32, 6, rgba, "", "01020304"}, "RGB AP 1 / 2 / 3"},
        {{124, 1, 1, 32, 3, argb, "", "01020304"}, "RGB AP 3 / 2 / 1"},
        // rows from the top down keep their order, so that they stand on their head
        {{40, 1, 2, 24, 0, "", "", row}, "RGB P 6 3 / 5 2 / 4 1"},
        {{40, 1, -2, 24, 0, "", "", row}, "RGB PT 6 3 / 5 2 / 4 1"},

        {{40, 2, 2, 24, 0, "", "", "000000000000eeee 0000000000"}, "ACCESS"},
        {{40, 2, INT32_MIN, 24, 0, "", "", "00"}, "FORMAT"},
        {{40, 0, 2, 24, 0, "", "", "00"}, "FORMAT"},
        {{40, -2, 2, 24, 0, "", "", "00"}, "FORMAT"},
        {{41, 2, 2, 3, 0, "", "", "00"}, "FORMAT"},
        {{39, 2, 2, 24, 0, "", "", "00"}, "FORMAT"},
        {{40, 2, 2, 8, 2, "", "00000000", "00"}, "FORMAT"},
        {{40, 2, 2, 24, 4, "", "", "00"}, "COMPRESS"},
        {{64, 2, 2, 1, 3, "", "", "00"}, "COMPRESS"},
        {{40, 50000, 50000, 1, 0, "", "", "00"}, "MEM"},
        {{40, 40000, 40000, 1, 0, "", "", "00"}, "ACCESS"},
        {{40, 40000, 40000, 8, 1, "", "00000000", "0001"}, "ACCESS"},
        {{40, 2, 2, 8, 0, "", "", "", 256, -9}, "ACCESS"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(shown(c.file.bytes()), c.seen) << (&c - cases);
}

TEST(ImBmp, DecodesRuns) {
    const struct {
        int bits;
        unsigned compression;
        const char *rows, *seen;  // the bottom row first
    } cases[] = {
        {8, 1, "0301 0202 0000 0404 0001", "111220444400"},
        // runs beyond the row; literals and a delta; the end within literals; a delta far off
        {8, 1, "0902 0000 0903 0903 0001", "222222333333"},
        {8, 1, "0003 010203ee 0002 0101 0204 0001", "123000000044"},
        {8, 1, "0000 0006 0102", "000000120000"},
        {8, 1, "0201 0002 00ff 0201", "110000000000"},
        {4, 2, "0512 0000 0005 12345eee 0203 0001", "121210123450"},
        {4, 2, "0512 0233", "121213000000"},
    };
    for (const auto& c : cases) {
        const std::string palette(c.bits == 8 ? 2048 : 128, '1');
        const Loaded file =
            loaded(ByHand{40, 6, 2, c.bits, c.compression, "", palette, c.rows}.bytes());
        ASSERT_EQ(file.error, 0) << c.rows;
        std::string seen;
        for (size_t i = 0; i < imBytes(*file.image); ++i)
            seen += char('0' + samplesOf(*file.image)[i]);
        EXPECT_EQ(seen, c.seen) << c.rows;
        EXPECT_EQ(file.compression, "RLE");
    }
}

/// An icon of one entry.
Bytes iconOf(const Bytes& entry, int type = 1) {
    return number(2, 0) + number(2, type) + number(2, 1) + number(8, 0x0020000100000101) +
           number(4, static_cast<long long>(entry.size())) + number(4, 22) + entry;
}

TEST(ImIco, ReadsBitmapsWithoutTheirOpacityAndPng) {
    const Bytes entry = ByHand{40, 1, 2, 32}.dib() + hex("01020304 00000000");
    EXPECT_EQ(shown(iconOf(entry)), "RGB AP 3 / 2 / 1");
    EXPECT_EQ(shown(iconOf(entry, 2)), "RGB AP 3 / 2 / 1");
    EXPECT_EQ(shown(iconOf(entry, 3)), "FORMAT");
    EXPECT_EQ(shown(iconOf(cut(entry, 43))), "ACCESS");
    EXPECT_EQ(shown(iconOf(ByHand{40, 1, -2, 32}.dib())), "FORMAT");

    const Im image = randomIm(40, 30, IM_RGB);
    const Bytes icon = iconOf(piped("pnmtopng @", encoded({image.get()}, "PNM")));
    EXPECT_TRUE(sameColors(loaded(icon).image.get(), image.get()));
}

/// A plain PCX file of one row.
Bytes pcx(int version, int bits, int planes, int width, const std::string& row,
          const std::string& palette = "") {
    const auto rowBytes = static_cast<long long>(hex(row).size());
    Bytes b = Bytes{10} + number(1, version) + number(1, 0) + number(1, bits) + number(4, 0) +
              number(8, width - 1) + hex(palette);
    b.resize(65);
    b = b + number(1, planes) + number(1, rowBytes / planes);
    b.resize(128);
    return b + hex(row);
}

TEST(ImPcx, ReadsTheDepthsOfOldFilesOrRefuses) {
    const char *const inks = "ffffff 000000", *const redBlue = "ff0000 0000ff";
    const Bytes good = pcx(5, 8, 3, 2, "0102 0304 0506");
    const struct {
        Bytes file;
        const char* seen;
    } cases[] = {
        {pcx(5, 1, 1, 3, "a0"), "BINARY T 1 0 1"},
        {pcx(5, 1, 1, 3, "a0", inks), "BINARY T 0 1 0"},
        {pcx(3, 1, 1, 3, "a0", redBlue), "BINARY T 1 0 1"},
        {pcx(2, 1, 1, 3, "a0", redBlue), "MAP T 1:0000ff 0:ff0000 1:0000ff"},
        {pcx(2, 1, 4, 3, "80 c0 00 a0", redBlue), "MAP T 11:000000 2:000000 8:000000"},
        {pcx(3, 1, 3, 2, "80 40 80", redBlue), "MAP T 5:aa00aa 2:00aa00"},
        {pcx(2, 2, 1, 3, "1b", redBlue), "MAP T 0:ff0000 1:0000ff 2:000000"},
        {pcx(2, 4, 1, 3, "1f 80", redBlue), "MAP T 1:0000ff 15:000000 8:000000"},
        {pcx(0, 8, 1, 3, "01 02 c8"), "GRAY T 1 2 200"},
        {pcx(5, 4, 3, 2, "1f 20 f3"), "RGB T 17 255 / 34 0 / 255 51"},
        {pcx(5, 8, 4, 1, "01 02 03 04"), "RGB AT 1 / 2 / 3"},
        {good, "RGB T 1 2 / 3 4 / 5 6"},
        // Runs go on into the next plane and are cut at the end of the row.
        {changed(pcx(5, 8, 3, 2, "c307 c908 0000"), 2, {1}), "RGB T 7 7 / 7 8 / 8 8"},

        {changed(good, 10, {1}), "ACCESS"},                       // a row that isn't there
        {changed(changed(good, 2, {1}), 10, {40}), "ACCESS"},     // more than any runs make
        {changed(changed(good, 3, {1}), 65, {0}), "FORMAT"},      // no planes
        {changed(changed(good, 2, {1}), 133, {0xc9}), "ACCESS"},  // ends in a run
        {changed(good, 1, {6}), "FORMAT"},
        {changed(good, 2, {2}), "FORMAT"},
        {changed(good, 3, {2}), "FORMAT"},
        {changed(good, 4, {9}), "FORMAT"},
        {changed(good, 8, {2}), "FORMAT"},
        {changed(good, 65, {5}), "FORMAT"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(shown(c.file), c.seen) << (&c - cases);
}

}  // namespace
