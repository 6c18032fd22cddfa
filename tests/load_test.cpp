// Loading image files: page selection, size limits, repairs, attributes, result codes and what
// stays untouched; a path and a memory block always alike.
#include <filesystem>
#include <thread>

#include "files_support.h"
#include "kel_ImageFileOper.h"
#include "kel_ImageStorage.h"
#include "kel_im.h"

using namespace test;

namespace {

/// A loaded page, or what a failed call left.
struct Page {
    int result = 0, width = 0, height = 0, channels = 0;
    Bytes samples;
    std::string format, compression;
    int rate = -1;
    double x = -1.0, y = -1.0;

    bool operator==(const Page& o) const {
        return result == o.result && width == o.width && height == o.height &&
               channels == o.channels && samples == o.samples && format == o.format &&
               compression == o.compression && rate == o.rate && x == o.x && y == o.y;
    }
};

struct Limit {
    int channels = 0, width = 0, height = 0;
};

Page take(int result, unsigned char* samples, Page page) {
    page.result = result;
    if (samples != nullptr) {
        page.samples.assign(samples, samples + page.width * page.height * page.channels);
        Kel_ReleaseImage(samples);
    }
    return page;
}

/// Loads the first page by all four calls, which have to agree.
Page load(const std::string& path, Limit limit = {}) {
    Bytes bytes = fileBytes(path);
    Page pages[4];
    for (int i = 0; i < 4; ++i) {
        Page page;
        page.width = limit.width;
        page.height = limit.height;
        page.channels = limit.channels;
        unsigned char* samples = nullptr;
        char format[12] = "-", compression[32] = "-";
        int result = 0;
        if (i == 0)
            result = Kel_LoadImageFile2Buffer(path.c_str(), &samples, &page.width, &page.height,
                                              &page.channels);
        else if (i == 1)
            result = Kel_ReadImageFile2Buffer(bytes.data(), int(bytes.size()), &samples,
                                              &page.width, &page.height, &page.channels);
        else if (i == 2)
            result = Kel_LoadImageFile2BufferRParam(path.c_str(), &samples, &page.width,
                                                    &page.height, &page.channels, format,
                                                    compression, &page.rate, &page.x, &page.y);
        else
            result = Kel_ReadImageFile2BufferRParam(
                bytes.data(), int(bytes.size()), &samples, &page.width, &page.height,
                &page.channels, format, compression, &page.rate, &page.x, &page.y);
        page.format = format;
        page.compression = compression;
        pages[i] = take(result, samples, page);
    }
    EXPECT_TRUE(pages[2] == pages[3]) << path;
    EXPECT_TRUE(pages[0] == pages[1]) << path;
    EXPECT_EQ(pages[0].samples, pages[2].samples) << path;
    return pages[2];
}

/// A TIFF of so many pages; page n (from 1) is n pixels wide.
std::string manyPages(int count) {
    std::vector<Im> records;
    std::vector<const imImage*> pages;
    for (int n = 1; n <= count; ++n) {
        records.push_back(randomIm(n, 2, IM_GRAY));
        pages.push_back(records.back().get());
    }
    return writeFile("pages" + std::to_string(count) + ".tif", "TIFF", pages);
}

TEST(Load, PageSelection) {
    const std::string eight = manyPages(8), fifteen = manyPages(15);
    struct Row {
        const std::string& path;
        int selection, result, first, count, pagesInFile;
    };
    for (const Row& row : {Row{eight, 20005, 0, 2, 4, 8},
                           {eight, 50005, 0, 5, 1, 8},
                           {eight, 10008, 0, 1, 8, 8},
                           {eight, 80008, 0, 8, 1, 8},
                           {eight, 0, 0, 1, 8, 8},
                           {fifteen, 0, 0, 1, 10, 15},
                           {fifteen, 10010, 0, 1, 10, 15},
                           {fifteen, 60015, 0, 6, 10, 15},
                           {eight, 50002, 3, 0, 0, 8},
                           {eight, 5, 3, 0, 0, 8},
                           {eight, -20005, 3, 0, 0, 8},
                           {eight, 20000, 3, 0, 0, 8},
                           {eight, 10009, 3, 0, 0, 8},
                           {eight, 90009, 3, 0, 0, 8},
                           {eight, 10011, 3, 0, 0, 8},
                           {fifteen, 10011, 4, 0, 0, 15}}) {
        SCOPED_TRACE(row.selection);
        Bytes bytes = fileBytes(row.path);
        for (const bool fromMemory : {false, true}) {
            tagImage untouched{};
            tagImage* pages = &untouched;
            int number = row.selection;
            const int result =
                fromMemory ? Kel_ReadImageFile2Buffer_Mult(bytes.data(), int(bytes.size()), &pages,
                                                           &number)
                           : Kel_LoadImageFiles2Buffer_Mult(row.path.c_str(), &pages, &number);
            ASSERT_EQ(result, row.result);
            if (result != 0) {
                EXPECT_EQ(pages, &untouched);
                EXPECT_EQ(number, row.selection);
                continue;
            }
            ASSERT_EQ(number, row.count);
            for (int i = 0; i < number; ++i) {
                const int page = row.first + i;
                char info[32];
                std::snprintf(info, sizeof info, "%04d%04d", row.pagesInFile, page);
                EXPECT_STREQ(pages[i].pageInfo, info);
                EXPECT_EQ(pages[i].width, page);
                EXPECT_EQ(pages[i].dataSize, 2 * page);
                EXPECT_STREQ(pages[i].format, "TIFF");
                EXPECT_STREQ(pages[i].compression, "NONE");
                const Im original = randomIm(page, 2, IM_GRAY);
                EXPECT_EQ(Bytes(pages[i].imageData, pages[i].imageData + pages[i].dataSize),
                          channelImageOf(*original));
            }
            Kel_ReleaseImageArr(&pages, &number);
        }
    }
}

TEST(Load, LimitsShrinkAndNeverRefuse) {
    const std::string wide = writeFile("wide.png", "PNG", {randomIm(5000, 3000, IM_BINARY).get()});
    const std::string half = writeFile("half.png", "PNG", {randomIm(2000, 1000, IM_GRAY).get()});
    const std::string edge = writeFile("edge.png", "PNG", {randomIm(4096, 4096, IM_BINARY).get()});
    const auto size = [](const Page& page) {
        EXPECT_EQ(page.result, 0);
        return std::pair(page.width, page.height);
    };
    EXPECT_EQ(size(load(wide)), std::pair(4096, 2457));
    EXPECT_EQ(size(load(wide, {-100, 0, 0})), std::pair(5000, 3000));
    EXPECT_EQ(size(load(wide, {-10, 100, 0})), std::pair(4096, 2457));
    EXPECT_EQ(size(load(wide, {-10, 0, 100})), std::pair(4096, 2457));
    EXPECT_EQ(size(load(half, {-10, 1000, 800})), std::pair(1000, 500));
    EXPECT_EQ(size(load(half, {3, 1000, 800})), std::pair(2000, 1000));
    EXPECT_EQ(size(load(edge)), std::pair(4096, 4096));
    // Half the size are the rounded means of four.
    const Im original = randomIm(2000, 1000, IM_GRAY);
    const Bytes full = channelImageOf(*original);
    const Page page = load(half, {-10, 1000, 800});
    for (size_t y = 0; y < 500; ++y)
        for (size_t x = 0; x < 1000; ++x) {
            const size_t i = 2 * y * 2000 + 2 * x;
            ASSERT_EQ(page.samples[y * 1000 + x],
                      (full[i] + full[i + 1] + full[i + 2000] + full[i + 2001] + 2) / 4);
        }
    // A strip of which no column is left can't be stored.
    const std::string strip = writeFile("strip.png", "PNG", {randomIm(1, 5000, IM_GRAY).get()});
    EXPECT_EQ(load(strip).result, 7);
}

TEST(Load, KindsOfPages) {
    const Im binary = randomIm(33, 5, IM_BINARY), grey = randomIm(9, 4, IM_GRAY),
             rgb = randomIm(9, 4, IM_RGB), map = randomIm(9, 4, IM_MAP),
             cmyk = randomIm(9, 4, IM_CMYK), wide = randomIm(9, 4, IM_GRAY, IM_USHORT),
             wideCmyk = randomIm(9, 4, IM_CMYK, IM_USHORT);
    for (int i = 0; i < 256; ++i)
        map->palette[i] = {static_cast<unsigned char>(i), static_cast<unsigned char>(7 * i), 9};
    for (const imImage* image : {binary.get(), grey.get(), rgb.get()}) {
        const Page page = load(writeFile("kind.tif", "TIFF", {image}));
        EXPECT_EQ(page.channels, image->depth);
        EXPECT_EQ(page.samples, channelImageOf(*image));
    }
    for (imImage* image : {map.get(), cmyk.get()}) {
        const Page page = load(writeFile("kind.tif", "TIFF", {image}));
        EXPECT_EQ(page.channels, 3);
        const Im converted(imImageCreate(9, 4, IM_RGB, IM_BYTE));
        imConvertColorSpace(image, converted.get());
        EXPECT_EQ(page.samples, channelImageOf(*converted));
    }
    // Of wide samples the front part arrives; the records of several pages have them whole.
    const std::string path = writeFile("wide.tif", "TIFF", {wide.get()});
    const Bytes all = channelImageOf(*wide);
    EXPECT_EQ(load(path).samples, Bytes(all.begin(), all.begin() + 36));
    tagImage* pages = nullptr;
    int number = 0;
    ASSERT_EQ(Kel_LoadImageFiles2Buffer_Mult(path.c_str(), &pages, &number), 0);
    EXPECT_EQ(pages[0].dataType, IM_USHORT);
    EXPECT_EQ(Bytes(pages[0].imageData, pages[0].imageData + pages[0].dataSize), all);
    Kel_ReleaseImageArr(&pages, &number);

    ::testing::internal::CaptureStderr();
    const std::string refused = writeFile("cmyk16.tif", "TIFF", {grey.get(), wideCmyk.get()});
    tagImage untouched{};
    pages = &untouched;
    number = 0;
    EXPECT_EQ(Kel_LoadImageFiles2Buffer_Mult(refused.c_str(), &pages, &number), 6);
    EXPECT_EQ(pages, nullptr);  // the first page is given back with the second
    EXPECT_EQ(number, 0);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "This CMYK format not support!\n");
}

TEST(Load, TopDownBitmapsComeUpright) {
    const Im rgb = randomIm(40, 3, IM_RGB);
    const std::string upright = writeFile("up.bmp", "BMP", {rgb.get()});
    Bytes bytes = fileBytes(upright);
    const size_t row = 120;
    std::swap_ranges(&bytes[54], &bytes[54 + row], &bytes[54 + 2 * row]);
    for (size_t i = 22; i < 26; ++i)
        bytes[i] = static_cast<unsigned char>(i == 22 ? 0xfd : 0xff);  // height -3
    EXPECT_EQ(load(upright).samples, channelImageOf(*rgb));
    EXPECT_EQ(load(writeBytes("down.bmp", bytes)).samples, channelImageOf(*rgb));
}

TEST(Load, AttributesOfThePage) {
    const Im grey = randomIm(16, 16, IM_GRAY);
    const Dots inch{300.0F, 200.0F, "DPI"}, centimetre{118.11F, 78.74F, "DPC"};
    const auto check = [&](const Page& page, double x, double y) {
        EXPECT_DOUBLE_EQ(page.x, x) << page.format;
        EXPECT_DOUBLE_EQ(page.y, y) << page.format;
    };
    check(load(writeFile("dpi.tif", "TIFF", {grey.get()}, &inch)), 300.0, 200.0);
    check(load(writeFile("dpc.tif", "TIFF", {grey.get()}, &centimetre)), 300.0, 200.0);
    check(load(writeFile("dpi.png", "PNG", {grey.get()}, &inch)), 300.0, 200.0);
    check(load(writeFile("dpi.bmp", "BMP", {grey.get()}, &inch)), 300.0, 200.0);
    check(load(writeFile("dpi.pcx", "PCX", {grey.get()}, &inch)), 300.0, 200.0);
    check(load(writeFile("none.tif", "TIFF", {grey.get()})), 0.0, 0.0);

    const Page jpeg = load(writeFile("dpi.jpg", "JPEG", {grey.get()}, &inch));
    check(jpeg, 300.0, 200.0);
    EXPECT_EQ(jpeg.format, "JPEG");
    EXPECT_EQ(jpeg.compression, "75");
    EXPECT_EQ(jpeg.rate, 75);
    const Page lzw = load(writeFile("lzw.tif", "TIFF", {grey.get()}, nullptr, "LZW"));
    EXPECT_EQ(lzw.compression, "LZW");
    EXPECT_EQ(lzw.rate, 0);

    // The text of a record holds 8 letters, and no terminator then.
    const Dots large{12345.5F, 1.0F, "DPI"};
    const std::string path = writeFile("large.tif", "TIFF", {grey.get()}, &large);
    tagImage* pages = nullptr;
    int number = 0;
    ASSERT_EQ(Kel_LoadImageFiles2Buffer_Mult(path.c_str(), &pages, &number), 0);
    EXPECT_EQ(std::string(pages[0].xResolution, 8), "12345.50");
    EXPECT_EQ(std::string(pages[0].yResolution), " 1.00");
    Kel_ReleaseImageArr(&pages, &number);
}

TEST(Load, CodesLeaveTheOutputsAlone) {
    const std::string empty = writeBytes("empty.png", {});
    const std::string text = writeBytes("text.tif", {'h', 'e', 'l', 'l', 'o'});
    const std::string folder = ::testing::TempDir();
    const std::string good = writeFile("good.png", "PNG", {randomIm(30, 20, IM_GRAY).get()});
    Bytes cut = fileBytes(good);
    cut.resize(cut.size() / 2);
    const std::string damaged = writeBytes("cut.png", cut);
    struct Row {
        const char* path;
        int result;
    };
    ::testing::internal::CaptureStderr();
    for (const Row& row : {Row{nullptr, -3},
                           {"/no/such/file.png", 1},
                           {empty.c_str(), 1},
                           {text.c_str(), 1},
                           {folder.c_str(), 1},
                           {damaged.c_str(), 5}}) {
        unsigned char* const before = reinterpret_cast<unsigned char*>(&cut);
        unsigned char* samples = before;
        int width = 11, height = 12, channels = 13;
        EXPECT_EQ(Kel_LoadImageFile2Buffer(row.path, &samples, &width, &height, &channels),
                  row.result);
        EXPECT_EQ(samples, before);
        EXPECT_EQ(width + height * 100 + channels * 10000, 11 + 1200 + 130000);
        tagImage record{};
        tagImage* pages = &record;
        int number = 10001;
        EXPECT_EQ(Kel_LoadImageFiles2Buffer_Mult(row.path, &pages, &number), row.result);
        EXPECT_EQ(pages, row.result == 5 ? nullptr : &record);
        EXPECT_EQ(number, row.result == 5 ? 0 : 10001);
    }
    unsigned char one = 'B';
    unsigned char* samples = nullptr;
    int width = 0, height = 0, channels = 0;
    EXPECT_EQ(Kel_ReadImageFile2Buffer(nullptr, 5, &samples, &width, &height, &channels), -2);
    EXPECT_EQ(Kel_ReadImageFile2Buffer(&one, 0, &samples, &width, &height, &channels), -2);
    EXPECT_EQ(Kel_ReadImageFile2Buffer(&one, -1, &samples, &width, &height, &channels), -2);
    EXPECT_EQ(Kel_ReadImageFile2Buffer(&one, 1, &samples, &width, &height, &channels), 1);
    channels = -10;
    width = 1;
    height = 500;
    EXPECT_EQ(Kel_LoadImageFile2Buffer(good.c_str(), &samples, &width, &height, &channels), -4);
    EXPECT_EQ(samples, nullptr);
    const std::string lines = ::testing::internal::GetCapturedStderr();
    EXPECT_NE(lines.find("Error Opening File.\n"), lines.npos);
    EXPECT_NE(lines.find("Invalid Format.\n"), lines.npos);
    EXPECT_NE(lines.find("Error Accessing File.\n"), lines.npos);
}

TEST(Load, RecordsFromPages) {
    tagImage record{};
    const Im cmyk = randomIm(4, 3, IM_CMYK), real = randomIm(4, 3, IM_GRAY, IM_DOUBLE),
             grey = randomIm(4, 3, IM_GRAY);
    EXPECT_EQ(KelAllocAndSetKelImage(&record, cmyk.get(), "TIFF", "NONE", 12, 3), 1);
    EXPECT_EQ(record.channels, 4);
    EXPECT_EQ(record.imageData, nullptr);
    EXPECT_STREQ(record.pageInfo, "00120004");
    EXPECT_EQ(KelAllocAndSetKelImage(&record, real.get(), "TIFF", "NONE", 1, 0), 1);
    EXPECT_EQ(record.dataSize, -1);
    const std::string longText(100, 'x');
    EXPECT_EQ(KelAllocAndSetKelImage(&record, grey.get(), longText.c_str(), longText.c_str(), 1, 0),
              0);
    EXPECT_EQ(std::string(record.format), std::string(11, 'x'));
    EXPECT_EQ(Bytes(record.imageData, record.imageData + 12), channelImageOf(*grey));
    KelReleaseKelImage(&record);
}

// Every real file, from the disk and from memory, saved again in forms that keep every sample and
// in one that does not; and what becomes of it when half of it is missing.
TEST(Load, RealFilesSavedAgain) {
    int files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(KEL_TEST_DATA)) {
        if (entry.path().extension() == ".md") continue;
        SCOPED_TRACE(entry.path());
        ++files;
        Page page = load(entry.path().string());
        ASSERT_EQ(page.result, 0);
        const auto savedAs = [&](const char* format) {
            const std::string path = scratchPath(std::string("again.") + format);
            EXPECT_EQ(Kel_SaveImage(page.samples.data(), page.width, page.height, page.channels,
                                    path.c_str(), format, 0),
                      0);
            return load(path);
        };
        for (const char* format : {"PNG", "TIFF", "BMP", "JP2", "PNM", "RAS", "SGI", "TGA", "PCX"})
            EXPECT_EQ(savedAs(format).samples, page.samples) << format;
        const Page jpeg = savedAs("JPEG");
        ASSERT_EQ(jpeg.samples.size(), page.samples.size());
        double error = 0.0;
        for (size_t i = 0; i < page.samples.size(); ++i)
            error += std::abs(jpeg.samples[i] - page.samples[i]);
        if (page.width * page.height > 1000) {  // on a few coloured dots JPEG may be far off
            EXPECT_LT(error / static_cast<double>(page.samples.size()), 12.0);
        }

        ::testing::internal::CaptureStderr();
        Bytes bytes = fileBytes(entry.path().string());
        bytes.resize(bytes.size() / 2);
        const Page half = load(writeBytes("half", bytes));
        EXPECT_TRUE(half.result == 0 || half.result == 1 || half.result == 5) << half.result;
        ::testing::internal::GetCapturedStderr();
    }
    EXPECT_GE(files, 15);
}

TEST(Load, SideBySide) {
    const Dots dots{118.0F, 118.0F, "DPC"};
    const std::string path =
        writeFile("threads.jpg", "JPEG", {randomIm(64, 48, IM_RGB).get()}, &dots);
    const Page expected = load(path);
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 5; ++i) {
                EXPECT_TRUE(load(path) == expected);
                Bytes grey(64 * 48, static_cast<unsigned char>(7 * i));
                unsigned char* file = nullptr;
                int length = 0;
                EXPECT_EQ(
                    Kel_Convert2ImgFileBuffer(grey.data(), 64, 48, 1, "JPEG", &file, &length, 0),
                    0);
                EXPECT_GT(length, 100);
                Kel_ReleaseImage(file);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
}

}  // namespace
