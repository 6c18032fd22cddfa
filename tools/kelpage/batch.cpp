// One result page for each input page.
#include "batch.h"

#include <exception>
#include <iostream>

#include "progress.h"

namespace kelpage {
namespace {

bool isOneToOne(const Batch& batch) {
    return batch.inputs.size() == 1 && !isFolder(batch.inputs[0]) && !isFolder(batch.output) &&
           fs::path(batch.output).has_extension();
}

}  // namespace

int runBatch(const Batch& batch, const Inputs& inputs,
             const std::function<Page(Page page, const fs::path& file)>& make) {
    const std::vector<fs::path>& files = inputs.files;
    if (files.empty()) return 1;
    std::vector<fs::path> results = {fs::path(batch.output)};
    if (!isOneToOne(batch)) {
        results = resultNames(files, batch.output);
        try {
            makeFolder(batch.output);
        } catch (const FileError& error) {
            reportError(batch.output, error.what());
            return 1;
        }
    }

    size_t failures = inputs.failures;
    Progress progress(files.size());
    for (size_t i = 0; i < files.size(); ++i) {
        progress.show(files[i].filename().string());
        fs::path atFault = files[i];
        try {
            const Page page = make(loadPage(files[i]), files[i]);
            atFault = results[i];
            savePage(page, results[i], files);
        } catch (const std::exception& error) {
            progress.clear();
            reportError(atFault, reasonOf(error));
            ++failures;
        }
        progress.step();
    }
    progress.clear();
    if (failures > 0 && files.size() > 1)
        std::cerr << "kelpage: " << failures << " of " << files.size() + inputs.failures
                  << " inputs failed\n";
    return failures > 0 ? 1 : 0;
}

}  // namespace kelpage
