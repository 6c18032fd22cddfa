// An image file as a host loads it.
#pragma once

#include "kel_ImageFileOper.h"
#include "kel_ImageStorage.h"
#include "scratch.h"
#include "support.h"

namespace test {

struct LoadedImage {
    explicit LoadedImage(const std::string& name) {
        unsigned char* data = nullptr;
        EXPECT_EQ(
            Kel_LoadImageFile2Buffer(name.c_str(), &data, &size.width, &size.height, &channels), 0);
        if (data != nullptr) samples.assign(data, data + area(size) * size_t(channels));
        Kel_ReleaseImage(data);
    }
    kelSize size{};
    int channels = 0;
    Bytes samples;
};

}  // namespace test

inline bool operator==(kelSize a, kelSize b) {
    return a.width == b.width && a.height == b.height;
}
