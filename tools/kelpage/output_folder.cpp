#include "output_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

namespace kelpage {
namespace {

bool identityOf(const fs::path& file, std::pair<dev_t, ino_t>& identity) {
    struct stat facts {};
    if (stat(file.c_str(), &facts) != 0) return false;
    identity = {facts.st_dev, facts.st_ino};
    return true;
}

}  // namespace

Protected::Protected(const std::vector<fs::path>& files) {
    std::pair<dev_t, ino_t> identity;
    for (const fs::path& file : files)
        if (identityOf(file, identity)) files_.insert(identity);
}

bool Protected::has(const fs::path& file) const {
    std::pair<dev_t, ino_t> identity;
    return identityOf(file, identity) && files_.count(identity) > 0;
}

OutputFolder::OutputFolder(fs::path folder, const Protected& inputs)
    : folder_(std::move(folder)), inputs_(inputs) {
    makeFolder(own());
    lock_ = open((own() / "lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (lock_ < 0) throw FileError("cannot be written to");
    if (flock(lock_, LOCK_EX | LOCK_NB) != 0) {
        close(lock_);
        throw FileError("another run works in this folder");
    }
    std::error_code error;
    fs::remove_all(own() / "aside", error);
    makeFolder(own() / "aside");
}

OutputFolder::~OutputFolder() {
    std::error_code error;
    fs::remove_all(own() / "aside", error);
    close(lock_);
}

bool OutputFolder::isOwn(const fs::path& path) {
    return std::find(path.begin(), path.end(), kOwnName) != path.end();
}

fs::path OutputFolder::aside(const std::string& name) const {
    if (inputs_.has(folder_ / name)) throw FileError("would overwrite the input " + name);
    return own() / "aside" / name;
}

void OutputFolder::place(const std::string& name) const {
    std::error_code error;
    fs::rename(aside(name), folder_ / name, error);
    if (error) throw FileError(name + " cannot be written: " + error.message());
}

void OutputFolder::discard(const std::string& name) const {
    std::error_code error;
    fs::remove(own() / "aside" / name, error);
}

void OutputFolder::remove(const std::string& name) const {
    std::error_code error;
    if (!inputs_.has(folder_ / name)) fs::remove(folder_ / name, error);
}

}  // namespace kelpage
