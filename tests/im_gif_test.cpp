// GIF: round trips, several images, what other programs see and make, odd palettes, damaged files.
#include "im_support.h"

using namespace test;

namespace {

// A GIF of one image of 4 pixels by 1, with given table bytes, depth of codes and code bytes.
Bytes tiny(const Bytes& table, unsigned char codeBits, const Bytes& codes) {
    const auto flags = static_cast<unsigned char>(table.empty() ? 0 : 0x80);  // two entries
    const auto length = static_cast<unsigned char>(codes.size());
    Bytes gif;
    for (const Bytes& part :
         {Bytes{'G', 'I', 'F', '8', '9', 'a', 4, 0, 1, 0, flags, 0, 0}, table,
          Bytes{',', 0, 0, 0, 0, 4, 0, 1, 0, 0, codeBits, length}, codes, Bytes{0, ';'}})
        gif.insert(gif.end(), part.begin(), part.end());
    return gif;
}

// Clear, 0, 1, 2, 3, end in 2-bit codes: 3 bits each, 4 from the fifth on.
const Bytes kCountingCodes = {0x44, 0x34, 0x05};

// Tables have 2, 4, 8... entries; those beyond the image's are black.
void expectStored(const imImage& image, const imImage* back) {
    ASSERT_NE(back, nullptr);
    if (image.color_space != IM_MAP) {
        EXPECT_TRUE(same(back, &image));
        return;
    }
    EXPECT_EQ(back->color_space, IM_MAP);
    EXPECT_LT(back->palette_count, 2 * image.palette_count + 1);
    EXPECT_EQ(std::memcmp(back->palette, image.palette, 3 * 256), 0);
    EXPECT_TRUE(same(converted(*back, IM_RGB).get(), converted(image, IM_RGB).get()));
}

TEST(ImGif, RoundTripsAsOthersSeeIt) {
    for (const int colors : {1, 2, 3, 16, 17, 256})
        for (const int space : {IM_BINARY, IM_GRAY, IM_MAP})
            for (const int width : {1, 9, 700}) {
                const Im image = randomIm(width, 40, space, IM_BYTE, 7, colors);
                const Bytes gif = encoded({image.get()}, "GIF");
                const Loaded back = loaded(gif);
                EXPECT_EQ(back.compression, "LZW");
                expectStored(*image, back.image.get());
                const Im seen = seenBy("giftopnm @", gif);
                ASSERT_NE(seen, nullptr);
                EXPECT_TRUE(same(converted(*seen, IM_RGB).get(), converted(*image, IM_RGB).get()));
            }
}

TEST(ImGif, ConvertsWhatItDoesNotHave) {
    const Im few = converted(*randomIm(30, 20, IM_MAP, IM_BYTE, 1, 200), IM_RGB);
    const Loaded exact = loaded(encoded({few.get()}, "GIF"));
    ASSERT_EQ(exact.error, IM_ERR_NONE);
    EXPECT_TRUE(same(converted(*exact.image, IM_RGB).get(), few.get()));
    for (const int space : {IM_GRAY, IM_RGB, IM_CMYK}) {
        const Im wide = randomIm(30, 20, space, IM_USHORT);
        EXPECT_EQ(loaded(encoded({wide.get()}, "GIF")).error, IM_ERR_NONE);
    }
    const Im real(imImageCreate(2, 2, IM_GRAY, IM_FLOAT)), broad(imImageCreate(65536, 1, 2, 0));
    for (const imImage* image : {real.get(), broad.get()}) {
        int error = 0;
        encoded({image}, "GIF", nullptr, &error);
        EXPECT_EQ(error, IM_ERR_DATA);
    }
}

TEST(ImGif, SeveralImages) {
    const Im a = randomIm(20, 30, IM_MAP, IM_BYTE, 1, 5), b = randomIm(50, 10, IM_BINARY),
             c = randomIm(33, 3, IM_GRAY);
    const Bytes gif = encoded({a.get(), b.get(), c.get()}, "GIF");
    EXPECT_EQ(gif.back(), ';');
    EXPECT_EQ(gif[6], 50);  // the screen holds them all
    EXPECT_EQ(gif[8], 30);
    const Loaded last = loaded(gif, 2);
    EXPECT_EQ(last.count, 3);
    expectStored(*c, last.image.get());
    // Any order, and again.
    for (const int index : {1, 0, 0, 2}) {
        int error = 0;
        const Im back(imFileLoadImage(last.file.get(), index, &error));
        expectStored(*(index == 0 ? a : index == 1 ? b : c), back.get());
    }
    const Im seen = seenBy("giftopnm -image=2 @", gif);
    ASSERT_NE(seen, nullptr);
    EXPECT_TRUE(same(converted(*seen, IM_RGB).get(), converted(*b, IM_RGB).get()));
    // The first of several stays whole while the others come.
    const Bytes one = encoded({a.get()}, "GIF");
    EXPECT_EQ(loaded(one).count, 1);
    EXPECT_TRUE(std::equal(one.begin() + 10, one.end() - 1, gif.begin() + 10));
    // Without the last image's end the others are there.
    const Loaded cut = loaded(Bytes(gif.begin(), gif.end() - 10), 1);
    expectStored(*b, cut.image.get());
    EXPECT_EQ(loaded(Bytes(gif.begin(), gif.end() - 10), 2).error, IM_ERR_ACCESS);
}

TEST(ImGif, ReadsWhatOthersMake) {
    for (const char* command : {"pamtogif @", "pamtogif -interlace @", "pamtogif -nolzw @",
                                "pamtogif -transparent=black -comment=words @"})
        for (const int height : {1, 2, 5, 8, 33}) {
            const Im image = randomIm(height + 3, height, IM_MAP, IM_BYTE, 9, 60);
            const Bytes pnm = encoded({image.get()}, "PNM");
            const Loaded back = loaded(piped(command, pnm));
            ASSERT_EQ(back.error, IM_ERR_NONE) << command;
            EXPECT_TRUE(same(converted(*back.image, IM_RGB).get(), converted(*image, IM_RGB).get()))
                << command << height;
        }
}

TEST(ImGif, OddPalettes) {
    const auto samples = [](const Loaded& file) {
        return Bytes(samplesOf(*file.image), samplesOf(*file.image) + imBytes(*file.image));
    };
    // Indexes beyond a black and white table are black; without a table they are greys.
    const Loaded bits = loaded(tiny({255, 255, 255, 0, 0, 0}, 2, kCountingCodes));
    ASSERT_EQ(bits.error, IM_ERR_NONE);
    EXPECT_EQ(bits.image->color_space, IM_BINARY);
    EXPECT_EQ(samples(bits), (Bytes{1, 0, 0, 0}));
    const Loaded ramp = loaded(tiny({}, 2, kCountingCodes));
    ASSERT_EQ(ramp.error, IM_ERR_NONE);
    EXPECT_EQ(samples(ramp), (Bytes{0, 1, 2, 3}));
    EXPECT_EQ(ramp.image->palette_count, 4);
    EXPECT_EQ(ramp.image->palette[2].green, 170);
}

TEST(ImGif, RefusesDamage) {
    const Im image = randomIm(40, 30, IM_GRAY);
    const Bytes gif = encoded({image.get()}, "GIF");
    for (size_t size = 0; size < gif.size() - 2; size += 13)
        EXPECT_NE(loaded(Bytes(gif.begin(), gif.begin() + long(size))).error, 0) << size;
    const size_t descriptor = 13 + 768;
    const auto sized = [&](std::initializer_list<unsigned char> size) {
        Bytes other = gif;
        std::copy(size.begin(), size.end(), &other[descriptor + 5]);
        return loaded(other).error;
    };
    EXPECT_EQ(sized({0, 0, 30, 0}), IM_ERR_FORMAT);
    EXPECT_EQ(sized({255, 255, 255, 255}), IM_ERR_MEM);
    EXPECT_EQ(sized({255, 255, 255, 15}), IM_ERR_ACCESS);
    EXPECT_EQ(sized({40, 0, 31, 0}), IM_ERR_ACCESS);
    // Codes that stand for nothing yet.
    EXPECT_EQ(loaded(tiny({}, 2, {0xff, 0xff, 0xff})).error, IM_ERR_ACCESS);
    EXPECT_NE(loaded(tiny({}, 9, kCountingCodes)).error, IM_ERR_NONE);
}

}  // namespace
