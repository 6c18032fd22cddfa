// LED and PNM, forms in text, and RAW, samples alone.
#include "im_support.h"

using namespace test;

namespace {

std::string shownText(const std::string& text) {
    return shown(Bytes(text.begin(), text.end()));
}

TEST(ImLed, WritesTheTextFormInShortLines) {
    const Im image(imImageCreate(2, 2, IM_BINARY, IM_BYTE));
    samplesOf(*image)[0] = 1;  // bottom left
    const Bytes bytes = encoded({image.get()}, "LED");
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()),
              "LEDImage = IMAGE[\n 0 = \"0 0 0\",\n 1 = \"255 255 255\"\n](2, 2,\n 0,0,\n 1,0)\n");
    size_t column = 0, longest = 0;
    for (const unsigned char c : encoded({randomIm(300, 5, IM_GRAY).get()}, "LED"))
        longest = std::max(longest, column = c == '\n' ? 0 : column + 1);
    EXPECT_LE(longest, 80U);
}

TEST(ImLed, ReadsAnySpacingOrRefuses) {
    EXPECT_EQ(shownText("image[2=\"1 2 3\",0=\"9 8 7\"](3,1,0,2,1)"),
              "MAP T 0:090807 2:010203 1:000000");
    EXPECT_EQ(shownText("\r\n image_1\t=\nImage [ 0 = \" 255 255\n255\" 1 = \"0 0 0 \" ] ( 1\n, 2 "
                        ",\r\n 0 , 001 ) x"),
              "BINARY T 1 0");  // white first

    EXPECT_EQ(shownText("a = PICTURE[0 = \"1 2 3\"](1,1,0)"), "FORMAT");
    EXPECT_EQ(shownText("a = IMAGE[](1,1,0)"), "FORMAT");
    const std::string start = "a = IMAGE[0 = \"1 2 3\"](";
    EXPECT_EQ(shownText(start + "1,1,0)"), "MAP T 0:010203");
    EXPECT_EQ(shownText(start + "0,1,0)"), "FORMAT");
    EXPECT_EQ(shownText(start + "1000000,1000000,0)"), "MEM");
    for (const char* rest : {"1,1,0", "2,1,0)", "1,1,0,0)", "2,1,0 0)", "1,1,256)", "1,1,-1)", "1",
                             "30000,30000,0)", "99999999999,1,0)", "1,1,x)"})
        EXPECT_EQ(shownText(start + rest), "ACCESS") << rest;
    for (const char* entry :
         {"256 = \"1 2 3\"", "0 = \"1 2\"", "0 = \"1 2 256\"", "0 = 1 2 3", "0 = \"1 2 3", "0"})
        EXPECT_EQ(shownText("IMAGE[" + std::string(entry) + "](1,1,0)"), "ACCESS") << entry;
}

TEST(ImPnm, ScalesSamplesOrRefuses) {
    EXPECT_EQ(shownText("P2 # comment\n2 1 # more\n3\n1 2"), "GRAY T 85 170");
    EXPECT_EQ(shownText("P5 2 2 255\nabc"), "ACCESS");
    EXPECT_EQ(shownText("P5 2 0 255\n"), "FORMAT");
    EXPECT_EQ(shownText("P6 1000000 1000000 255\n"), "MEM");
    EXPECT_EQ(shownText("P6 10000 10000 255\n"), "ACCESS");
    EXPECT_EQ(shownText("P7 2 2 255\nabcd"), "FORMAT");

    const Im a = randomIm(3, 2, IM_GRAY);
    int error = -1;  // an image of text is the last one
    EXPECT_EQ(loaded(encoded({a.get(), a.get()}, "PNM", "ASCII", &error)).count, 1);
    EXPECT_EQ(error, IM_ERR_DATA);
}

TEST(ImRaw, WritesSamplesAlone) {
    const Im a = randomIm(3, 2, IM_RGB), b = randomIm(1, 1, IM_GRAY, IM_DOUBLE);
    const unsigned char* const s = samplesOf(*a);
    Bytes expected;  // the top rows first
    for (const int i : {3, 4, 5, 0, 1, 2, 9, 10, 11, 6, 7, 8, 15, 16, 17, 12, 13, 14})
        expected.push_back(s[i]);
    expected.insert(expected.end(), samplesOf(*b), samplesOf(*b) + sizeof(double));
    const Bytes bytes = encoded({a.get(), b.get()}, "RAW");
    EXPECT_EQ(bytes, expected);
    EXPECT_EQ(shown(bytes), "FORMAT");
}

}  // namespace
