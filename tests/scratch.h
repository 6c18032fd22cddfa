// Folders for what tests write: new ones each time, so that no other program's files are in them.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

namespace test {

struct ScratchFolder {
    ScratchFolder() {
        std::string name = ::testing::TempDir() + "kel_test_XXXXXX";
        EXPECT_NE(mkdtemp(name.data()), nullptr) << name;
        path = name;
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    ~ScratchFolder() { std::filesystem::remove_all(path); }

    std::filesystem::path path;
};

/// A path in a folder of this program, which goes with it.
inline std::string scratchPath(const std::string& name) {
    static const ScratchFolder folder;
    return (folder.path / name).string();
}

}  // namespace test
