// kelpage binarize: pages in, binary pages out.
#include <exception>
#include <iostream>

#include "commands.h"
#include "methods.h"
#include "page_files.h"
#include "progress.h"

namespace kelpage {
namespace {

Settings settingsOf(const BinarizeArguments& arguments) {
    Settings settings = usualSettings(arguments.method);
    settings.thres = arguments.thres.value_or(settings.thres);
    settings.blockSize = arguments.blockSize.value_or(settings.blockSize);
    settings.param1 = arguments.param1.value_or(settings.param1);
    settings.invert = arguments.invert;
    return settings;
}

/// One file goes to one file; several, or a folder, go into a folder.
bool isOneToOne(const BinarizeArguments& arguments) {
    return arguments.inputs.size() == 1 && !isFolder(arguments.inputs[0]) &&
           !isFolder(arguments.output) && fs::path(arguments.output).has_extension();
}

}  // namespace

int runBinarize(const BinarizeArguments& arguments) {
    const Settings settings = settingsOf(arguments);
    const Inputs inputs = collectFiles(arguments.inputs);
    const std::vector<fs::path>& files = inputs.files;
    if (files.empty()) return 1;
    std::vector<fs::path> results = {fs::path(arguments.output)};
    if (!isOneToOne(arguments)) {
        results = resultNames(files, arguments.output);
        try {
            makeFolder(arguments.output);
        } catch (const FileError& error) {
            reportError(arguments.output, error.what());
            return 1;
        }
    }

    size_t failures = inputs.failures;
    Progress progress(files.size());
    for (size_t i = 0; i < files.size(); ++i) {
        progress.show(files[i].filename().string());
        fs::path atFault = files[i];
        try {
            const Page binary = binarize(loadPage(files[i]), settings);
            atFault = results[i];
            savePage(binary, results[i], files);
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
