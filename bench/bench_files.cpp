// Loading files into channel images beside OpenCV, and encoding these beside the bare codecs.
#include <malloc.h>
#include <tiff.h>
#include <unistd.h>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>

#include "bench_pages.h"
#include "bench_rows.h"
#include "codec_peers.h"
#include "im.h"
#include "kel_ImageFileOper.h"
#include "kel_ImageStorage.h"

namespace bench {
namespace {

namespace fs = std::filesystem;

struct Release {
    void operator()(unsigned char* samples) const { Kel_ReleaseImage(samples); }
};

struct Loaded {
    kelSize size{};
    int channels = -100;  // no size limit
    std::unique_ptr<unsigned char[], Release> samples;

    Bytes bytes() const {
        const auto area = static_cast<size_t>(size.width) * static_cast<size_t>(size.height);
        return {samples.get(), samples.get() + area * static_cast<size_t>(channels)};
    }
};

Loaded load(const fs::path& file) {
    Loaded page;
    unsigned char* samples = nullptr;
    Kel_LoadImageFile2Buffer(file.c_str(), &samples, &page.size.width, &page.size.height,
                             &page.channels);
    page.samples.reset(samples);
    return page;
}

std::vector<cv::Mat> loadByOpenCv(const fs::path& file) {
    const cv::Mat image = cv::imread(file.string(), cv::IMREAD_ANYCOLOR);
    std::vector<cv::Mat> planes;
    cv::split(image, planes);
    return planes;
}

bool isSame(const Loaded& ours, std::vector<cv::Mat> theirs) {
    std::reverse(theirs.begin(), theirs.end());  // from blue first to red first
    Bytes planes;
    for (const cv::Mat& plane : theirs)
        planes.insert(planes.end(), plane.data, plane.data + plane.total());
    return ours.bytes() == planes;
}

/// A folder of this run's files.
const fs::path& folder() {
    static const struct Folder {
        fs::path path = fs::temp_directory_path() / ("kel_bench_" + std::to_string(getpid()));
        Folder() { fs::create_directories(path); }
        ~Folder() { fs::remove_all(path); }
    } files;
    return files.path;
}

fs::path saved(const char* name, const Bytes& samples, kelSize size, int channels, int cprType) {
    fs::path file = folder() / name;
    Bytes copy = samples;
    Kel_SaveImage_DT(copy.data(), size.width, size.height, channels, file.c_str(), cprType);
    return file;
}

Bytes binaryOf(const Bytes& grey) {
    Bytes binary(grey.size());
    std::transform(grey.begin(), grey.end(), binary.begin(),
                   [](unsigned char v) { return static_cast<unsigned char>(v > 128 ? 255 : 0); });
    return binary;
}

void addLoadRows(const PageSet& page) {
    const auto add = [&](const char* what, const char* kind, const fs::path& file) {
        addRow({what, page.name + " " + kind, [file] { load(file); }, "OpenCV imread + split",
                [file] { loadByOpenCv(file); }, 1.25,
                [file] { return isSame(load(file), loadByOpenCv(file)); }});
    };
    add("load JPEG", "colour", saved("colour.jpg", page.colour, page.size, 3, 0));
    add("load JPEG", "grey", saved("grey.jpg", page.grey, page.size, 1, 0));
    add("load PNG", "colour", saved("colour.png", page.colour, page.size, 3, 0));
    add("load PNG", "grey", saved("grey.png", page.grey, page.size, 1, 0));
    add("load TIFF G4", "binary", saved("binary.tif", binaryOf(page.grey), page.size, 1, 2));
    add("load BMP", "colour", saved("colour.bmp", page.colour, page.size, 3, 0));
}

/// A TIFF of so many pages, by the toolkit.
fs::path manyPages(const char* name, int count) {
    fs::path path = folder() / name;
    imFile* const file = imFileNew(path.c_str(), "TIFF", nullptr);
    imImage* const page = imImageCreate(800, 600, IM_GRAY, IM_BYTE);
    auto* const samples = static_cast<unsigned char*>(page->data[0]);
    for (int i = 0; i < 800 * 600; ++i)
        samples[i] = static_cast<unsigned char>(i % 800 / 4);
    imFileSetInfo(file, "LZW");
    for (int i = 0; i < count; ++i)
        imFileSaveImage(file, page);
    imFileClose(file);
    imImageDestroy(page);
    return path;
}

Bytes loadNumbered(const fs::path& file, int number) {
    tagImage* records = nullptr;
    int pages = number * 10000 + number;
    Bytes samples;
    if (Kel_LoadImageFiles2Buffer_Mult(file.c_str(), &records, &pages) != 0) return samples;
    samples.assign(records->imageData, records->imageData + records->dataSize);
    Kel_ReleaseImageArr(&records, &pages);
    return samples;
}

void addPageRow() {
    const fs::path many = manyPages("many.tif", 1000), one = manyPages("one.tif", 1);
    addRow({"load page 900 of 1000", "800 x 600 grey, LZW", [many] { loadNumbered(many, 900); },
            "the page alone in a file", [one] { loadNumbered(one, 1); }, 2.0,
            [many, one] { return loadNumbered(many, 900) == loadNumbered(one, 1); }});
}

Bytes encoded(const Bytes& planes, kelSize size, int channels, const char* format, int cprType) {
    unsigned char* block = nullptr;
    int length = 0;
    Kel_Convert2ImgFileBuffer(const_cast<unsigned char*>(planes.data()), size.width,  // NOLINT
                              size.height, channels, format, &block, &length, cprType);
    const std::unique_ptr<unsigned char[], Release> owned(block);
    return {block, block + length};
}

Bytes interleaved(const PageSet& page) {
    Bytes pixels(page.colour.size());
    for (size_t i = 0; i < page.area(); ++i)
        for (size_t c = 0; c < 3; ++c)
            pixels[3 * i + c] = page.colour[c * page.area() + i];
    return pixels;
}

/// Rows of bits, black as 1.
Bytes packed(const Bytes& binary, kelSize size) {
    const auto width = static_cast<size_t>(size.width), row = (width + 7) / 8;
    Bytes bits(row * static_cast<size_t>(size.height));
    for (size_t i = 0; i < binary.size(); ++i)
        if (binary[i] == 0) {
            const size_t x = i % width;
            unsigned char& byte = bits[i / width * row + x / 8];
            byte = static_cast<unsigned char>(byte | 128U >> x % 8);
        }
    return bits;
}

void addEncodeRows(const PageSet& page) {
    struct Case {
        const char *what, *kind, *format;
        int channels, cprType;
        Bytes planes, pixels;
        std::function<void(peers::Page, const Bytes&, Bytes&)> peer;
        std::function<void(const Bytes&, Bytes&)> decode;
    };
    const auto jpeg = [](peers::Page p, const Bytes& from, Bytes& to) {
        peers::encodeJpeg(p, from, 90, to);
    };
    const auto fax = [](peers::Page p, const Bytes& from, Bytes& to) {
        peers::encodeTiff(p, from, COMPRESSION_CCITTFAX4, to);
    };
    addRow({"encode BMP", page.name + " colour",
            [&page] { encoded(page.colour, page.size, 3, "BMP", 0); }, "OpenCV imencode",
            [pixels = interleaved(page), &page] {
                const cv::Mat image(page.size.height, page.size.width, CV_8UC3,
                                    const_cast<unsigned char*>(pixels.data()));  // NOLINT
                Bytes file;
                cv::imencode(".bmp", image, file);
            },
            1.15,
            [&page] {
                return encoded(page.colour, page.size, 3, "BMP", 0).size() > page.colour.size();
            }});
    const Bytes binary = binaryOf(page.grey);
    for (const Case& c :
         {Case{"encode JPEG", "colour", "JPEG", 3, 0, page.colour, interleaved(page), jpeg,
               peers::decodeJpeg},
          Case{"encode JPEG", "grey", "JPEG", 1, 0, page.grey, page.grey, jpeg, peers::decodeJpeg},
          Case{"encode TIFF G4", "binary", "TIFF", 1, 2, binary, packed(binary, page.size), fax,
               peers::decodeTiff}}) {
        const auto planes = std::make_shared<Bytes>(c.planes);
        const auto pixels = std::make_shared<Bytes>(c.pixels);
        const peers::Page shape{page.size.width, page.size.height, c.channels,
                                c.cprType == 2 ? 1 : 8};
        const auto ours = [=, size = page.size] {
            return encoded(*planes, size, c.channels, c.format, c.cprType);
        };
        const auto theirs = [=, peer = c.peer] {
            Bytes file;
            peer(shape, *pixels, file);
            return file;
        };
        addRow({c.what, page.name + " " + c.kind, [ours] { ours(); }, "bare codec",
                [theirs] { theirs(); }, 1.15,
                [=, decode = c.decode, bytes = pixels->size()] {
                    Bytes a(bytes), b(bytes);
                    decode(ours(), a);
                    decode(theirs(), b);
                    return a == b;
                }});
    }
}

/// A figure of the process in kilobytes, by its name in the kernel's status.
long statusKb(const char* name) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind(name, 0) == 0)
            return std::strtol(line.c_str() + line.find(':') + 1, nullptr, 10);
    return 0;
}

}  // namespace

void addFileRows() {
    addLoadRows(pages().back());
    addPageRow();
    addEncodeRows(pages().back());
}

void printLoadMemoryTable() {
    mallopt(M_MMAP_THRESHOLD, 1 << 16);  // what is given back leaves the process
    std::printf(
        "| load | peak of memory, in times of page and file (bar: 2 pages, the file, and 2 MB) "
        "|\n|---|---|\n");
    for (const char* name : {"colour.jpg", "grey.jpg", "colour.png", "binary.tif", "colour.bmp"}) {
        const fs::path file = folder() / name;
        if (!fs::exists(file)) continue;
        load(file);
        malloc_trim(0);
        std::ofstream("/proc/self/clear_refs") << 5;  // the peak starts anew
        const long before = statusKb("VmRSS");
        const Loaded page = load(file);
        const auto taken = static_cast<double>(statusKb("VmHWM") - before) * 1024.0;
        const auto pageBytes = static_cast<double>(page.bytes().size());
        const auto fileBytes = static_cast<double>(fs::file_size(file));
        std::printf("| %s | %.2f pages and the file |\n", name, (taken - fileBytes) / pageBytes);
    }
}

}  // namespace bench
