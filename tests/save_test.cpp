// Saving and encoding: names of formats, special compressions, result codes, blocks of memory, and
// the older loaders that read them back.
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "files_support.h"
#include "kel_ImageFileOper.h"
#include "kel_ImageStorage.h"
#include "kel_im.h"

using namespace test;

namespace {

struct Seen {
    int result = -1;
    int width = 0, height = 0, channels = 0;
    Bytes samples;
    std::string format, compression;
    double x = 0.0, y = 0.0;
};

Seen seen(Bytes file) {
    Seen s;
    unsigned char* samples = nullptr;
    char format[12] = "", compression[32] = "";
    int rate = 0;
    s.result =
        Kel_ReadImageFile2BufferRParam(file.data(), int(file.size()), &samples, &s.width, &s.height,
                                       &s.channels, format, compression, &rate, &s.x, &s.y);
    s.format = format;
    s.compression = compression;
    if (samples != nullptr) s.samples.assign(samples, samples + s.width * s.height * s.channels);
    Kel_ReleaseImage(samples);
    return s;
}

TEST(Save, FormatByName) {
    struct Row {
        const char* name;
        int result;
        const char* format;
    };
    for (const Row& row : {Row{"a.jpg", 0, "JPEG"}, {".jpeg", 1, "-"},        {"abcd", 1, "-"},
                           {"abcde.x", 2, "-"},     {"a.JPEG", 0, "JPEG"},    {"a.Jpg", 3, "-"},
                           {"a.krn", 3, "-"},       {"a.KRN", 0, "KRN"},      {"a.avi", 0, "AVI"},
                           {"a.ecw", 0, "ECW"},     {"a.WMV", 0, "WMV"},      {"p.tiff", 0, "TIFF"},
                           {"p.tif", 0, "TIFF"},    {"p.TIF", 0, "TIFF"},     {"p.jp2", 0, "JP2"},
                           {"p.JP2", 0, "JP2"},     {"p.Jp2", 3, "-"},        {"p.bmp", 0, "BMP"},
                           {"p.xyz", 3, "-"},       {"page.x.png", 0, "PNG"}, {"pp.bm", 2, "-"},
                           {"ab.x.", 2, "-"},       {nullptr, 1, "-"}}) {
        char format[12] = "-";
        std::string name = row.name == nullptr ? "" : row.name;
        EXPECT_EQ(KelCalImageFormatInName(row.name == nullptr ? nullptr : name.data(), format),
                  row.result)
            << name;
        EXPECT_STREQ(format, row.format) << name;
    }
}

TEST(Save, ChecksOfSavingByName) {
    Bytes grey(20, 9);
    const auto save = [&](const char* name, int width = 5, int height = 4, int channels = 1) {
        return Kel_SaveImage_DT(grey.data(), width, height, channels, name, 0);
    };
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(Kel_SaveImage_DT(nullptr, 5, 4, 1, "x.png", 0), -1);
    EXPECT_EQ(save(nullptr), -1);
    EXPECT_EQ(save("x.png", 0), -1);
    EXPECT_EQ(save("x.png", 5, -1), -1);
    EXPECT_EQ(save("x.png", 5, 4, 2), -1);
    EXPECT_EQ(save("x.pn"), -2);
    EXPECT_EQ(save("nodot"), -3);
    EXPECT_EQ(save(".tiff"), -3);  // a dot at index 0 is none
    EXPECT_EQ(save("page.t"), -3);
    EXPECT_EQ(save("page.jpeg2"), -3);
    EXPECT_EQ(save("page."), -3);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(save("x.krn"), -4);
    EXPECT_EQ(save("a.bmpx"), -4);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "format is error!\nformat is error!\n");
    for (const char* name : {"a.TiFf", "a.b.jpg", "a.PNM", "a.raw", "a.Led"})
        EXPECT_EQ(save(scratchPath(name).c_str()), 0) << name;

    ::testing::internal::CaptureStderr();
    EXPECT_EQ(save("/no/such/folder/page.png"), IM_ERR_OPEN);
    EXPECT_EQ(Kel_SaveImage(grey.data(), 5, 4, 1, scratchPath("x.avi").c_str(), "AVI", 0),
              IM_ERR_FORMAT);
    EXPECT_EQ(Kel_SaveImage(grey.data(), 70000, 70000, 1, "x.png", "PNG", 0), IM_ERR_MEM);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "Error Opening File.\nInvalid Format.\nInsuficient memory.\n");
}

struct Stored {
    const char* format;
    int type, channels;
    const char* compression;
    int channelsRead;
};

/// Writes a picture as each row says, by a call that returns the file, and looks at what is stored.
template <class Write>
void checkStored(std::initializer_list<Stored> rows, const Write& write) {
    const Image colour({20, 6}, 3, 5);
    for (const Stored& row : rows) {
        SCOPED_TRACE(row.format + std::to_string(row.type));
        Bytes data(colour.samples.begin(), colour.samples.begin() + 120 * row.channels);
        const Seen file = seen(write(data, row));
        EXPECT_EQ(file.format, row.format);
        EXPECT_EQ(file.compression, row.compression);
        ASSERT_EQ(file.channels, row.channelsRead);
        EXPECT_EQ(file.x, 0.0);
        if (file.format == "JPEG") continue;
        Bytes expected = row.channelsRead == row.channels ? data : greyOf(data, row.channels);
        for (auto& sample : expected)
            if (file.compression == "CCITTFAX4") sample = sample > 127 ? 255 : 0;
        EXPECT_EQ(file.samples, expected);
    }
}

TEST(Save, SpecialCompressions) {
    checkStored({{"BMP", 1, 3, "RLE", 1},
                 {"BMP", 1, 1, "RLE", 1},
                 {"BMP", 0, 3, "NONE", 3},
                 {"TIFF", 1, 3, "RLE", 3},
                 {"TIFF", 2, 1, "CCITTFAX4", 1},
                 {"TIFF", 2, 3, "CCITTFAX4", 1},
                 {"TIFF", 3, 3, "NONE", 3},
                 {"TIFF", 0, 1, "NONE", 1},
                 {"PCX", 1, 3, "RLE", 3},
                 {"RAS", 1, 3, "RLE", 3},
                 {"SGI", 1, 3, "RLE", 3},
                 {"TGA", 1, 3, "RLE", 3},
                 {"PNG", 7, 3, "DEFLATE", 3}},
                [](Bytes& data, const Stored& row) {
                    const std::string path = scratchPath("special");
                    EXPECT_EQ(Kel_SaveImage(data.data(), 20, 6, row.channels, path.c_str(),
                                            row.format, row.type),
                              0);
                    return fileBytes(path);
                });
    Bytes data(120);
    for (const auto& [format, type] :
         {std::pair{"PNG", 1}, {"JPEG", 1}, {"PNG", 2}, {"BMP", 3}, {"bmp", 1}, {"", 2}})
        EXPECT_EQ(Kel_SaveImage(data.data(), 20, 6, 1, "/no/such/folder", format, type), -5);
}

/// Lets no file of this process grow beyond a size, for as long as it lives.
class FileSizeLimit {
  public:
    explicit FileSizeLimit(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit{bytes, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }

  private:
    void (*handler_)(int);
    rlimit before_{};
};

TEST(Save, FilesAppearWholeOrNotAtAll) {
    namespace fs = std::filesystem;
    const fs::path folder = scratchPath("folder");
    fs::remove_all(folder);
    fs::create_directories(folder);
    Bytes noise(Image({300, 200}, 1, 3).samples);
    const auto save = [&](const fs::path& path, const char* format) {
        return Kel_SaveImage(noise.data(), 300, 200, 1, path.c_str(), format, 0);
    };
    const Bytes old = {'o', 'l', 'd'};
    const fs::path page = folder / "page", link = folder / "link", other = folder / "other";
    writeBytes("folder/page", old);
    fs::permissions(page, fs::perms::owner_all);
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(save(page, "ICO"), IM_ERR_DATA);  // its images end at 256 pixels
    for (const char* format : {"PNG", "TIFF", "BMP", "JPEG", "PNM", "GIF", "TGA"}) {
        const FileSizeLimit limit(1000);
        EXPECT_EQ(save(page, format), IM_ERR_ACCESS) << format;
        EXPECT_EQ(save(folder / "new", format), IM_ERR_ACCESS) << format;
    }
    EXPECT_EQ(save(folder, "PNG"), IM_ERR_OPEN);
    EXPECT_EQ(save("/proc/page.png", "PNG"), IM_ERR_OPEN);  // read-only, even to root
    ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(fileBytes(page.string()), old);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 1);

    // A file that is replaced keeps its permissions, the links to it, and its other names.
    fs::create_symlink(page, link);
    EXPECT_EQ(save(link, "PNG"), 0);
    EXPECT_EQ(seen(fileBytes(page.string())).samples, noise);
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(fs::status(page).permissions(), fs::perms::owner_all);
    fs::create_hard_link(page, other);
    EXPECT_EQ(save(page, "BMP"), 0);
    EXPECT_EQ(seen(fileBytes(other.string())).format, "BMP");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 3);
    fs::remove_all(folder);
}

TEST(Save, RecordsByTheirName) {
    Image grey({7, 5}, 1, 3);
    tagImage record{};
    record.imageData = grey.samples.data();
    record.width = 7;
    record.height = 5;
    record.channels = 1;
    std::string path = scratchPath("record.tiff"), none = "x.yz", unknown = "page.Png",
                tiny = "p.x";
    EXPECT_EQ(KelSaveKelImage(path.data(), &record), 0);
    EXPECT_EQ(seen(fileBytes(path)).samples, grey.samples);
    EXPECT_EQ(KelSaveKelImage(tiny.data(), &record), -1);
    none = "noextension";
    EXPECT_EQ(KelSaveKelImage(none.data(), &record), -2);
    EXPECT_EQ(KelSaveKelImage(unknown.data(), &record), -3);
    EXPECT_EQ(KelSaveUserImage(scratchPath("user.Png").c_str(), grey.samples.data(), 7, 5, 1), 0);
    EXPECT_EQ(KelSaveUserImage("user", grey.samples.data(), 7, 5, 1), -2);
}

/// A block with its hidden zero, given back.
Bytes taken(unsigned char* block, int length) {
    if (block == nullptr) return {};
    EXPECT_EQ(block[length], 0);
    const Bytes bytes(block, block + length);
    Kel_ReleaseImage(block);
    return bytes;
}

TEST(Encode, BlocksHoldWholeFiles) {
    checkStored({{"BMP", 0, 3, "NONE", 3},
                 {"BMP", 1, 3, "RLE", 1},
                 {"BMP", 2, 1, "NONE", 1},
                 {"TIFF", 0, 3, "NONE", 3},
                 {"TIFF", 1, 3, "RLE", 3},
                 {"TIFF", 2, 1, "CCITTFAX4", 1},
                 {"TIFF", 2, 3, "CCITTFAX4", 1},
                 {"JPEG", 2, 1, "90", 1},
                 {"JPEG", 1, 3, "90", 3}},
                [](Bytes& data, const Stored& row) {
                    unsigned char* block = nullptr;
                    int length = 0;
                    EXPECT_EQ(Kel_Convert2ImgFileBuffer(data.data(), 20, 6, row.channels,
                                                        row.format, &block, &length, row.type),
                              0);
                    return taken(block, length);
                });
}

TEST(Encode, ResolutionAndQuality) {
    Bytes data(40 * 30, 77);
    const auto encoded = [&](const char* format, float x, float y, int quality) {
        unsigned char* block = nullptr;
        int length = 0;
        EXPECT_EQ(Kel_Convert2ImgFileBuffer_Params(data.data(), 40, 30, 1, format, &block, &length,
                                                   x, y, quality, nullptr, 0),
                  0);
        return seen(taken(block, length));
    };
    for (const char* format : {"BMP", "TIFF", "JPEG"}) {
        const Seen with = encoded(format, 300.0F, 200.0F, 60);
        EXPECT_DOUBLE_EQ(with.x, 300.0) << format;
        EXPECT_DOUBLE_EQ(with.y, 200.0) << format;
        EXPECT_EQ(encoded(format, 300.0F, 0.0F, 60).x, 0.0) << format;
        EXPECT_EQ(encoded(format, -1.0F, 300.0F, 60).y, 0.0) << format;
    }
    EXPECT_EQ(encoded("JPEG", 0.0F, 0.0F, 60).compression, "60");
}

TEST(Encode, RefusalsTouchNothing) {
    Bytes data(12, 1);
    unsigned char* const before = data.data();
    unsigned char* block = before;
    int length = 77;
    const auto call = [&](unsigned char* from, int w, int h, int c, const char* format) {
        return Kel_Convert2ImgFileBuffer(from, w, h, c, format, &block, &length, 0);
    };
    EXPECT_EQ(call(nullptr, 4, 3, 1, "BMP"), -1);
    EXPECT_EQ(call(before, 0, 3, 1, "BMP"), -1);
    EXPECT_EQ(call(before, 4, 0, 1, "BMP"), -1);
    EXPECT_EQ(call(before, 2, 3, 2, "BMP"), -1);
    EXPECT_EQ(call(before, 4, 3, 1, nullptr), -1);
    EXPECT_EQ(call(before, 4, 3, 1, "PNG"), -2);
    EXPECT_EQ(call(before, 4, 3, 1, "bmp"), -2);
    EXPECT_EQ(call(before, 70000, 70000, 1, "JPEG"), 0);  // shows in the outputs alone
    EXPECT_EQ(block, before);
    EXPECT_EQ(length, 77);
}

TEST(Encode, BitmapsInMemory) {
    const Im rgb = randomIm(9, 4, IM_RGB);
    const Bytes file = fileBytes(writeFile("dib.bmp", "BMP", {rgb.get()}));
    unsigned char *block = nullptr, *expected = nullptr;
    int length = 0, expectedLength = 0;
    ASSERT_EQ(ConvertimImage2JpegStream(rgb.get(), 80, &expected, &expectedLength), 0);
    Bytes bitmap(file.begin() + 14, file.end());
    ASSERT_EQ(ConvertDIB2JpegStream(bitmap.data(), 80, &block, &length), 0);
    const Bytes jpeg = taken(expected, expectedLength);
    EXPECT_EQ(taken(block, length), jpeg);
    EXPECT_EQ(seen(jpeg).compression, "80");

    // Rows stored from the top are the same picture; sizes that make no sense give nothing.
    for (size_t y = 0; y < 2; ++y)
        std::swap_ranges(&bitmap[40 + y * 28], &bitmap[40 + y * 28 + 28],
                         &bitmap[40 + (3 - y) * 28]);
    const int down = -4;
    std::copy_n(reinterpret_cast<const unsigned char*>(&down), 4, &bitmap[8]);
    block = nullptr;
    ASSERT_EQ(ConvertDIB2JpegStream(bitmap.data(), 80, &block, &length), 0);
    EXPECT_EQ(taken(block, length), jpeg);
    bitmap[7] = 0x7f;
    block = nullptr;
    EXPECT_EQ(ConvertDIB2JpegStream(bitmap.data(), 80, &block, &length), 0);
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(ConvertDIB2JpegStream(nullptr, 80, &block, &length), 1);
}

TEST(OlderLoaders, PagesReportsAndCodes) {
    const Im cmyk = randomIm(9, 4, IM_CMYK), grey = randomIm(9, 4, IM_GRAY),
             wide = randomIm(9, 4, IM_CMYK, IM_USHORT);
    const std::string path = writeFile("old.tif", "TIFF", {cmyk.get(), grey.get()});
    Im expected(imImageCreate(9, 4, IM_RGB, IM_BYTE));
    ASSERT_EQ(KelConverAdobeCMYK2RGB(cmyk.get(), expected.get()), 0);
    const auto* const inks = static_cast<unsigned char*>(cmyk->data[0]);
    for (int i = 0; i < 108; ++i)
        ASSERT_EQ(static_cast<unsigned char*>(expected->data[0])[i],
                  inks[i] * inks[108 + i % 36] / 255);

    ::testing::internal::CaptureStdout();
    char info[1024] = {};
    std::fill(info, info + 1023, '#');
    const Im page(im_LoadImage(path.c_str(), info));
    const std::string printed = ::testing::internal::GetCapturedStdout();
    EXPECT_EQ(channelImageOf(*page), channelImageOf(*expected));
    const std::string report(info, std::string(info, 1023).rfind("</ImgInfo>") + 10);
    EXPECT_EQ(info[report.size()], '#');  // not terminated here, but one byte on
    EXPECT_EQ(info[report.size() + 1], '\0');
    EXPECT_EQ(report,
              "<?xml version='1.0' encoding='UTF-8'?><ImgInfo><format>TIFF</format>"
              "<compression>NONE</compression><image_count>2</image_count><imageOne><sn>0</sn>"
              "<width>9</width><height>4</height><color_space>CMYK</color_space>"
              "<has_alpha>No</has_alpha><is_packed>Yes</is_packed><is_top_down>Yes</is_top_down>"
              "<data_type>byte</data_type><data_size>144.00 b</data_size></imageOne><imageOne>"
              "<sn>1</sn><width>9</width><height>4</height><color_space>GRAY</color_space>"
              "<has_alpha>No</has_alpha><is_packed>No</is_packed><is_top_down>Yes</is_top_down>"
              "<data_type>byte</data_type><data_size>36.00 b</data_size></imageOne></ImgInfo>");
    EXPECT_EQ(printed.rfind("IM Info\n  Format: TIFF - ", 0), 0U) << printed;
    EXPECT_NE(printed.find("  Image #1\n    Width: 9\n    Height: 4\n    Color Space: GRAY\n"
                           "      Has Alpha: No\n      Is Packed: No\n      Is Top Down: Yes\n"
                           "    Data Type: byte\n    Data Size: 36.00 b\n"),
              printed.npos);
    EXPECT_EQ(printed.substr(printed.size() - report.size() - 6), "rlt[" + report + "]\n");

    Bytes file = fileBytes(path);
    imImage* read = nullptr;
    ASSERT_EQ(ReadImageFile2Buffer(file.data(), int(file.size()), &read, nullptr), 0);
    EXPECT_EQ(channelImageOf(*Im(read)), channelImageOf(*expected));

    imImage* repaired = randomIm(9, 4, IM_CMYK).release();
    FixImImageBug(path.c_str(), &repaired);
    EXPECT_EQ(channelImageOf(*Im(repaired)), channelImageOf(*expected));
    repaired = nullptr;
    FixImImageBug("/no/such/file", &repaired);
    EXPECT_EQ(repaired, nullptr);

    ::testing::internal::CaptureStderr();
    Bytes refused = fileBytes(writeFile("wide.tif", "TIFF", {wide.get()}));
    read = repaired = randomIm(2, 2, IM_GRAY).release();
    EXPECT_EQ(ReadImageFile2Buffer(refused.data(), int(refused.size()), &read, nullptr), 0);
    EXPECT_EQ(read, nullptr);
    read = repaired;
    EXPECT_EQ(ReadImageFile2Buffer(refused.data(), 3, &read, nullptr), 1);
    EXPECT_EQ(read, repaired);
    EXPECT_EQ(ReadImageFile2Buffer(nullptr, 3, &read, nullptr), 1);
    imImageDestroy(repaired);
    EXPECT_EQ(im_LoadImage("/no/such/file", nullptr), nullptr);
    EXPECT_EQ(KelConverAdobeCMYK2RGB(expected.get(), expected.get()), 1);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "This CMYK format not support!\nFileOpen error[1]\nError Opening File.\n"
              "KelConverAdobeCMYK2RGB Error!\n");
}

}  // namespace
