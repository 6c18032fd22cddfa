// LED, the text form of palette and indexes, and RAW, samples alone.
#include "im_support.h"

using namespace test;

namespace {

Loaded loadedText(const std::string& text) {
    static Bytes bytes;  // outlives what is loaded
    bytes.assign(text.begin(), text.end());
    return loaded(bytes);
}

TEST(ImLed, RoundTripsWithinShortLines) {
    for (const int space : {IM_BINARY, IM_GRAY, IM_MAP})
        for (const int width : {1, 7, 33, 300}) {
            const Im image = randomIm(width, 5, space, IM_BYTE, 1, 200);
            const Bytes bytes = encoded({image.get()}, "LED");
            EXPECT_TRUE(same(loaded(bytes).image.get(), image.get()));
            size_t column = 0, longest = 0;
            for (const unsigned char c : bytes)
                longest = std::max(longest, column = c == '\n' ? 0 : column + 1);
            EXPECT_LE(longest, 80U);
        }
    const Im page = randomIm(6, 2, IM_RGB), inks = randomIm(6, 2, IM_CMYK);
    for (const imImage* image : {page.get(), inks.get()}) {
        const Loaded back = loaded(encoded({image}, "LED"));
        ASSERT_NE(back.image, nullptr);
        EXPECT_TRUE(same(converted(*back.image, IM_RGB).get(), converted(*image, IM_RGB).get()));
    }
}

TEST(ImLed, WritesTheTextForm) {
    const Im image(imImageCreate(2, 2, IM_BINARY, IM_BYTE));
    samplesOf(*image)[0] = 1;  // bottom left
    const Bytes bytes = encoded({image.get()}, "LED");
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()),
              "LEDImage = IMAGE[\n 0 = \"0 0 0\",\n 1 = \"255 255 255\"\n](2, 2,\n 0,0,\n 1,0)\n");
}

TEST(ImLed, ReadsAnySpacing) {
    const Loaded tight = loadedText("image[2=\"1 2 3\",0=\"9 8 7\"](2,1,0,2)");
    ASSERT_EQ(tight.error, 0);
    EXPECT_EQ(tight.image->color_space, IM_MAP);
    EXPECT_EQ(tight.image->palette_count, 3);
    EXPECT_EQ(tight.image->palette[1].red, 0);
    EXPECT_EQ(tight.image->palette[2].blue, 3);
    EXPECT_EQ(samplesOf(*tight.image)[1], 2);
    const Loaded loose = loadedText(
        "\r\n image_1\t=\nImage [ 0 = \" 255 255\n255\" 1 = \"0 0 0 \" ] ( 1\n, 2 ,\r\n 0 , 001 ) "
        "x");
    ASSERT_EQ(loose.error, 0);
    EXPECT_EQ(loose.image->color_space, IM_BINARY);  // white first
    EXPECT_EQ(samplesOf(*loose.image)[0], 0);        // the bottom row
    EXPECT_EQ(samplesOf(*loose.image)[1], 1);
}

TEST(ImLed, RefusesWhatIsDamaged) {
    const auto errorOf = [](const std::string& text) { return loadedText(text).error; };
    const std::string start = "a = IMAGE[0 = \"1 2 3\"](";
    EXPECT_EQ(errorOf("a = PICTURE[0 = \"1 2 3\"](1,1,0)"), IM_ERR_FORMAT);
    EXPECT_EQ(errorOf("a = IMAGE[](1,1,0)"), IM_ERR_FORMAT);
    EXPECT_EQ(errorOf(start + "1,1,0)"), 0);
    EXPECT_EQ(errorOf(start + "0,1,0)"), IM_ERR_FORMAT);
    for (const char* rest : {"1,1,0", "2,1,0)", "1,1,0,0)", "2,1,0 0)", "1,1,256)", "1,1,-1)", "1",
                             "30000,30000,0)", "99999999999,1,0)", "1,1,x)"})
        EXPECT_EQ(errorOf(start + rest), IM_ERR_ACCESS) << rest;
    EXPECT_EQ(errorOf(start + "1000000,1000000,0)"), IM_ERR_MEM);
    for (const char* entry :
         {"256 = \"1 2 3\"", "0 = \"1 2\"", "0 = \"1 2 256\"", "0 = 1 2 3", "0 = \"1 2 3", "0"})
        EXPECT_EQ(errorOf("IMAGE[" + std::string(entry) + "](1,1,0)"), IM_ERR_ACCESS) << entry;
}

TEST(ImRaw, WritesSamplesAlone) {
    const Im a = randomIm(3, 2, IM_RGB), b = randomIm(2, 2, IM_GRAY, IM_DOUBLE);
    Bytes expected;
    for (const imImage* image : {a.get(), b.get()})
        for (int p = 0; p < image->depth; ++p)
            for (int y = image->height - 1; y >= 0; --y) {
                const auto* const row =
                    static_cast<unsigned char*>(image->data[p]) + y * image->line_size;
                expected.insert(expected.end(), row, row + image->line_size);
            }
    const Bytes bytes = encoded({a.get(), b.get()}, "RAW");
    EXPECT_EQ(bytes, expected);
    EXPECT_EQ(loaded(bytes).error, IM_ERR_FORMAT);
}

}  // namespace
