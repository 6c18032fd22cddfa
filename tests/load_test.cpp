// Loading image files: page selection, size limits, repairs, attributes, result codes and what
// stays untouched; a path and a memory block always alike.
#include <filesystem>
#include <thread>

#include "files_support.h"
#include "im_process.h"
#include "kel_im.h"

using namespace test;

namespace {

/// The records of a file's pages, or what a failed call left.
struct Records {
    explicit Records(const std::string& path, int selection = 0, bool fromMemory = false)
        : number(selection) {
        Bytes bytes = fileBytes(path);
        result = fromMemory ? Kel_ReadImageFile2Buffer_Mult(bytes.data(), int(bytes.size()), &pages,
                                                            &number)
                            : Kel_LoadImageFiles2Buffer_Mult(path.c_str(), &pages, &number);
    }
    Records(const Records&) = delete;
    ~Records() {
        if (pages != &untouched) Kel_ReleaseImageArr(&pages, &number);
    }
    Bytes samples(int page) const {
        return Bytes(pages[page].imageData, pages[page].imageData + pages[page].dataSize);
    }

    tagImage untouched{}, *pages = &untouched;
    int number, result;
};

TEST(Load, PageSelection) {
    const int rows[][5] = {// pages in the file, selection, result, first page, number of pages
                           {8, 20005, 0, 2, 4},   {8, 50005, 0, 5, 1}, {8, 10008, 0, 1, 8},
                           {8, 0, 0, 1, 8},       {15, 0, 0, 1, 10},   {15, 10010, 0, 1, 10},
                           {15, 60015, 0, 6, 10}, {8, 50002, 3, 0, 0}, {8, 5, 3, 0, 0},
                           {8, -20005, 3, 0, 0},  {8, 20000, 3, 0, 0}, {8, 10009, 3, 0, 0},
                           {8, 10011, 3, 0, 0},   {15, 10011, 4, 0, 0}};
    for (const int inFile : {8, 15}) {
        std::vector<Im> originals;
        std::vector<const imImage*> pages;
        for (int n = 1; n <= inFile; ++n) {
            originals.push_back(randomIm(n, 2, IM_GRAY));
            pages.push_back(originals.back().get());
        }
        const std::string path = writeFile("pages.tif", "TIFF", pages);
        for (const auto& [rowPages, selection, result, first, number] : rows)
            for (const bool fromMemory : {false, true}) {
                if (rowPages != inFile) continue;
                SCOPED_TRACE(selection);
                const Records loaded(path, selection, fromMemory);
                EXPECT_EQ(loaded.result, result);
                EXPECT_EQ(loaded.number, result == 0 ? number : selection);
                ASSERT_EQ(loaded.pages == &loaded.untouched, result != 0);
                for (int i = 0; i < number; ++i) {
                    char info[32];
                    std::snprintf(info, sizeof info, "%04d%04d", inFile, first + i);
                    EXPECT_STREQ(loaded.pages[i].pageInfo, info);
                    EXPECT_EQ(loaded.pages[i].width, first + i);
                    EXPECT_STREQ(loaded.pages[i].format, "TIFF");
                    EXPECT_STREQ(loaded.pages[i].compression, "NONE");
                    EXPECT_EQ(loaded.samples(i), channelImageOf(*pages[size_t(first + i - 1)]));
                }
            }
    }
}

TEST(Load, LimitsShrinkAndNeverRefuse) {
    const Im original = randomIm(2000, 1000, IM_GRAY), smaller = randomIm(1000, 500, IM_GRAY);
    const std::string wide = writeFile("wide.png", "PNG", {randomIm(5000, 3000, IM_BINARY).get()}),
                      half = writeFile("half.png", "PNG", {original.get()});
    const std::tuple<std::string, int, int, int, int, int> rows[] = {
        {wide, 0, 0, 0, 4096, 2457},       {wide, -100, 0, 0, 5000, 3000},
        {wide, -10, 100, 0, 4096, 2457},   {wide, -10, 0, 100, 4096, 2457},
        {half, -10, 1000, 800, 1000, 500}, {half, 3, 1000, 800, 2000, 1000}};
    for (const auto& [path, flag, width, height, toWidth, toHeight] : rows) {
        const LoadedPage page = loadedPage(path, {flag, width, height});
        EXPECT_EQ(page.result, 0);
        EXPECT_EQ(std::pair(page.width, page.height), std::pair(toWidth, toHeight)) << flag;
    }
    imProcessResize(original.get(), smaller.get(), 2);
    EXPECT_EQ(loadedPage(half, {-10, 1000, 800}).samples, channelImageOf(*smaller));
    // A strip of which no column is left can't be stored.
    const std::string strip = writeFile("strip.png", "PNG", {randomIm(1, 5000, IM_GRAY).get()});
    EXPECT_EQ(loadedPage(strip).result, 7);
}

TEST(Load, KindsOfPages) {
    for (const int space : {IM_BINARY, IM_GRAY, IM_RGB, IM_MAP, IM_CMYK}) {
        const Im image = randomIm(33, 5, space);
        const LoadedPage page = loadedPage(writeFile("kind.tif", "TIFF", {image.get()}));
        const bool kept = space != IM_MAP && space != IM_CMYK;
        EXPECT_EQ(page.channels, kept ? image->depth : 3);
        EXPECT_EQ(page.samples, channelImageOf(kept ? *image : *converted(*image, IM_RGB)));
    }
    // Of wide samples the front part arrives; the records of several pages have them whole.
    const Im wide = randomIm(9, 4, IM_GRAY, IM_USHORT), grey = randomIm(9, 4, IM_GRAY),
             wideCmyk = randomIm(9, 4, IM_CMYK, IM_USHORT);
    const std::string path = writeFile("wide.tif", "TIFF", {wide.get()});
    const Bytes all = channelImageOf(*wide);
    EXPECT_EQ(loadedPage(path).samples, Bytes(all.begin(), all.begin() + 36));
    const Records whole(path);
    EXPECT_EQ(whole.pages[0].dataType, IM_USHORT);
    EXPECT_EQ(whole.samples(0), all);

    ::testing::internal::CaptureStderr();
    const Records refused(writeFile("cmyk16.tif", "TIFF", {grey.get(), wideCmyk.get()}));
    EXPECT_EQ(refused.result, 6);
    EXPECT_EQ(refused.pages, nullptr);  // the first page is given back with the second
    EXPECT_EQ(refused.number, 0);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "This CMYK format not support!\n");
}

TEST(Load, TopDownBitmapsComeUpright) {
    const Im rgb = randomIm(40, 3, IM_RGB);
    Bytes bytes = fileBytes(writeFile("up.bmp", "BMP", {rgb.get()}));
    std::swap_ranges(&bytes[54], &bytes[174], &bytes[294]);
    std::fill_n(&bytes[22], 4, static_cast<unsigned char>(0xff));
    bytes[22] = 0xfd;  // height -3
    EXPECT_EQ(loadedPage(writeBytes("down.bmp", bytes)).samples, channelImageOf(*rgb));
}

TEST(Load, AttributesOfThePage) {
    const Im grey = randomIm(16, 16, IM_GRAY);
    const Dots inch{300.0F, 200.0F, "DPI"}, centimetre{118.11F, 78.74F, "DPC"};
    const std::tuple<const char*, const char*, int, const Dots*> rows[] = {
        {"TIFF", "NONE", 0, &inch}, {"TIFF", "LZW", 0, &centimetre}, {"PNG", "DEFLATE", 0, &inch},
        {"BMP", "NONE", 0, &inch},  {"PCX", "RLE", 0, &inch},        {"JPEG", "75", 75, &inch}};
    for (const auto& [format, compression, rate, dots] : rows) {
        const LoadedPage page = loadedPage(
            writeFile("dots", format, {grey.get()}, dots, rate == 0 ? compression : nullptr));
        EXPECT_DOUBLE_EQ(page.x, 300.0) << format;
        EXPECT_DOUBLE_EQ(page.y, 200.0) << format;
        EXPECT_EQ(page.format, format);
        EXPECT_EQ(page.compression, compression);
        EXPECT_EQ(page.rate, rate) << format;
    }
    const LoadedPage none = loadedPage(writeFile("none.tif", "TIFF", {grey.get()}));
    EXPECT_EQ(std::pair(none.x, none.y), std::pair(0.0, 0.0));

    // The text of a record holds 8 letters, and no terminator then.
    const Dots large{12345.5F, 1.0F, "DPI"};
    const Records records(writeFile("large.tif", "TIFF", {grey.get()}, &large));
    EXPECT_EQ(std::string(records.pages[0].xResolution, 8), "12345.50");
    EXPECT_EQ(std::string(records.pages[0].yResolution), " 1.00");
}

TEST(Load, CodesLeaveTheOutputsAlone) {
    const std::string empty = writeBytes("empty.png", {}), text = writeBytes("text.tif", {'h'}),
                      good = writeFile("good.png", "PNG", {randomIm(30, 20, IM_GRAY).get()});
    Bytes cut = fileBytes(good);
    cut.resize(cut.size() / 2);
    const std::string damaged = writeBytes("cut.png", cut), folder = ::testing::TempDir();
    unsigned char one = 'B', *samples = &one;
    int width = 11, height = 12, channels = 13;
    ::testing::internal::CaptureStderr();
    const std::pair<const char*, int> rows[] = {{nullptr, -3},       {"/no/such/file.png", 1},
                                                {empty.c_str(), 1},  {text.c_str(), 1},
                                                {folder.c_str(), 1}, {damaged.c_str(), 5}};
    for (const auto& [path, result] : rows) {
        EXPECT_EQ(Kel_LoadImageFile2Buffer(path, &samples, &width, &height, &channels), result);
        tagImage record{}, *pages = &record;
        int number = 10001;
        EXPECT_EQ(Kel_LoadImageFiles2Buffer_Mult(path, &pages, &number), result);
        EXPECT_EQ(pages, result == 5 ? nullptr : &record);
        EXPECT_EQ(number, result == 5 ? 0 : 10001);
    }
    const auto read = [&](unsigned char* block, int bytes) {
        return Kel_ReadImageFile2Buffer(block, bytes, &samples, &width, &height, &channels);
    };
    EXPECT_EQ((std::vector<int>{read(nullptr, 5), read(&one, 0), read(&one, -1), read(&one, 1)}),
              (std::vector<int>{-2, -2, -2, 1}));
    EXPECT_EQ((std::vector<int>{width, height, channels}), (std::vector<int>{11, 12, 13}));
    channels = -10;
    width = 1;
    height = 500;
    EXPECT_EQ(Kel_LoadImageFile2Buffer(good.c_str(), &samples, &width, &height, &channels), -4);
    EXPECT_EQ(samples, &one);
    const std::string lines = ::testing::internal::GetCapturedStderr();
    for (const char* line :
         {"Error Opening File.\n", "Invalid Format.\n", "Error Accessing File.\n"})
        EXPECT_NE(lines.find(line), lines.npos) << line;
}

TEST(Load, RecordsFromPages) {
    tagImage record{};
    const Im cmyk = randomIm(4, 3, IM_CMYK), real = randomIm(4, 3, IM_GRAY, IM_DOUBLE),
             grey = randomIm(4, 3, IM_GRAY);
    EXPECT_EQ(KelAllocAndSetKelImage(&record, cmyk.get(), "TIFF", "NONE", 12, 3), 1);
    EXPECT_EQ(record.channels, 4);
    EXPECT_STREQ(record.pageInfo, "00120004");
    EXPECT_EQ(KelAllocAndSetKelImage(&record, real.get(), "TIFF", "NONE", 1, 0), 1);
    EXPECT_EQ(record.dataSize, -1);
    EXPECT_EQ(record.imageData, nullptr);
    const std::string text(100, 'x');
    EXPECT_EQ(KelAllocAndSetKelImage(&record, grey.get(), text.c_str(), text.c_str(), 1, 0), 0);
    EXPECT_EQ(std::string(record.format), std::string(11, 'x'));
    EXPECT_EQ(Bytes(record.imageData, record.imageData + 12), channelImageOf(*grey));
    KelReleaseKelImage(&record);
}

// Every real file, from the disk and from memory, saved again in forms that keep every sample; and
// what becomes of it when half of it is missing.
TEST(Load, RealFilesSavedAgain) {
    int files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(KEL_TEST_DATA)) {
        if (entry.path().extension() == ".md") continue;
        SCOPED_TRACE(entry.path());
        ++files;
        LoadedPage page = loadedPage(entry.path().string());
        ASSERT_EQ(page.result, 0);
        const std::string path = scratchPath("again");
        for (const char* f : {"PNG", "TIFF", "BMP", "JP2", "PNM", "RAS", "SGI", "TGA", "PCX"}) {
            EXPECT_EQ(Kel_SaveImage(page.samples.data(), page.width, page.height, page.channels,
                                    path.c_str(), f, 0),
                      0);
            EXPECT_EQ(loadedPage(path).samples, page.samples) << f;
        }
        ::testing::internal::CaptureStderr();
        Bytes bytes = fileBytes(entry.path().string());
        bytes.resize(bytes.size() / 2);
        const int half = loadedPage(writeBytes("half", bytes)).result;
        EXPECT_TRUE(half == 0 || half == 1 || half == 5) << half;
        ::testing::internal::GetCapturedStderr();
    }
    EXPECT_GE(files, 15);
}

TEST(Load, SideBySide) {
    const Dots dots{118.0F, 118.0F, "DPC"};
    const std::string path =
        writeFile("threads.jpg", "JPEG", {randomIm(64, 48, IM_RGB).get()}, &dots);
    const LoadedPage expected = loadedPage(path);
    const auto work = [&] {
        for (int i = 0; i < 5; ++i) {
            EXPECT_TRUE(loadedPage(path).all() == expected.all());
            Bytes grey(64 * 48, static_cast<unsigned char>(30 * i));
            for (const auto& [format, type] :
                 {std::pair{"JPEG", 0}, {"BMP", 1}, {"TIFF", 2}, {"TIFF", 0}}) {
                unsigned char *file = nullptr, *back = nullptr;
                int length = 0, width = 0, height = 0, channels = 0;
                Kel_Convert2ImgFileBuffer(grey.data(), 64, 48, 1, format, &file, &length, type);
                EXPECT_EQ(Kel_ReadImageFile2Buffer(file, length, &back, &width, &height, &channels),
                          0);
                EXPECT_TRUE(type == 2 || std::equal(grey.begin(), grey.end(), back));
                Kel_ReleaseImage(back);
                EXPECT_NE(Kel_ReadImageFile2Buffer(file, 40, &back, &width, &height, &channels), 0);
                Kel_ReleaseImage(file);
            }
        }
    };
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t)
        threads.emplace_back(work);
    for (std::thread& thread : threads)
        thread.join();
}

}  // namespace
