// What earlier runs have done in a folder, so that a run that is resumed need not do it again.
#pragma once

#include <map>
#include <mutex>
#include <string>

#include "page_files.h"
#include "run_result.h"

namespace kelpage {

/// A page that was done.
struct RecordEntry {
    std::string key;  ///< all that the result depends on
    PageResult result;
};

/// A text file with one line per page, added when all its files are in their places. A line that a
/// kill left incomplete counts for nothing. Any thread may call.
class RunRecord {
  public:
    /// Reads what is there, if anything.
    /// @throws FileError
    explicit RunRecord(fs::path file);
    RunRecord(const RunRecord&) = delete;
    RunRecord& operator=(const RunRecord&) = delete;
    ~RunRecord();

    /// What an earlier run did under a name; null for nothing.
    const RecordEntry* find(const std::string& name) const;

    /// Says that the files of a name are about to change: from here until add(), they are nobody's.
    void begin(const std::string& name);

    /// @throws FileError
    void add(const std::string& name, const RecordEntry& entry);

  private:
    void read();
    void rewrite() const;
    void append(const std::string& text);

    fs::path file_;
    std::map<std::string, RecordEntry> earlier_;
    std::mutex mutex_;
    int descriptor_ = -1;
};

/// A file's size and time, as a part of a key.
std::string stampOf(const fs::path& file);

/// A number for bytes, as a part of a key.
std::string digestOf(const std::string& bytes);

}  // namespace kelpage
