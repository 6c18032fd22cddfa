// Files below and around the formats: the registry, disk and memory files, modules, attributes,
// codes, several threads at once.
#include <thread>

#include "im_support.h"

using namespace test;

namespace {

std::vector<const char*> formatNames() {
    int count = 0;
    imFormatList(nullptr, &count);
    std::vector<const char*> names(size_t(count), nullptr);
    imFormatList(names.data(), &count);
    return names;
}

TEST(ImFile, RegistryTellsAboutEveryFormat) {
    for (const char* name : formatNames()) {
        SCOPED_TRACE(name);
        char description[64], extensions[32];
        int several = -1, compressions = 0, error = -1;
        EXPECT_EQ(imFormatInfo(name, description, extensions, &several), IM_ERR_NONE);
        EXPECT_EQ(std::string(extensions).rfind("*.", 0), 0U);
        EXPECT_EQ(imFormatCompressions(name, nullptr, &compressions), IM_ERR_NONE);
        EXPECT_GT(compressions, 0);

        // What a new file says of itself, and names that it doesn't have.
        imBinMemoryFileName block{nullptr, 64, 1.1F};
        const ImFile file = memoryFile(block, name);
        ASSERT_NE(file, nullptr);
        EXPECT_EQ(imFileSetInfo(file.get(), "NOSUCH"), IM_ERR_COMPRESS);
        EXPECT_EQ(imFileSetInfo(file.get(), nullptr), IM_ERR_NONE);
        EXPECT_EQ(imFileSaveImage(file.get(), nullptr), IM_ERR_DATA);
        EXPECT_EQ(imFileLoadImage(file.get(), 0, &error), nullptr);
        EXPECT_NE(error, IM_ERR_NONE);
        EXPECT_EQ(imBinFileSize(imFileHandle(file.get())), imFileGetWriteImageDataLen(file.get()));
        imBinMemoryRelease(block.buffer);
    }
    char text[64] = "as it was";
    EXPECT_EQ(imFormatInfo("AVI", text, nullptr, nullptr), IM_ERR_FORMAT);
    EXPECT_STREQ(text, "as it was");
}

TEST(ImFile, CodesOfOpening) {
    std::ofstream(scratchPath("nonsense")) << "this is no image at all";
    std::ofstream(scratchPath("empty"));
    int error = -1;
    for (const auto& [path, code] : {std::pair(scratchPath("no such file"), IM_ERR_OPEN),
                                     {::testing::TempDir(), IM_ERR_OPEN},
                                     {scratchPath("nonsense"), IM_ERR_FORMAT},
                                     {scratchPath("empty"), IM_ERR_FORMAT}}) {
        EXPECT_EQ(imFileOpen(path.c_str(), &error), nullptr);
        EXPECT_EQ(error, code) << path;
    }
    for (const char* unknown : {"AVI", "KRN", "", "PN"}) {
        EXPECT_EQ(imFileNew(scratchPath("unknown").c_str(), unknown, &error), nullptr);
        EXPECT_EQ(error, IM_ERR_FORMAT);
    }
    EXPECT_EQ(imFileNew(scratchPath("no/such/folder").c_str(), "PNM", &error), nullptr);
    EXPECT_EQ(error, IM_ERR_OPEN);
    EXPECT_EQ(imFileOpen(nullptr, nullptr), nullptr);
    EXPECT_EQ(imFileNew(nullptr, "PNM", nullptr), nullptr);
    EXPECT_EQ(loaded({}).error, IM_ERR_OPEN);
    imFileClose(nullptr);
}

TEST(ImFile, RefusesWhatAFileForReadingIsNotFor) {
    const Im image = randomIm(20, 10, IM_RGB);
    const Loaded file = loaded(encoded({image.get()}, "pnm"));
    EXPECT_EQ(file.bytes.size(), 600U + 13);
    for (const int index : {-1, 1}) {
        int width = 77, error = 0;
        EXPECT_NE(imFileReadImageInfo(file.file.get(), index, &width, nullptr, nullptr, nullptr),
                  IM_ERR_NONE);
        EXPECT_EQ(width, 77);
        EXPECT_EQ(imFileLoadImage(file.file.get(), index, &error), nullptr);
        EXPECT_NE(error, IM_ERR_NONE);
    }
    EXPECT_EQ(imFileSaveImage(file.file.get(), image.get()), IM_ERR_ACCESS);
    EXPECT_EQ(imFileSetInfo(file.file.get(), "NONE"), IM_ERR_COMPRESS);
}

TEST(ImFile, MemoryBlocksGrowByTheFactorOrNotAtAll) {
    const auto* const letters = "0123456789abcdef";
    for (const float factor : {2.0F, 1.1F, 1.0F, 0.0F}) {
        const bool grows = factor > 0.0F;
        imBinMemoryFileName block{nullptr, 8, factor};
        imBinFile* const file =
            inMemory([&] { return imBinFileNew(reinterpret_cast<const char*>(&block)); });
        EXPECT_EQ(imBinFileWrite(file, letters, 8), 8);
        EXPECT_EQ(imBinFileWrite(file, letters + 8, 8), grows ? 8 : 0);
        if (grows) {
            EXPECT_EQ(imBinFileSeekTo(file, 20), 0);  // the gap reads as 0
            EXPECT_EQ(imBinFileWrite(file, letters, 1), 1);
            EXPECT_EQ(imBinFileTell(file), 21);
            EXPECT_EQ(std::string(block.buffer, block.buffer + 21),
                      std::string(letters) + std::string(4, '\0') + "0");
            EXPECT_GE(block.size, 21);
        }
        EXPECT_EQ(imBinFileSize(file), grows ? 21 : 8);
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
    const Im complex(imImageCreate(1, 1, IM_GRAY, IM_CFLOAT)), wide = randomIm(257, 1, IM_GRAY);
    for (const char* format : {"BMP", "PNG", "JPEG", "PNM", "GIF", "TIFF", "RAS"}) {
        imBinMemoryFileName block{nullptr, 2048, 0.0F};
        const ImFile file = memoryFile(block, format);
        EXPECT_EQ(imFileSaveImage(file.get(), complex.get()), IM_ERR_DATA) << format;
        EXPECT_EQ(imFileSaveImage(file.get(), large.get()), IM_ERR_ACCESS) << format;
        EXPECT_EQ(imFileSaveImage(file.get(), small.get()), IM_ERR_ACCESS) << format;
        imBinMemoryRelease(block.buffer);
    }
    // A kind that is refused leaves the file as it was.
    const Loaded icons = loaded(encoded({small.get()}, "ICO", nullptr, nullptr, [&](imFile* file) {
        EXPECT_EQ(imFileSaveImage(file, wide.get()), IM_ERR_DATA);
    }));
    EXPECT_EQ(icons.count, 1);
}

TEST(ImFile, ModuleIsTheThreadsOwn) {
    EXPECT_EQ(imBinFileSetCurrentModule(IM_MEMORYFILE), IM_FILE);
    EXPECT_EQ(imBinFileSetCurrentModule(7), -1);
    std::thread([] { EXPECT_EQ(imBinFileSetCurrentModule(IM_FILE), IM_FILE); }).join();
    EXPECT_EQ(imBinFileSetCurrentModule(IM_FILE), IM_MEMORYFILE);

    // Several threads write and read through memory at once, in every format.
    const auto work = [] {
        const Im image = randomIm(24, 16, IM_GRAY);
        for (const std::string name : formatNames())
            if (name != "RAW") {
                const Loaded back = loaded(encoded({image.get()}, name.c_str()));
                EXPECT_EQ(back.format, name);
                EXPECT_TRUE(name == "JPEG" || same(back.image.get(), image.get())) << name;
            }
    };
    std::thread first(work), second(work);
    first.join();
    second.join();
}

TEST(ImFile, AttributesKeepTheirOrderAndCanBeTakenAway) {
    imBinMemoryFileName block{nullptr, 64, 1.1F};
    const ImFile owner = memoryFile(block, "PNM");
    imFile* const file = owner.get();
    const float four[4] = {300.0F, 1.0F, 2.0F, 3.0F};
    imFileSetAttribute(file, "ResolutionUnit", IM_BYTE, 4, "DPI");
    imFileSetAttribute(file, "XResolution", IM_FLOAT, 4, four);
    imFileSetAttribute(file, "Other", IM_INT, 0, four);  // nothing to set
    imFileSetAttribute(file, "Other", 9, 1, four);       // no such type
    imFileSetAttribute(file, "ResolutionUnit", IM_BYTE, 4, "DPC");
    char* names[8];
    int count = 8, type = -1;
    imFileGetAttributeList(file, names, &count);
    ASSERT_EQ(count, 2);
    EXPECT_STREQ(names[0], "ResolutionUnit");
    EXPECT_STREQ(static_cast<const char*>(imFileGetAttribute(file, names[0], &type, &count)),
                 "DPC");
    EXPECT_EQ(type, IM_BYTE);
    EXPECT_EQ(count, 4);
    imFileSetAttribute(file, "ResolutionUnit", IM_BYTE, 0, nullptr);
    EXPECT_EQ(imFileGetAttribute(file, "ResolutionUnit", nullptr, nullptr), nullptr);
    imFileGetAttributeList(file, nullptr, &count);
    EXPECT_EQ(count, 1);
}

}  // namespace
