// JPEG 2000: the kinds that boxes tell, codings of another encoder, hostile headers.
#include "im_support.h"

using namespace test;

namespace {

/// A box of the named type.
Bytes box(const std::string& type, const Bytes& contents) {
    return number(4, static_cast<long long>(contents.size() + 8), true) +
           Bytes(type.begin(), type.end()) + contents;
}

/// The codestream of `components` components, by another encoder. `samples` hold plane after plane,
/// 16-bit ones the low byte first. `how` gives bits, sign and, behind a %, sampling.
Bytes codestream(int width, int height, int components, const std::string& how,
                 const Bytes& samples, const std::string& options = "") {
    std::string format = std::to_string(width) + "," + std::to_string(height) + "," +
                         std::to_string(components) + "," + how;
    if (const size_t at = format.find('%'); at != std::string::npos)
        format.replace(at, 1, "$(printf '\\100')");  // the sign that stands for files here
    return piped("{ cp @ @.rawl && opj_compress -i @.rawl -o @.j2k -n 1 -mct 0 -F " + format + " " +
                     options + " >/dev/null && cat @.j2k; rm -f @.rawl @.j2k; }",
                 samples);
}

Bytes jp2(const Bytes& headerBoxes, const Bytes& stream) {
    return hex("0000000c6a5020200d0a870a") + box("jp2h", headerBoxes) + box("jp2c", stream);
}

TEST(ImJp2, TellsKindsByDepthAndBoxes) {
    const auto one = [](const std::string& how, const std::string& samples, int width = 2) {
        return codestream(width, 1, 1, how, hex(samples));
    };
    const auto colours = [](unsigned char number) {
        return box("colr", {1, 0, 0, 0, 0, 0, number});
    };
    const Bytes pixels = hex("646e7882 8080 80e4"), rgba = hex("09030201"), inks = hex("000102ff");
    const Bytes blueFirst =
        box("cdef", hex("0004 000000010000 000100000003 000200000002 000300000001"));
    const Bytes columns = box("pclr", hex("0002 03 070707 0a141e 28323c")) +
                          box("cmap", hex("00000100 00000101 00000102"));
    const struct {
        Bytes file;
        const char* seen;
    } cases[] = {
        {one("1,u", "0001"), "BINARY T 0 1"},
        {one("4,u", "010f"), "GRAY T 17 255"},
        {one("8,s", "8005"), "GRAY T 0 133"},
        {one("12,u", "ff0f 0100"), "GRAY TW 65535 16"},
        {codestream(1, 1, 2, "8,u", {7, 9}), "GRAY AT 7"},
        {jp2(colours(12), codestream(1, 1, 4, "8,u", inks)), "CMYK T 255 / 254 / 253 / 0"},
        {jp2(colours(16) + blueFirst, codestream(1, 1, 4, "8,u", rgba)), "RGB AT 1 / 2 / 3"},
        {jp2(colours(16) + columns, one("2,u", "010003", 3)),
         "RGB T 40 10 40 / 50 20 50 / 60 30 60"},
        // luma with subsampled chroma
        {jp2(colours(18), codestream(4, 1, 3, "8,u%1x1:2x1:2x1", pixels)),
         "RGB T 100 110 255 255 / 100 110 49 59 / 100 110 120 130"},
        {jp2(colours(14), one("8,u", "0001")), "DATA"},
        {jp2(box("pclr", hex("0001 01 07 00")) + box("cmap", hex("00010100")), one("8,u", "0001")),
         "FORMAT"},
        {jp2({}, {1, 2, 3, 4}), "FORMAT"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(shown(c.file), c.seen) << (&c - cases);
}

TEST(ImJp2, ReadsTilesLayersAndOffsets) {
    const Im image = randomIm(90, 70, IM_GRAY);
    const Bytes pnm = encoded({image.get()}, "PNM"), samples(pnm.end() - 90 * 70, pnm.end());
    for (const char* options : {"-t 32,32 -TP R", "-c [8,8] -b 4,4", "-r 20,1", "-p CPRL -n 3",
                                "-d 5,7 -t 33,40 -T 3,2", "-SOP -EPH -PLT -TLM"}) {
        const Loaded l = loaded(codestream(90, 70, 1, "8,u", samples, options));
        EXPECT_TRUE(same(l.image.get(), image.get())) << options;
    }
}

TEST(ImJp2, RefusesWhatItCannotHold) {
    const Bytes good = codestream(40, 40, 1, "8,u", Bytes(1600, 77));
    const struct {
        size_t at;
        const char *values, *seen;
    } changes[] = {
        {8, "00000000", "FORMAT"},           // no columns
        {8, "00200000", "ACCESS"},           // tiles for 2^21 columns
        {8, "4000000040", "MEM"},            // 2^30 x 2^30
        {24, "00000000", "FORMAT"},          // no tile width
        {24, "0000000100000001", "ACCESS"},  // 1600 tiles
        {40, "4000", "DATA"},                // 16384 components
        {42, "10", "DATA"},                  // 17 bits
        {43, "00", "FORMAT"},                // no sampling
        {45, "ff50", "DATA"},                // an extension
        {51, "ffff", "ACCESS"},              // 65535 layers
        {57, "40", "COMPRESS"},              // another coder
    };
    EXPECT_EQ(loaded(good).error, IM_ERR_NONE);
    EXPECT_EQ(shown(cut(good, good.size() - 20)), "ACCESS");
    for (const auto& c : changes)
        EXPECT_EQ(shown(changed(good, c.at, hex(c.values))), c.seen) << c.at << " " << c.values;
    // Precincts of one sample make too many packets, thin ones too many code blocks.
    for (const auto& [precinct, seen] : {std::pair(0x00, "ACCESS"), {0xf0, "MEM"}}) {
        Bytes fine = good;
        for (const size_t side : {8U, 12U, 24U, 28U})  // 4000 x 4000 in one tile
            fine = changed(fine, side, number(4, 4000, true));
        fine[48] = 13;  // length of the coding marker
        fine[49] |= 1;
        fine[56] = 0;  // code blocks of four rows
        fine.insert(fine.begin() + 59, static_cast<unsigned char>(precinct));
        EXPECT_EQ(shown(cut(fine, 5000)), seen);
    }
}

}  // namespace
