#include "highgui_module.h"

#include <dlfcn.h>

#include <cstdio>
#include <stdexcept>

namespace kel::detail {
namespace {

/// The folder of the library itself, with a slash at its end; empty if it cannot be told.
std::string ownFolder() {
    static const char anchor = 0;
    Dl_info info{};
    if (!dladdr(&anchor, &info) || !info.dli_fname) return {};
    const std::string file = info.dli_fname;
    return file.substr(0, file.rfind('/') + 1);
}

const HighguiModule* loadModule() {
    // Beside the library first, then wherever the loader looks. Never unloaded: the codecs behind
    // it keep state of their own.
    void* handle = dlopen((ownFolder() + KEL_HIGHGUI_MODULE_FILE).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) handle = dlopen(KEL_HIGHGUI_MODULE_FILE, RTLD_NOW | RTLD_LOCAL);
    if (!handle) return nullptr;
    using Entry = const HighguiModule* (*)();
    const auto entry = reinterpret_cast<Entry>(dlsym(handle, kHighguiModuleEntry));
    const HighguiModule* module = entry ? entry() : nullptr;
    return module && module->version == kHighguiModuleVersion ? module : nullptr;
}

}  // namespace

const HighguiModule* highguiModule() {
    static const HighguiModule* const module = loadModule();
    return module;
}

cv::Mat readImageFile(const std::string& name, int flags) {
    const HighguiModule* module = highguiModule();
    return module ? module->read(name, flags) : cv::Mat();
}

void writeImageFile(const std::string& name, const cv::Mat& image) {
    if (const HighguiModule* module = highguiModule()) {
        module->write(name, image);
        return;
    }
    std::fprintf(stderr, "KelImageLib: cannot write %s: %s is missing\n", name.c_str(),
                 KEL_HIGHGUI_MODULE_FILE);
}

void showUntilKey(const std::vector<ShownImage>& images) {
    const HighguiModule* module = highguiModule();
    if (module && module->showUntilKey(images)) return;
    std::fprintf(stderr, "KelImageLib: cannot show images: %s\n",
                 module ? "there is no display" : KEL_HIGHGUI_MODULE_FILE " is missing");
}

std::string fileName(const char* name) {
    if (!name) throw std::logic_error("basic_string::_M_construct null not valid");
    return name;
}

}  // namespace kel::detail
