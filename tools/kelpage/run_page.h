// One page of a run, from its file into the files made of it.
#pragma once

#include <optional>
#include <string>

#include "output_folder.h"
#include "page_road.h"
#include "run_plan.h"
#include "run_record.h"

namespace kelpage {

/// Follows the name of the file for a seal.
extern const char* const kSealSuffix;

struct RunPageOptions {
    RoadOptions road;
    std::string colourFormat = "jpg";  ///< or "png", or "none"
    int quality = 85;                  ///< of JPEG
    bool dropsBlank = false;
    bool resumes = false;
    std::string text;  ///< all of these and what else the results depend on, as a part of keys
};

/// A page's result, and whether it is an earlier run's.
struct RunPageResult {
    PageResult result;
    bool isResumed = false;
};

/// The name of a picture of a report.
enum class Picture { before, after, binary, seal };
std::string pictureName(const std::string& name, Picture picture);

/// The pictures that a report has of a page.
std::vector<Picture> picturesOf(const PageResult& result, bool hasSeals);

/// Takes pages of a run into its folders. Any thread may call.
class PageRunner {
  public:
    /// @param report null for none
    PageRunner(const RunPageOptions& options, const OutputFolder& output,
               const OutputFolder* report, RunRecord& record)
        : options_(options), output_(output), report_(report), record_(record) {}

    /// Nothing is thrown: a failure is told in the result.
    RunPageResult take(const PlannedPage& page) const;

  private:
    std::string keyOf(const PlannedPage& page) const;
    bool isWhole(const RecordEntry& entry, const std::string& name) const;
    void make(const PlannedPage& page, const std::string& key, PageResult& result) const;
    void write(const RoadPage& made, const std::string& name, PageResult& result) const;
    void draw(const RoadPage& made, const std::string& name, const PageResult& result) const;
    void discard(const std::string& name) const;
    void place(const std::string& name, const PageResult& result) const;

    const RunPageOptions& options_;
    const OutputFolder& output_;
    const OutputFolder* report_;
    RunRecord& record_;
};

}  // namespace kelpage
