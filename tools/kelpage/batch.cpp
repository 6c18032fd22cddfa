// One result page for each input page.
#include "batch.h"

#include <exception>
#include <iostream>
#include <optional>

#include "page_file.h"
#include "page_writer.h"
#include "progress.h"

namespace kelpage {
namespace {

bool isOneToOne(const Batch& batch) {
    return batch.inputs.size() == 1 && !isFolder(batch.inputs[0]) && !isFolder(batch.output) &&
           fs::path(batch.output).has_extension();
}

/// The files that the results go to.
class Results {
  public:
    /// @throws FileError
    Results(const Batch& batch, const std::vector<fs::path>& inputs)
        : output_(batch.output), inputs_(inputs), isOneToOne_(kelpage::isOneToOne(batch)) {
        if (!isOneToOne_) makeFolder(output_);
    }

    fs::path fileOf(const PlannedPage& which) const {
        if (!isOneToOne_) return output_ / (which.name + ".png");
        return numberedName(output_, which.number, which.pageCount == 1 || isShared(which));
    }

    /// @throws FileError
    void add(const Page& page, const PlannedPage& which) {
        if (!isShared(which)) return savePage(page, fileOf(which), inputs_);
        if (!shared_) {
            requireWritableName(output_, inputs_);
            shared_.emplace(output_, kTiffQuality);
        }
        shared_->add(page, Compression::usual);
    }

    /// Without some of its pages, a file is not whole.
    /// @throws FileError
    void finish(size_t failures) {
        if (!shared_) return;
        if (failures > 0) throw FileError("not written, as not all of its pages are there");
        shared_->finish();
    }

  private:
    static constexpr int kTiffQuality = 90;

    bool isShared(const PlannedPage& which) const {
        return isOneToOne_ && which.pageCount > 1 && formatOf(output_) == "TIFF";
    }

    fs::path output_;
    const std::vector<fs::path>& inputs_;
    bool isOneToOne_;
    std::optional<PageWriter> shared_;
};

size_t takePages(const std::vector<PlannedPage>& pages, Results& results,
                 const std::function<Page(Page page, const PlannedPage& which)>& make) {
    size_t failures = 0;
    Progress progress(pages.size());
    for (const PlannedPage& which : pages) {
        progress.show(which.title());
        std::string atFault = which.path();
        try {
            const Page page = make(PageFile(which.file).load(which.number), which);
            atFault = results.fileOf(which).string();
            results.add(page, which);
        } catch (const std::exception& error) {
            progress.clear();
            reportError(atFault, reasonOf(error));
            ++failures;
        }
        progress.step();
    }
    return failures;
}

}  // namespace

int runBatch(const Batch& batch, const Inputs& inputs,
             const std::function<Page(Page page, const PlannedPage& which)>& make) {
    if (inputs.files.empty()) return 1;
    const std::vector<PlannedPage> pages = planPages(inputs.files, {});
    size_t failures = 0;
    try {
        Results results(batch, inputs.files);
        failures = takePages(pages, results, make);
        results.finish(failures);
    } catch (const FileError& error) {
        reportError(batch.output, error.what());
        return 1;
    }
    failures += inputs.failures;
    if (failures > 0 && pages.size() > 1)
        std::cerr << "kelpage: " << failures << " of " << pages.size() + inputs.failures
                  << " pages failed\n";
    return failures > 0 ? 1 : 0;
}

fs::path numberedName(const fs::path& output, int number, bool isOnly) {
    if (isOnly) return output;
    return output.parent_path() /
           (output.stem().string() + "-" + std::to_string(number) + output.extension().string());
}

}  // namespace kelpage
