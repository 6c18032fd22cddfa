#include "run_plan.h"

#include <algorithm>
#include <map>
#include <set>

#include "page_file.h"
#include "plain_text.h"

namespace kelpage {
namespace {

int pagesOf(const fs::path& file) {
    try {
        return std::max(1, PageFile(file).pageCount());
    } catch (const FileError&) {
        return 1;  // said when its turn comes
    }
}

/// "page", or "page.jpg" where two files share a stem; without repetition.
std::vector<std::string> baseNames(const std::vector<fs::path>& files) {
    std::map<std::string, int> uses;
    for (const fs::path& file : files)
        ++uses[file.stem().string()];
    std::vector<std::string> names;
    std::set<std::string> taken;
    for (const fs::path& file : files) {
        const bool shared = uses[file.stem().string()] > 1;
        const std::string base = (shared ? file.filename() : file.stem()).string();
        std::string name = base;
        for (int n = 2; !taken.insert(name).second; ++n)
            name = base + "-" + std::to_string(n);
        names.push_back(name);
    }
    return names;
}

/// "scan-007" of 120 pages.
std::string numberedName(const std::string& base, int number, int count) {
    if (count == 1) return base;
    const std::string digits = std::to_string(number);
    return base + "-" + std::string(std::to_string(count).size() - digits.size(), '0') + digits;
}

/// Names that are taken, with their suffixes.
class Names {
  public:
    explicit Names(const std::vector<std::string>& suffixes) : suffixes_(suffixes) {}

    std::string take(const std::string& wanted) {
        std::string name = wanted;
        for (int n = 2; !isFree(name); ++n)
            name = wanted + "-" + std::to_string(n);
        taken_.insert(name);
        for (const std::string& suffix : suffixes_)
            taken_.insert(name + suffix);
        return name;
    }

  private:
    bool isFree(const std::string& name) const {
        return taken_.count(name) == 0 &&
               std::none_of(suffixes_.begin(), suffixes_.end(),
                            [&](const std::string& s) { return taken_.count(name + s) > 0; });
    }

    const std::vector<std::string>& suffixes_;
    std::set<std::string> taken_;
};

}  // namespace

std::string PlannedPage::title() const {
    const std::string shown = inOneLine(file.filename().string());
    return pageCount == 1 ? shown : shown + ", page " + std::to_string(number);
}

std::string PlannedPage::path() const {
    return (file.parent_path() / title()).string();
}

std::vector<PlannedPage> planPages(const std::vector<fs::path>& files,
                                   const std::vector<std::string>& suffixes) {
    const std::vector<std::string> bases = baseNames(files);
    Names names(suffixes);
    std::vector<PlannedPage> pages;
    for (size_t i = 0; i < files.size(); ++i) {
        const int count = pagesOf(files[i]);
        for (int number = 1; number <= count; ++number)
            pages.push_back(
                {files[i], number, count, names.take(numberedName(bases[i], number, count))});
    }
    return pages;
}

}  // namespace kelpage
