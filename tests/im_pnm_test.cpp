// PNM: round trips of every kind, what other programs see, odd headers and short files.
#include "im_support.h"

using namespace test;

namespace {

TEST(ImPnm, RoundTrips) {
    for (const char* compression : {"NONE", "ASCII"})
        for (const int space : {IM_BINARY, IM_GRAY, IM_RGB})
            for (const int type : {IM_BYTE, IM_USHORT}) {
                if (space == IM_BINARY && type == IM_USHORT) continue;
                const Im image = randomIm(33, 7, space, type);
                const Loaded back = loaded(encoded({image.get()}, "PNM", compression));
                EXPECT_TRUE(same(back.image.get(), image.get())) << compression;
                EXPECT_EQ(back.compression, compression);
            }
}

TEST(ImPnm, IsWhatOthersSee) {
    const Im image = randomIm(19, 5, IM_RGB);
    const Bytes text = encoded({image.get()}, "PNM", "ASCII");
    EXPECT_EQ(piped("pnmtopnm @", text), encoded({image.get()}, "PNM"));
}

TEST(ImPnm, SeveralImagesAndScaledSamples) {
    const Im a = randomIm(3, 2, IM_GRAY), b = randomIm(2, 2, IM_BINARY);
    const Bytes both = encoded({a.get(), b.get()}, "PNM");
    EXPECT_EQ(loaded(both).count, 2);
    EXPECT_TRUE(same(loaded(both, 1).image.get(), b.get()));
    int error = -1;  // an image of text is the last one
    EXPECT_EQ(loaded(encoded({a.get(), b.get()}, "PNM", "ASCII", &error)).count, 1);
    EXPECT_EQ(error, IM_ERR_DATA);

    const std::string text = "P2 # comment\n2 1 # more\n3\n1 2";
    const Loaded scaled = loaded(Bytes(text.begin(), text.end()));
    ASSERT_EQ(scaled.error, 0);
    EXPECT_EQ(samplesOf(*scaled.image)[0], 85);
    EXPECT_EQ(samplesOf(*scaled.image)[1], 170);
}

TEST(ImPnm, RefusesWhatItCannotHold) {
    const auto errorOf = [](const std::string& text) {
        return loaded(Bytes(text.begin(), text.end())).error;
    };
    EXPECT_EQ(errorOf("P5 2 2 255\nabc"), IM_ERR_ACCESS);
    EXPECT_EQ(errorOf("P5 2 0 255\n"), IM_ERR_FORMAT);
    EXPECT_EQ(errorOf("P6 1000000 1000000 255\n"), IM_ERR_MEM);
    EXPECT_EQ(errorOf("P6 10000 10000 255\n"), IM_ERR_ACCESS);
    EXPECT_EQ(errorOf("P7 2 2 255\nabcd"), IM_ERR_FORMAT);
}

}  // namespace
