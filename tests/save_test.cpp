// Saving and encoding: names of formats, special compressions, result codes, blocks of memory, and
// the older loaders that read them back.
#include <sys/resource.h>

#include <csignal>
#include <filesystem>

#include "files_support.h"
#include "kel_im.h"

using namespace test;

namespace {

LoadedPage seen(const Bytes& file) {
    return loadedPage(writeBytes("seen", file));
}

/// A block with its hidden zero, given back.
Bytes taken(unsigned char* block, int length) {
    if (block == nullptr) return {};
    EXPECT_EQ(block[length], 0);
    const Bytes bytes(block, block + length);
    Kel_ReleaseImage(block);
    return bytes;
}

TEST(Save, FormatByName) {
    const std::tuple<const char*, int, const char*> names[] = {
        {"a.jpg", 0, "JPEG"},  {".jpeg", 1, "-"},        {"abcd", 1, "-"},    {"abcde.x", 2, "-"},
        {"a.JPEG", 0, "JPEG"}, {"a.Jpg", 3, "-"},        {"a.krn", 3, "-"},   {"a.KRN", 0, "KRN"},
        {"a.avi", 0, "AVI"},   {"p.tiff", 0, "TIFF"},    {"p.jp2", 0, "JP2"}, {"p.Jp2", 3, "-"},
        {"p.xyz", 3, "-"},     {"page.x.png", 0, "PNG"}, {"pp.bm", 2, "-"},   {"ab.x.", 2, "-"}};
    for (const auto& [given, result, expected] : names) {
        char format[12] = "-";
        std::string name = given;
        EXPECT_EQ(KelCalImageFormatInName(name.data(), format), result) << name;
        EXPECT_STREQ(format, expected) << name;
    }
    EXPECT_EQ(KelCalImageFormatInName(nullptr, nullptr), 1);
}

TEST(Save, ChecksOfSavingByName) {
    Bytes grey(20, 9);
    const auto save = [&](const char* name, int width = 5, int height = 4, int channels = 1) {
        return Kel_SaveImage_DT(grey.data(), width, height, channels, name, 0);
    };
    ::testing::internal::CaptureStderr();
    EXPECT_EQ((std::vector<int>{Kel_SaveImage_DT(nullptr, 5, 4, 1, "x.png", 0), save(nullptr),
                                save("x.png", 0), save("x.png", 5, -1), save("x.png", 5, 4, 2)}),
              std::vector<int>(5, -1));
    const std::pair<const char*, int> refused[] = {
        {"x.pn", -2},   {"nodot", -3},      {".tiff", -3},
        {"page.t", -3}, {"page.jpeg2", -3}, {"page.", -3},
        {"x.krn", -4},  {"a.bmpx", -4},     {"/no/such/page.png", int(IM_ERR_OPEN)}};
    for (const auto& [name, result] : refused)
        EXPECT_EQ(save(name), result) << name;  // a dot at index 0 is none
    for (const char* name : {"a.TiFf", "a.b.jpg", "a.PNM", "a.raw", "a.Led"})
        EXPECT_EQ(save(scratchPath(name).c_str()), 0) << name;
    EXPECT_EQ(Kel_SaveImage(grey.data(), 5, 4, 1, scratchPath("x.avi").c_str(), "AVI", 0),
              IM_ERR_FORMAT);
    EXPECT_EQ(Kel_SaveImage(grey.data(), 70000, 70000, 1, "x.png", "PNG", 0), IM_ERR_MEM);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "format is error!\nformat is error!\n"
              "Error Opening File.\nInvalid Format.\nInsuficient memory.\n");
    const std::pair<const char*, int> compressions[] = {{"PNG", 1}, {"JPEG", 1}, {"PNG", 2},
                                                        {"BMP", 3}, {"bmp", 1},  {"", 2}};
    for (const auto& [format, type] : compressions)
        EXPECT_EQ(Kel_SaveImage(grey.data(), 5, 4, 1, "/no/such/folder", format, type), -5);
}

TEST(Save, SpecialCompressions) {
    struct Row {
        const char* format;
        int type, channels;
        const char *saved, *encoded;  // the compressions stored; null where the call is not made
        int channelsRead;
    };
    const Row rows[] = {{"BMP", 0, 3, "NONE", "NONE", 3},
                        {"BMP", 1, 3, "RLE", "RLE", 1},
                        {"BMP", 1, 1, "RLE", "RLE", 1},
                        {"BMP", 2, 1, nullptr, "NONE", 1},
                        {"TIFF", 0, 1, "NONE", "NONE", 1},
                        {"TIFF", 1, 3, "RLE", "RLE", 3},
                        {"TIFF", 2, 1, "CCITTFAX4", "CCITTFAX4", 1},
                        {"TIFF", 2, 3, "CCITTFAX4", "CCITTFAX4", 1},
                        {"TIFF", 3, 3, "NONE", "NONE", 3},
                        {"PCX", 1, 3, "RLE", nullptr, 3},
                        {"RAS", 1, 3, "RLE", nullptr, 3},
                        {"SGI", 1, 3, "RLE", nullptr, 3},
                        {"TGA", 1, 3, "RLE", nullptr, 3},
                        {"PNG", 7, 3, "DEFLATE", nullptr, 3},
                        {"JPEG", 2, 1, nullptr, "90", 1},
                        {"JPEG", 1, 3, nullptr, "90", 3}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.format + std::to_string(row.type));
        Bytes data = randomBytes(120 * size_t(row.channels), 5);
        data[0] = 127;
        const auto check = [&](const LoadedPage& file, const char* compression) {
            EXPECT_EQ(file.format, row.format);
            EXPECT_EQ(file.compression, compression);
            EXPECT_EQ(file.channels, row.channelsRead);
            EXPECT_EQ(file.width, 20);
            EXPECT_EQ(file.x, 0.0);
            Bytes expected = row.channelsRead == row.channels ? data : greyOf(data, row.channels);
            for (auto& sample : expected)
                if (file.compression == "CCITTFAX4") sample = sample > 127 ? 255 : 0;
            EXPECT_TRUE(file.format == "JPEG" || file.samples == expected);
        };
        if (row.saved != nullptr) {
            const std::string path = scratchPath("special");
            EXPECT_EQ(
                Kel_SaveImage(data.data(), 20, 6, row.channels, path.c_str(), row.format, row.type),
                0);
            check(loadedPage(path), row.saved);
        }
        unsigned char* block = nullptr;
        int length = 0;
        if (row.encoded == nullptr) continue;
        EXPECT_EQ(Kel_Convert2ImgFileBuffer(data.data(), 20, 6, row.channels, row.format, &block,
                                            &length, row.type),
                  0);
        check(seen(taken(block, length)), row.encoded);
    }
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
    const ScratchFolder scratch;
    const fs::path &folder = scratch.path, page = folder / "page", link = folder / "link";
    Bytes noise = randomBytes(300 * 200, 3);
    const auto save = [&](const fs::path& path, const char* format) {
        return Kel_SaveImage(noise.data(), 300, 200, 1, path.c_str(), format, 0);
    };
    std::ofstream(page) << "old";
    fs::permissions(page, fs::perms::owner_all);
    fs::create_symlink(folder / "nowhere", link);
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(save(page, "ICO"), IM_ERR_DATA);  // its images end at 256 pixels
    for (const char* format : {"PNG", "TIFF", "BMP", "JPEG", "PNM", "GIF", "TGA"}) {
        const FileSizeLimit limit(1000);
        EXPECT_EQ(save(page, format), IM_ERR_ACCESS) << format;
        EXPECT_EQ(save(folder / "new", format), IM_ERR_ACCESS) << format;
    }
    // The last but one is read-only, even to root.
    for (const fs::path& path : {folder, link, fs::path("/proc/page.png"), folder / "no" / "page"})
        EXPECT_EQ(save(path, "PNG"), IM_ERR_OPEN) << path;
    ::testing::internal::GetCapturedStderr();
    fs::remove(link);
    EXPECT_EQ(fileBytes(page.string()), (Bytes{'o', 'l', 'd'}));
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 1);

    // A file that is replaced keeps its permissions, the links to it, and its other names.
    fs::create_symlink(page, link);
    EXPECT_EQ(save(link, "PNG"), 0);
    EXPECT_EQ(loadedPage(page.string()).samples, noise);
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(fs::status(page).permissions(), fs::perms::owner_all);
    fs::create_hard_link(page, folder / "other");
    EXPECT_EQ(save(page, "BMP"), 0);
    EXPECT_EQ(loadedPage((folder / "other").string()).format, "BMP");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 3);
}

TEST(Save, RecordsByTheirName) {
    Bytes grey = randomBytes(35, 3);
    tagImage record{};
    record.imageData = grey.data();
    record.width = 7;
    record.height = 5;
    record.channels = 1;
    const std::string path = scratchPath("record.tiff");
    for (const auto& [name, result] :
         {std::pair{path, 0}, {"p.x", -1}, {"noextension", -2}, {"page.Png", -3}})
        EXPECT_EQ(KelSaveKelImage(std::string(name).data(), &record), result) << name;
    EXPECT_EQ(loadedPage(path).samples, grey);
    EXPECT_EQ(loadedPage(path).width, 7);
    EXPECT_EQ(KelSaveUserImage(scratchPath("user.Png").c_str(), grey.data(), 7, 5, 1), 0);
    EXPECT_EQ(KelSaveUserImage("user", grey.data(), 7, 5, 1), -2);
}

TEST(Encode, ResolutionAndQuality) {
    Bytes data(40 * 30, 77);
    for (const char* format : {"BMP", "TIFF", "JPEG"})
        for (const auto& [x, y, isStored] : {std::tuple{300.0F, 200.0F, true},
                                             {300.0F, 0.0F, false},
                                             {0.0F, 300.0F, false},
                                             {-1.0F, 300.0F, false}}) {
            unsigned char* block = nullptr;
            int length = 0;
            EXPECT_EQ(Kel_Convert2ImgFileBuffer_Params(data.data(), 40, 30, 1, format, &block,
                                                       &length, x, y, 60, nullptr, 0),
                      0);
            const LoadedPage page = seen(taken(block, length));
            EXPECT_DOUBLE_EQ(page.x, isStored ? 300.0 : 0.0) << format;
            EXPECT_DOUBLE_EQ(page.y, isStored ? 200.0 : 0.0) << format;
            EXPECT_EQ(page.rate, page.format == "JPEG" ? 60 : 0);
        }
}

TEST(Encode, RefusalsTouchNothing) {
    Bytes data(12, 1);
    unsigned char *const before = data.data(), *block = before;
    int length = 77;
    const auto call = [&](unsigned char* from, int w, int h, int c, const char* format) {
        return Kel_Convert2ImgFileBuffer(from, w, h, c, format, &block, &length, 0);
    };
    EXPECT_EQ((std::vector<int>{call(nullptr, 4, 3, 1, "BMP"), call(before, 0, 3, 1, "BMP"),
                                call(before, 4, 0, 1, "BMP"), call(before, 2, 3, 2, "BMP"),
                                call(before, 4, 3, 1, nullptr), call(before, 4, 3, 1, "PNG"),
                                call(before, 4, 3, 1, "bmp")}),
              (std::vector<int>{-1, -1, -1, -1, -1, -2, -2}));
    EXPECT_EQ(call(before, 70000, 70000, 1, "JPEG"), 0);  // shows in the outputs alone
    EXPECT_EQ(block, before);
    EXPECT_EQ(length, 77);
}

TEST(Encode, BitmapsInMemory) {
    const Im rgb = randomIm(9, 4, IM_RGB);
    const Bytes file = fileBytes(writeFile("dib.bmp", "BMP", {rgb.get()}));
    Bytes upright(file.begin() + 14, file.end()), down = upright, senseless = upright;
    // Rows stored from the top are the same picture; sizes that make no sense give nothing.
    for (size_t y = 0; y < 4; ++y)
        std::copy_n(&upright[40 + y * 28], 28, &down[40 + (3 - y) * 28]);
    std::fill_n(&down[8], 4, static_cast<unsigned char>(0xff));
    down[8] = 0xfc;  // height -4
    senseless[7] = 0x7f;
    unsigned char* block = nullptr;
    int length = 0;
    ASSERT_EQ(ConvertimImage2JpegStream(rgb.get(), 80, &block, &length), 0);
    const Bytes jpeg = taken(block, length);
    EXPECT_EQ(seen(jpeg).compression, "80");
    for (Bytes* bitmap : {&upright, &down, &senseless}) {
        block = nullptr;
        EXPECT_EQ(ConvertDIB2JpegStream(bitmap->data(), 80, &block, &length), 0);
        EXPECT_EQ(taken(block, length), bitmap == &senseless ? Bytes() : jpeg);
    }
    EXPECT_EQ(ConvertDIB2JpegStream(nullptr, 80, &block, &length), 1);
}

TEST(OlderLoaders, PagesReportsAndCodes) {
    const Im cmyk = randomIm(9, 4, IM_CMYK, IM_BYTE, 5), grey = randomIm(9, 4, IM_GRAY),
             wide = randomIm(9, 4, IM_CMYK, IM_USHORT), rgb = randomIm(9, 4, IM_RGB);
    const std::string path = writeFile("old.tif", "TIFF", {cmyk.get(), grey.get()});
    const unsigned char* const inks = samplesOf(*cmyk);
    for (int i = 0; i < 108; ++i)
        samplesOf(*rgb)[i] = static_cast<unsigned char>(inks[i] * inks[108 + i % 36] / 255);
    const Bytes expected = channelImageOf(*rgb);

    ::testing::internal::CaptureStdout();
    std::string info(1024, '#');
    EXPECT_EQ(channelImageOf(*Im(im_LoadImage(path.c_str(), info.data()))), expected);
    const std::string printed = ::testing::internal::GetCapturedStdout(),
                      report = info.substr(0, info.rfind("</ImgInfo>") + 10);
    // Not terminated here, but one byte on.
    EXPECT_EQ(info.substr(report.size(), 3), (std::string{'#', '\0', '#'}));
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

    Bytes file = fileBytes(path), refused = fileBytes(writeFile("wide.tif", "TIFF", {wide.get()}));
    imImage* read = nullptr;
    ASSERT_EQ(ReadImageFile2Buffer(file.data(), int(file.size()), &read, nullptr), 0);
    EXPECT_EQ(channelImageOf(*Im(read)), expected);
    imImage *repaired = randomIm(9, 4, IM_CMYK, IM_BYTE, 5).release(), *none = nullptr;
    FixImImageBug(path.c_str(), &repaired);
    EXPECT_EQ(channelImageOf(*Im(repaired)), expected);
    FixImImageBug("/no/such/file", &none);
    EXPECT_EQ(none, nullptr);

    ::testing::internal::CaptureStderr();
    read = grey.get();
    EXPECT_EQ(ReadImageFile2Buffer(refused.data(), 3, &read, nullptr), 1);
    EXPECT_EQ(ReadImageFile2Buffer(nullptr, 3, &read, nullptr), 1);
    EXPECT_EQ(read, grey.get());
    EXPECT_EQ(ReadImageFile2Buffer(refused.data(), int(refused.size()), &read, nullptr), 0);
    EXPECT_EQ(read, nullptr);
    EXPECT_EQ(im_LoadImage("/no/such/file", nullptr), nullptr);
    EXPECT_EQ(KelConverAdobeCMYK2RGB(rgb.get(), rgb.get()), 1);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "This CMYK format not support!\nFileOpen error[1]\nError Opening File.\n"
              "KelConverAdobeCMYK2RGB Error!\n");
}

}  // namespace
