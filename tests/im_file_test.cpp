// Files below and around the formats: the registry, disk and memory files, modules, attributes,
// codes, several threads at once.
#include <thread>

#include "im_support.h"

using namespace test;

namespace {

TEST(ImFile, RegistryTellsAboutEveryFormat) {
    int count = 0;
    imFormatList(nullptr, &count);
    std::vector<const char*> names(size_t(count), nullptr);
    imFormatList(names.data(), &count);
    for (const char* name : names) {
        char description[64], extensions[32];
        int several = -1, compressions = 0;
        EXPECT_EQ(imFormatInfo(name, description, extensions, &several), IM_ERR_NONE);
        EXPECT_EQ(std::string(extensions).rfind("*.", 0), 0U) << name;
        EXPECT_LT(std::strlen(name), 12U);
        EXPECT_EQ(imFormatCompressions(name, nullptr, &compressions), IM_ERR_NONE);
        EXPECT_GT(compressions, 0) << name;

        // What a new file says of itself, and names that it doesn't have.
        imBinMemoryFileName block{nullptr, 64, 1.1F};
        const ImFile file = inMemory([&] {
            return ImFile(imFileNew(reinterpret_cast<const char*>(&block), name, nullptr));
        });
        ASSERT_NE(file, nullptr) << name;
        EXPECT_EQ(imFileSetInfo(file.get(), "NOSUCH"), IM_ERR_COMPRESS);
        EXPECT_EQ(imFileSetInfo(file.get(), nullptr), IM_ERR_NONE);
        EXPECT_EQ(imFileSaveImage(file.get(), nullptr), IM_ERR_DATA);
        int error = -1;
        EXPECT_EQ(imFileLoadImage(file.get(), 0, &error), nullptr);
        EXPECT_NE(error, IM_ERR_NONE);
        imBinMemoryRelease(block.buffer);
    }
    char text[64] = "as it was";
    EXPECT_EQ(imFormatInfo("AVI", text, nullptr, nullptr), IM_ERR_FORMAT);
    EXPECT_STREQ(text, "as it was");
    for (const char* unknown : {"AVI", "KRN", "", "PN"}) {
        int error = 0;
        EXPECT_EQ(imFileNew(scratchPath("unknown").c_str(), unknown, &error), nullptr);
        EXPECT_EQ(error, IM_ERR_FORMAT);
    }
}

TEST(ImFile, CodesOfOpening) {
    const auto errorOf = [](const std::string& path) {
        int error = -1;
        const ImFile file(imFileOpen(path.c_str(), &error));
        EXPECT_EQ(file, nullptr);
        return error;
    };
    EXPECT_EQ(errorOf(scratchPath("no such file")), IM_ERR_OPEN);
    EXPECT_EQ(errorOf(::testing::TempDir()), IM_ERR_OPEN);
    EXPECT_EQ(imFileOpen(nullptr, nullptr), nullptr);
    std::ofstream(scratchPath("nonsense")) << "this is no image at all";
    EXPECT_EQ(errorOf(scratchPath("nonsense")), IM_ERR_FORMAT);
    std::ofstream(scratchPath("empty"));
    EXPECT_EQ(errorOf(scratchPath("empty")), IM_ERR_FORMAT);
    int error = -1;
    EXPECT_EQ(imFileNew(scratchPath("no/such/folder").c_str(), "PNM", &error), nullptr);
    EXPECT_EQ(error, IM_ERR_OPEN);
    EXPECT_EQ(imFileNew(nullptr, "PNM", nullptr), nullptr);
    EXPECT_EQ(loaded({}).error, IM_ERR_OPEN);
    imFileClose(nullptr);
}

TEST(ImFile, ContentAndNotTheNameDecides) {
    const Im image = randomIm(20, 10, IM_RGB);
    const std::string path = scratchPath("page.jpg");
    int error = -1;
    ImFile file(imFileNew(path.c_str(), "pnm", &error));
    ASSERT_EQ(imFileSaveImage(file.get(), image.get()), IM_ERR_NONE);
    EXPECT_EQ(imFileGetWriteImageDataLen(file.get()), imBinFileSize(imFileHandle(file.get())));
    EXPECT_EQ(imFileGetWriteImageDataLen(file.get()), 600 + 13);
    file.reset();

    file.reset(imFileOpen(path.c_str(), &error));
    char format[12];
    imFileGetInfo(file.get(), format, nullptr, nullptr);
    EXPECT_STREQ(format, "PNM");
    const Im back(imFileLoadImage(file.get(), 0, nullptr));
    EXPECT_TRUE(same(back.get(), image.get()));

    int width = -1, mode = -1;
    EXPECT_EQ(imFileReadImageInfo(file.get(), 0, &width, nullptr, &mode, nullptr), IM_ERR_NONE);
    EXPECT_EQ(width, 20);
    EXPECT_EQ(mode, IM_RGB | IM_PACKED | IM_TOPDOWN);
    for (const int index : {-1, 1}) {
        EXPECT_NE(imFileReadImageInfo(file.get(), index, &width, nullptr, nullptr, nullptr), 0);
        EXPECT_EQ(imFileLoadImage(file.get(), index, &error), nullptr);
        EXPECT_NE(error, IM_ERR_NONE);
    }
    EXPECT_EQ(width, 20);
    EXPECT_EQ(imFileSaveImage(file.get(), image.get()), IM_ERR_ACCESS);
    EXPECT_EQ(imFileSetInfo(file.get(), "NONE"), IM_ERR_COMPRESS);
}

TEST(ImFile, MemoryBlocksGrowByTheFactorOrNotAtAll) {
    const auto* const letters = "0123456789abcdef";
    for (const float factor : {2.0F, 1.1F, 1.0F, 0.0F}) {
        imBinMemoryFileName block{nullptr, 8, factor};
        const auto name = reinterpret_cast<const char*>(&block);
        imBinFile* const file = inMemory([&] { return imBinFileNew(name); });
        EXPECT_EQ(imBinFileWrite(file, letters, 8), 8);
        EXPECT_EQ(imBinFileWrite(file, letters + 8, 8), factor > 0.0F ? 8 : 0);
        if (factor > 0.0F) {
            EXPECT_EQ(imBinFileSeekTo(file, 20), 0);  // the gap reads as 0
            EXPECT_EQ(imBinFileWrite(file, letters, 1), 1);
            EXPECT_EQ(imBinFileTell(file), 21);
            EXPECT_EQ(std::string(block.buffer, block.buffer + 21),
                      std::string(letters) + std::string(4, '\0') + "0");
            EXPECT_GE(block.size, 21);
        }
        EXPECT_EQ(imBinFileSize(file), factor > 0.0F ? 21 : 8);
        imBinFileClose(file);
        imBinMemoryRelease(block.buffer);
    }
    Bytes bytes{1, 2, 3};
    imBinMemoryFileName block{bytes.data(), 3, 1.1F};
    imBinFile* const file =
        inMemory([&] { return imBinFileOpen(reinterpret_cast<const char*>(&block)); });
    unsigned char got[4] = {9, 9, 9, 9};
    EXPECT_EQ(imBinFileSeekTo(file, 1), 0);
    EXPECT_EQ(imBinFileSeekTo(file, -1), 1);
    EXPECT_EQ(imBinFileRead(file, got, 4), 2);
    EXPECT_EQ(got[1], 3);
    EXPECT_EQ(imBinFileWrite(file, got, 1), 0);
    imBinFileClose(file);
    EXPECT_EQ(inMemory([] { return imBinFileOpen(nullptr); }), nullptr);
}

TEST(ImFile, NothingFollowsAPartOfAnImage) {
    const Im large = randomIm(200, 200, IM_GRAY), small = randomIm(1, 1, IM_GRAY);
    const Im complex(imImageCreate(1, 1, IM_GRAY, IM_CFLOAT));
    for (const char* format : {"BMP", "PNG", "JPEG", "PNM", "GIF", "TIFF", "RAS"}) {
        imBinMemoryFileName block{nullptr, 2048, 0.0F};
        const ImFile file = inMemory([&] {
            return ImFile(imFileNew(reinterpret_cast<const char*>(&block), format, nullptr));
        });
        EXPECT_EQ(imFileSaveImage(file.get(), complex.get()), IM_ERR_DATA) << format;
        EXPECT_EQ(imFileSaveImage(file.get(), large.get()), IM_ERR_ACCESS) << format;
        EXPECT_EQ(imFileSaveImage(file.get(), small.get()), IM_ERR_ACCESS) << format;
        imBinMemoryRelease(block.buffer);
    }
    // A kind that is refused leaves the file as it was.
    int error = -1;
    const Im tooLarge = randomIm(257, 1, IM_GRAY);
    const Loaded icons = loaded(encoded({small.get()}, "ICO", nullptr, &error, [&](imFile* file) {
        EXPECT_EQ(imFileSaveImage(file, tooLarge.get()), IM_ERR_DATA);
    }));
    EXPECT_EQ(error, IM_ERR_NONE);
    EXPECT_EQ(icons.count, 1);
}

TEST(ImFile, ModuleIsTheThreadsOwn) {
    EXPECT_EQ(imBinFileSetCurrentModule(IM_MEMORYFILE), IM_FILE);
    EXPECT_EQ(imBinFileSetCurrentModule(7), -1);
    std::thread([] { EXPECT_EQ(imBinFileSetCurrentModule(IM_FILE), IM_FILE); }).join();
    EXPECT_EQ(imBinFileSetCurrentModule(IM_FILE), IM_MEMORYFILE);

    // Several threads write and read through memory at once, in every format.
    int count = 0;
    imFormatList(nullptr, &count);
    std::vector<const char*> names(size_t(count), nullptr);
    imFormatList(names.data(), &count);
    const auto work = [&] {
        for (const char* name : names) {
            const Im image = randomIm(24, 16, IM_GRAY);
            const Bytes bytes = encoded({image.get()}, name);
            if (std::string(name) == "RAW") continue;
            const Loaded back = loaded(bytes);
            EXPECT_EQ(back.error, IM_ERR_NONE) << name;
            EXPECT_EQ(back.format, name);
            ASSERT_NE(back.image, nullptr) << name;
            EXPECT_EQ(back.image->width, 24) << name;
        }
    };
    std::thread first(work), second(work);
    first.join();
    second.join();
}

TEST(ImFile, AttributesKeepTheirOrderAndCanBeTakenAway) {
    imBinMemoryFileName block{nullptr, 64, 1.1F};
    const ImFile file = inMemory(
        [&] { return ImFile(imFileNew(reinterpret_cast<const char*>(&block), "PNM", nullptr)); });
    const float four[4] = {300.0F, 1.0F, 2.0F, 3.0F};
    imFileSetAttribute(file.get(), "ResolutionUnit", IM_BYTE, 4, "DPI");
    imFileSetAttribute(file.get(), "XResolution", IM_FLOAT, 4, four);
    imFileSetAttribute(file.get(), "Other", IM_INT, 0, four);  // nothing to set
    imFileSetAttribute(file.get(), "Other", 9, 1, four);       // no such type
    imFileSetAttribute(file.get(), "ResolutionUnit", IM_BYTE, 4, "DPC");
    char* names[8];
    int count = 8, type = -1;
    imFileGetAttributeList(file.get(), names, &count);
    ASSERT_EQ(count, 2);
    EXPECT_STREQ(names[0], "ResolutionUnit");
    EXPECT_STREQ(static_cast<const char*>(imFileGetAttribute(file.get(), names[0], &type, &count)),
                 "DPC");
    EXPECT_EQ(type, IM_BYTE);
    EXPECT_EQ(count, 4);
    imFileSetAttribute(file.get(), "ResolutionUnit", IM_BYTE, 0, nullptr);
    EXPECT_EQ(imFileGetAttribute(file.get(), "ResolutionUnit", nullptr, nullptr), nullptr);
    imFileGetAttributeList(file.get(), nullptr, &count);
    EXPECT_EQ(count, 1);
}

}  // namespace
