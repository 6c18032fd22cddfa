// A folder that a run writes into: one run at a time, and nothing half-written in it.
#pragma once

#include <sys/types.h>

#include <set>
#include <string>
#include <utility>

#include "page_files.h"

namespace kelpage {

/// Files that must not be overwritten, whatever they are called.
class Protected {
  public:
    explicit Protected(const std::vector<fs::path>& files);
    bool has(const fs::path& file) const;

  private:
    std::set<std::pair<dev_t, ino_t>> files_;
};

/// Keeps what it needs in ".kelpage": a lock, the record, and the files that are not whole yet.
/// What a killed run left there is removed.
class OutputFolder {
  public:
    /// Makes the folder.
    /// @throws FileError, also when another run works in it
    OutputFolder(fs::path folder, const Protected& inputs);
    OutputFolder(const OutputFolder&) = delete;
    OutputFolder& operator=(const OutputFolder&) = delete;
    ~OutputFolder();

    /// Whether a path leads into what runs keep in their folders.
    static bool isOwn(const fs::path& path);

    const fs::path& path() const { return folder_; }
    fs::path recordFile() const { return own() / "record"; }

    /// Where to write the file that place() will name so.
    /// @throws FileError when an input has that name
    fs::path aside(const std::string& name) const;

    /// Gives a file that was written aside its name. From then on it is there, whole.
    /// @throws FileError
    void place(const std::string& name) const;

    /// Gives the room of a file up that was written aside, if there is one.
    void discard(const std::string& name) const;

    /// Removes a file, unless it is an input.
    void remove(const std::string& name) const;

  private:
    fs::path own() const { return folder_ / kOwnName; }

    static constexpr const char* kOwnName = ".kelpage";

    fs::path folder_;
    const Protected& inputs_;
    int lock_ = -1;
};

}  // namespace kelpage
