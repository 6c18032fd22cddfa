// TGA, RAS and SGI: the odd forms of each, hostile headers.
#include "im_support.h"

using namespace test;

namespace {

/// A TGA file of 2x2; the data and the fields of the colour map are hexadecimal.
Bytes tga(int type, int depth, int descriptor, const std::string& data,
          const std::string& map = "0000 0000 00", int idBytes = 0) {
    return number(1, idBytes) + number(1, map.substr(10) == "00" ? 0 : 1) + number(1, type) +
           hex(map + "0000 0000 0200 0200") + number(1, depth) + number(1, descriptor) + hex(data);
}

/// A RAS file of 2x2.
Bytes ras(int depth, int type, const std::string& map, const std::string& data) {
    const auto mapBytes = static_cast<long long>(hex(map).size());
    return hex("59a66a95 00000002 00000002") + number(4, depth, true) + number(4, 0) +
           number(4, type, true) + number(4, map.empty() ? 0 : 1, true) +
           number(4, mapBytes, true) + hex(map + data);
}

/// An SGI file of 2x2.
Bytes sgi(int storage, int sampleBytes, int dimension, int channels, const std::string& data) {
    const Bytes header = hex("01da") + number(1, storage) + number(1, sampleBytes) +
                         number(2, dimension, true) + hex("0002 0002") + number(2, channels, true);
    return cut(header, 512) + hex(data);
}

/// One with runs, both rows at `place` behind the header.
Bytes sgiRuns(const std::string& place, const std::string& length, const std::string& row) {
    return sgi(1, 1, 2, 1, "000002" + place + "000002" + place + length + length + row);
}

struct Row {
    Bytes file;
    const char* seen;
};

void expectSeen(const std::vector<Row>& rows) {
    for (size_t i = 0; i < rows.size(); ++i)
        EXPECT_EQ(shown(rows[i].file), rows[i].seen) << "row " << i;
}

TEST(ImTga, OddForms) {
    // White, (8, 8, 25), red and an opaque (255, 255, 0): bits of 5, blue lowest.
    const std::string colors = "ff7f 2304 007c e0ff";
    const std::string fromBottom = "RGB P 255 255 255 8 / 0 255 255 8 / 0 0 255 25";
    const std::string withAlpha = "RGB AP 255 255 255 8 / 0 255 255 8 / 0 0 255 25";
    // A map that starts at index 10, and one that a true-colour image doesn't need.
    const std::string mapAt10 = "0a00 0400 10", deep = "01020304 05060708 090a0b0c 0d0e0f10";
    const char* const mapped = "MAP 12:ff0000 13:ffff00 10:ffffff 11:080819";
    const std::string mark = "54525545564953494f4e2d5846494c452e00", data = "01020304";
    const Bytes stray = changed(tga(3, 8, 0, data), 5, {7});
    Bytes large = tga(11, 8, 0, data);
    large[12] = large[14] = 0xff;
    expectSeen({
        // Origins: bottom left, bottom right, top left, top right.
        {tga(3, 8, 0x00, data), "GRAY 3 4 1 2"},
        {tga(3, 8, 0x10, data), "GRAY 4 3 2 1"},
        {tga(3, 8, 0x20, data), "GRAY T 1 2 3 4"},
        {tga(3, 8, 0x30, data), "GRAY T 2 1 4 3"},
        {tga(3, 16, 0x28, "0109 0209 0309 0409"), "GRAY AT 1 2 3 4"},
        // A run over the end of a row, behind an identification.
        {tga(11, 8, 0x20, "aaaa 8207 0009", "0000 0000 00", 2), "GRAY T 7 7 7 9"},
        {tga(2, 15, 0, colors), fromBottom.c_str()},
        {tga(10, 16, 1, "03" + colors), withAlpha.c_str()},
        {tga(1, 8, 0, colors + "0a0b0c0d", mapAt10), mapped},
        {tga(2, 16, 0, "0000000000000000" + colors, mapAt10), fromBottom.c_str()},
        // Two entries, white first; an index beyond them is black.
        {tga(1, 8, 0x20, "ffffff 000000 00010200", "0000 0200 18"), "BINARY T 1 0 0 1"},
        // Opacity; without it the fourth byte means nothing.
        {tga(2, 32, 0x28, deep), "RGB APT 3 7 11 15 / 2 6 10 14 / 1 5 9 13"},
        {tga(2, 32, 0x20, deep), "RGB PT 3 7 11 15 / 2 6 10 14 / 1 5 9 13"},

        {tga(4, 8, 0, data), "FORMAT"},                  // no such type
        {tga(3, 9, 0, data), "FORMAT"},                  // nor depth
        {tga(3, 8, 0x40, data), "FORMAT"},               // interleaved
        {tga(1, 8, 0, data), "FORMAT"},                  // no map
        {tga(1, 8, 0, data, "ff00 0200 18"), "FORMAT"},  // beyond 256
        {tga(3, 8, 0, "010203"), "ACCESS"},
        {tga(11, 8, 0, "8101 0105"), "ACCESS"},
        {large, "ACCESS"},
        // Numbers of a map that isn't there are trusted with the mark at the end alone.
        {stray, "FORMAT"},
        {stray + Bytes(8) + hex(mark), "GRAY 3 4 1 2"},
    });
}

TEST(ImRas, OddForms) {
    const char* const colors = "RGB PT 1 4 7 10 / 2 5 8 11 / 3 6 9 12";
    const Bytes large = changed(changed(ras(8, 2, "", "80 03 01"), 6, {0x40}), 10, {0x40});
    expectSeen({
        {ras(24, 0, "", "030201 060504 090807 0c0b0a"), colors},
        {ras(24, 3, "", "010203 040506 070809 0a0b0c"), colors},
        {ras(32, 1, "", "00030201 00060504 00090807 000c0b0a"), colors},
        {ras(32, 3, "", "00010203 00040506 00070809 000a0b0c"), colors},
        // Bits: 1 is black, unless a map says otherwise.
        {ras(1, 1, "", "4000 8000"), "BINARY T 1 0 0 1"},
        {ras(1, 1, "00ff 00ff 00ff", "4000 8000"), "BINARY T 0 1 1 0"},
        {ras(1, 1, "0908 0706 0504", "4000 8000"), "MAP T 0:090705 1:080604 1:080604 0:090705"},
        // A run over the end of a row, the escape as a sample, alone and in a run.
        {ras(8, 2, "", "80 02 07 80 00"), "GRAY T 7 7 7 128"},
        {ras(8, 2, "", "80 03 80"), "GRAY T 128 128 128 128"},

        {ras(8, 1, "", "010203"), "ACCESS"},
        {ras(8, 2, "", "8002"), "ACCESS"},
        {ras(16, 1, "", "0000000000000000"), "DATA"},
        {ras(8, 4, "", "00000000"), "COMPRESS"},
        {large, "ACCESS"},  // 2^14 each way
        {changed(changed(large, 4, {0x7f}), 8, {0x7f}), "MEM"},
        {changed(ras(8, 1, "010203", "00000000"), 28, {0xff}), "ACCESS"},
    });
}

TEST(ImSgi, OddForms) {
    const std::string four = "00000004";
    expectSeen({
        {sgi(0, 1, 1, 9, "0102"), "GRAY 1 2"},
        {sgi(0, 1, 2, 3, "01020304"), "GRAY 3 4 1 2"},  // no channels in two dimensions
        {sgi(0, 1, 3, 2, "01020304 05060708"), "GRAY A 3 4 1 2"},
        {sgi(0, 1, 3, 4, "01020304 05060708 090a0b0c 00000000"),
         "RGB A 3 4 1 2 / 7 8 5 6 / 11 12 9 10"},
        // Both rows share their data, which has no end mark.
        {sgiRuns("10", "00000002", "0205"), "GRAY 5 5 5 5"},
        {sgiRuns("10", four, "82010200"), "GRAY 1 2 1 2"},
        {sgiRuns("10", four, "81010000"), "ACCESS"},  // ends early
        {sgiRuns("10", four, "83010203"), "ACCESS"},  // too long
        {sgiRuns("13", four, "82010202"), "ACCESS"},  // leaves the file
        {sgiRuns("63", four, "82010200"), "ACCESS"},  // beyond it
        {cut(sgi(1, 1, 2, 1, ""), 512 + 15), "ACCESS"},
        {sgi(0, 1, 2, 1, "000000"), "ACCESS"},
        {cut(sgi(0, 1, 3, 5, ""), 512 + 20), "DATA"},
        {changed(sgi(0, 1, 2, 1, "00000000"), 107, {2}), "DATA"},
    });
}

}  // namespace
