// Image files through OpenCV: loads, saves, and what they say when there is nothing to read.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "guarded.h"
#include "kel_ImageBasicProcess.h"
#include "kel_ImageStorage.h"
#include "kel_cv.h"
#include "kel_cv_internal.h"

namespace fs = std::filesystem;
using test::Bytes;

namespace {

class Files : public ::testing::Test {
  protected:
    void SetUp() override {
        folder_ =
            fs::temp_directory_path() /
            ("kel-files-" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) +
             "-" + ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::create_directories(folder_);
    }
    void TearDown() override { fs::remove_all(folder_); }
    std::string path(const char* name) const { return (folder_ / name).string(); }

    fs::path folder_;
};

struct Loaded {
    int result = 0, width = -7, height = -7, channels = -7;
    unsigned char* data = nullptr;
    Bytes bytes() const {
        return Bytes(data, data + static_cast<ptrdiff_t>(width) * height * channels);
    }
    ~Loaded() { Kel_ReleaseImage(data); }
};

void load(const std::string& name, int flags, Loaded* l) {
    l->result =
        KelLoadImageFiles(name.c_str(), &l->width, &l->height, &l->data, &l->channels, flags);
}

TEST_F(Files, SavedImagesComeBack) {
    Bytes colour = test::randomBytes(13 * 7 * 3, 5);
    ASSERT_EQ(KelSaveImage(colour.data(), 3, {13, 7}, path("c.png").c_str()), 0);
    Loaded l;
    load(path("c.png"), -1, &l);
    ASSERT_EQ(l.result, 0);
    EXPECT_EQ(l.channels, 3);
    EXPECT_EQ(l.width, 13);
    EXPECT_EQ(l.height, 7);
    EXPECT_EQ(l.bytes(), colour);

    // Two planes make a grey image of the first.
    ASSERT_EQ(KelSaveImage(colour.data(), 2, {13, 7}, path("g.bmp").c_str()), 0);
    Loaded grey, threefold;
    load(path("g.bmp"), 0, &grey);
    EXPECT_EQ(grey.bytes(), Bytes(colour.begin(), colour.begin() + 91));
    threefold.result = KelLoadUserImage(path("g.bmp").c_str(), &threefold.data, &threefold.width,
                                        &threefold.height, &threefold.channels);
    EXPECT_EQ(threefold.result, 0);
    ASSERT_EQ(threefold.channels, 3);
    EXPECT_EQ(Bytes(threefold.data + 182, threefold.data + 273), grey.bytes());
}

TEST_F(Files, NothingReadSetsTheStatedOutputs) {
    std::ofstream(path("text.png")) << "not an image";
    std::ofstream(path("empty.png"));
    for (const std::string& name :
         {path("missing.png"), path("text.png"), path("empty.png"), folder_.string()}) {
        Loaded l;
        l.data = new unsigned char[1];
        unsigned char* const before = l.data;
        l.result = KelLoadUserImage(name.c_str(), &l.data, &l.width, &l.height, &l.channels);
        EXPECT_EQ(l.result, 1) << name;
        EXPECT_EQ(l.data, before);
        EXPECT_EQ(l.channels, -7);
        Kel_ReleaseImage(before);

        load(name, 1, &l);
        EXPECT_EQ(l.result, -1) << name;
        EXPECT_EQ(l.data, nullptr);
        EXPECT_EQ(l.channels, 0);
        EXPECT_EQ(l.width, -7);
    }
}

TEST_F(Files, NullNamesAreLogicErrors) {
    unsigned char sample = 0;
    int n = 5;
    unsigned char* dst = &sample;
    const auto message = [](auto call) -> std::string {
        try {
            call();
        } catch (const std::logic_error& e) {
            return e.what();
        }
        return "no exception";
    };
    const std::string expected = "basic_string::_M_construct null not valid";
    EXPECT_EQ(message([&] { KelLoadUserImage(nullptr, &dst, &n, &n, &n); }), expected);
    EXPECT_EQ(dst, &sample);
    EXPECT_EQ(message([&] { KelLoadImageFiles(nullptr, &n, &n, &dst, &n, 1); }), expected);
    EXPECT_EQ(dst, nullptr);
    EXPECT_EQ(n, 0);
    EXPECT_EQ(message([&] { KelSaveImage(&sample, 1, {1, 1}, nullptr); }), expected);
    EXPECT_EQ(message([&] { kel_SaveImage_cv(&sample, 1, 1, 1, nullptr); }), expected);
}

TEST_F(Files, FourChannelFilesGiveABufferOfTheirSize) {
    // A 2 by 1 RGBA bitmap, uncompressed, top row only.
    const std::string name = path("rgba.pam");
    std::ofstream(name, std::ios::binary)
        << "P7\nWIDTH 2\nHEIGHT 1\nDEPTH 4\nMAXVAL 255\nTUPLTYPE RGB_ALPHA\nENDHDR\n"
        << "abcdefgh";
    Loaded l;
    load(name, -1, &l);
    ASSERT_EQ(l.result, 0);
    EXPECT_EQ(l.channels, 4);
    EXPECT_EQ(l.width, 2);
    EXPECT_EQ(l.bytes().size(), 8U);
}

TEST_F(Files, ModuleCounterparts) {
    Bytes colour = test::randomBytes(5 * 4 * 3, 6);
    kel_SaveImage_cv(colour.data(), 5, 4, 3, path("c.bmp").c_str());
    Loaded l;
    EXPECT_EQ(
        kel_LoadImageFiles_cv(path("c.bmp").c_str(), &l.data, &l.width, &l.height, &l.channels), 0);
    EXPECT_EQ(l.bytes(), colour);
    kel_ReleaseImageFiles_cv(&l.data);
    EXPECT_EQ(l.data, nullptr);

    l.channels = 9;
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(kel_LoadImageFiles_cv("no/such.png", &l.data, &l.width, &l.height, &l.channels), 1);
    std::fflush(stdout);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "[Error][no/such.png] is not existed.\n");
    EXPECT_EQ(l.channels, 9);

    std::ofstream(path("text.png")) << "not an image";
    EXPECT_EQ(
        kel_LoadImageFiles_cv(path("text.png").c_str(), &l.data, &l.width, &l.height, &l.channels),
        2);
    EXPECT_EQ(l.channels, 0);
}

}  // namespace
