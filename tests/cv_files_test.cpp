// Image files through OpenCV: loads, saves, and what they say when there is nothing to read.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>

#include "kel_ImageBasicProcess.h"
#include "kel_ImageStorage.h"
#include "kel_cv.h"
#include "kel_cv_internal.h"
#include "scratch.h"
#include "support.h"

namespace fs = std::filesystem;
using namespace test;

namespace {

struct Files : ::testing::Test {
    std::string path(const char* name) const { return (scratch.path / name).string(); }

    const ScratchFolder scratch;
};

/// The outputs of a load, with marks where nothing was written.
struct Loaded {
    explicit Loaded(const std::string& name, int flags = -1)
        : result(KelLoadImageFiles(name.c_str(), &width, &height, &data, &channels, flags)) {}
    ~Loaded() { Kel_ReleaseImage(data); }
    Bytes bytes() const { return Bytes(data, data + width * height * channels); }

    int width = -7, height = -7, channels = -7;
    unsigned char* data = nullptr;
    int result;
};

TEST_F(Files, SavedImagesComeBack) {
    Bytes colour = randomBytes(13 * 7 * 3, 5);
    ASSERT_EQ(KelSaveImage(colour.data(), 3, {13, 7}, path("c.png").c_str()), 0);
    const Loaded back(path("c.png"));
    EXPECT_EQ(std::pair(back.width, back.channels), std::pair(13, 3));
    EXPECT_EQ(back.bytes(), colour);

    // Two planes make a grey image of the first.
    ASSERT_EQ(KelSaveImage(colour.data(), 2, {13, 7}, path("g.bmp").c_str()), 0);
    const Bytes first(colour.begin(), colour.begin() + 91);
    EXPECT_EQ(Loaded(path("g.bmp"), 0).bytes(), first);
    Loaded threefold("");
    KelLoadUserImage(path("g.bmp").c_str(), &threefold.data, &threefold.width, &threefold.height,
                     &threefold.channels);
    ASSERT_EQ(threefold.channels, 3);
    EXPECT_EQ(Bytes(threefold.data + 182, threefold.data + 273), first);

    // OpenCV refuses images without pixels, and sizes below 0.
    for (int channels : {1, 3})
        for (kelSize none : {kelSize{0, 4}, kelSize{4, 0}, kelSize{5, -4}, kelSize{-5, -4}})
            EXPECT_ANY_THROW(KelSaveImage(colour.data(), channels, none, path("n.bmp").c_str()));
    EXPECT_FALSE(fs::exists(path("n.bmp")));

    // A file of four channels, read as it is, gives a buffer of its size without meaning.
    std::ofstream(path("rgba.pam")) << "P7\nWIDTH 2\nHEIGHT 1\nDEPTH 4\nMAXVAL 255\n"
                                       "TUPLTYPE RGB_ALPHA\nENDHDR\nabcdefgh";
    EXPECT_EQ(Loaded(path("rgba.pam")).bytes(), Bytes(8, 0));

    // The calls of the private module's own kind.
    kel_SaveImage_cv(colour.data(), 13, 7, 3, path("m.bmp").c_str());
    Loaded module("");
    ASSERT_EQ(kel_LoadImageFiles_cv(path("m.bmp").c_str(), &module.data, &module.width,
                                    &module.height, &module.channels),
              0);
    EXPECT_EQ(module.bytes(), colour);
    kel_ReleaseImageFiles_cv(&module.data);
    EXPECT_EQ(module.data, nullptr);
}

TEST_F(Files, NothingReadSetsTheStatedOutputs) {
    std::ofstream(path("text.png")) << "not an image";
    std::ofstream(path("empty.png"));
    for (const std::string& name :
         {path("missing.png"), path("text.png"), path("empty.png"), scratch.path.string()}) {
        Loaded l(name, 1);
        EXPECT_EQ(std::pair(l.result, l.channels), std::pair(-1, 0)) << name;
        unsigned char mark = 0, *data = &mark;
        EXPECT_EQ(KelLoadUserImage(name.c_str(), &data, &l.width, &l.height, &l.height), 1);
        EXPECT_EQ(data, &mark);
        const bool isMissing = name == path("missing.png");
        ::testing::internal::CaptureStdout();
        EXPECT_EQ(kel_LoadImageFiles_cv(name.c_str(), &data, &l.width, &l.height, &l.channels),
                  isMissing ? 1 : 2);
        EXPECT_EQ(::testing::internal::GetCapturedStdout(),
                  isMissing ? "[Error][" + name + "] is not existed.\n" : "");
        EXPECT_EQ(data, isMissing ? &mark : nullptr);
        EXPECT_EQ(std::pair(l.width, l.height), std::pair(-7, -7));
    }
}

TEST_F(Files, NullNamesAreLogicErrors) {
    unsigned char sample = 0, *dst = &sample;
    int n = 5;
    const std::function<void()> calls[] = {
        [&] { KelLoadUserImage(nullptr, &dst, &n, &n, &n); },
        [&] {
            KelSaveImage(&sample, 1, kelSize{1, 1}, nullptr);
        },
        [&] { kel_SaveImage_cv(&sample, 1, 1, 1, nullptr); },
        [&] { KelLoadImageFiles(nullptr, &n, &n, &dst, &n, 1); }};
    for (const auto& call : calls) {
        EXPECT_EQ(dst, &sample);
        EXPECT_EQ(n, 5);
        try {
            call();
            ADD_FAILURE() << "no exception";
        } catch (const std::logic_error& e) {
            EXPECT_STREQ(e.what(), "basic_string::_M_construct null not valid");
        }
    }
    EXPECT_EQ(dst, nullptr);  // the last call sets its outputs first
    EXPECT_EQ(n, 0);
}

}  // namespace
