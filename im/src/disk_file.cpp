#include "disk_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

namespace im {
namespace {

/// An open file that closes itself.
class Descriptor {
  public:
    explicit Descriptor(int number = -1) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (number_ >= 0) ::close(number_);
    }
    int get() const { return number_; }
    explicit operator bool() const { return number_ >= 0; }

  private:
    int number_;
};

size_t readAt(int descriptor, void* to, size_t count, uint64_t position) {
    size_t done = 0;
    while (done < count) {
        const ssize_t got = ::pread(descriptor, static_cast<uint8_t*>(to) + done, count - done,
                                    static_cast<off_t>(position + done));
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        done += static_cast<size_t>(got);
    }
    return done;
}

size_t writeAt(int descriptor, const void* from, size_t count, uint64_t position) {
    size_t done = 0;
    while (done < count) {
        const ssize_t put = ::pwrite(descriptor, static_cast<const uint8_t*>(from) + done,
                                     count - done, static_cast<off_t>(position + done));
        if (put < 0 && errno == EINTR) continue;
        if (put <= 0) break;
        done += static_cast<size_t>(put);
    }
    return done;
}

class DiskFile : public BinaryFile {
  public:
    DiskFile(Descriptor descriptor, uint64_t size)
        : descriptor_(std::move(descriptor)), size_(size) {}

    size_t read(void* to, size_t count) noexcept override {
        const size_t got = readAt(descriptor_.get(), to, count, position_);
        position_ += got;
        return got;
    }

    bool write(const void*, size_t) noexcept override { return false; }
    uint64_t size() const noexcept override { return size_; }

  protected:
    Descriptor descriptor_;
    uint64_t size_;
};

/// Where a new file goes, and how.
struct Target {
    std::string path;    ///< links resolved
    std::string folder;  ///< with its last '/', or empty
    bool exists = false;
    bool byCopy = false;  ///< its own inode is to stay: another's file, or one with other names
    mode_t permissions = 0;
};

class NewFile : public DiskFile {
  public:
    /// @param aside the name of the file until it is whole; empty for a file without a name
    NewFile(Descriptor descriptor, std::string aside, Target target)
        : DiskFile(std::move(descriptor), 0),
          aside_(std::move(aside)),
          target_(std::move(target)) {}
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    ~NewFile() override {
        if (!aside_.empty()) ::unlink(aside_.c_str());
    }

    bool write(const void* from, size_t count) noexcept override {
        const size_t put = writeAt(descriptor_.get(), from, count, position_);
        position_ += put;
        size_ = std::max(size_, position_);
        good_ = good_ && put == count;
        return put == count;
    }

    bool finish() noexcept override {
        if (finished_ || !good_) return good_;
        finished_ = true;
        const bool renamed = !aside_.empty() && !target_.byCopy &&
                             ::rename(aside_.c_str(), target_.path.c_str()) == 0;
        if (renamed) aside_.clear();
        good_ = renamed || copyOver();
        return good_;
    }

  private:
    bool copyOver() noexcept try {
        const Descriptor to(::open(target_.path.c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NONBLOCK, 0666));
        if (!to) return false;
        std::vector<uint8_t> piece(1 << 20);
        for (uint64_t at = 0; at < size_;) {
            const size_t got = readAt(descriptor_.get(), piece.data(), piece.size(), at);
            if (got == 0 || writeAt(to.get(), piece.data(), got, at) != got) return false;
            at += got;
        }
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }

    std::string aside_;
    Target target_;
    bool good_ = true;
    bool finished_ = false;
};

/// False where no file can be put.
bool findTarget(const char* path, Target& target) {
    // NOLINTNEXTLINE(cppcoreguidelines-no-malloc): realpath's own
    const std::unique_ptr<char, void (*)(void*)> real(::realpath(path, nullptr), std::free);
    target.path = real != nullptr ? real.get() : path;
    target.folder = target.path.substr(0, target.path.rfind('/') + 1);
    struct stat about {};
    target.exists = ::stat(target.path.c_str(), &about) == 0;
    if (!target.exists) return true;
    if (!S_ISREG(about.st_mode) || ::faccessat(AT_FDCWD, path, W_OK, AT_EACCESS) != 0) return false;
    target.byCopy = about.st_nlink > 1 || about.st_uid != ::geteuid();
    target.permissions = about.st_mode & 07777;
    return true;
}

/// A new file beside the target, or an error.
Descriptor createAside(const Target& target, std::string& name) {
    static std::atomic<unsigned> count{0};
    for (int tries = 0; tries < 100; ++tries) {
        name = target.folder + ".im-" + std::to_string(::getpid()) + "-" +
               std::to_string(count.fetch_add(1)) + ".part";
        const int number = ::open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (number >= 0 || errno != EEXIST) return Descriptor(number);
    }
    return Descriptor();
}

}  // namespace

std::unique_ptr<BinaryFile> openDiskFile(const char* path) {
    Descriptor descriptor(::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!descriptor) return nullptr;
    struct stat about {};
    // Only regular files have a size that the readers can rely on.
    if (::fstat(descriptor.get(), &about) != 0 || !S_ISREG(about.st_mode)) return nullptr;
    return std::make_unique<DiskFile>(std::move(descriptor), static_cast<uint64_t>(about.st_size));
}

std::unique_ptr<BinaryFile> createDiskFile(const char* path) {
    Target target;
    if (!findTarget(path, target)) return nullptr;
    std::string name;
    Descriptor aside = createAside(target, name);
    if (aside) {
        if (target.exists && !target.byCopy) ::fchmod(aside.get(), target.permissions);
        return std::make_unique<NewFile>(std::move(aside), std::move(name), std::move(target));
    }
    if (!target.exists) return nullptr;
    // A file that may be written in a folder that may not: kept without a name until it is whole.
    std::FILE* const nameless = std::tmpfile();
    if (nameless == nullptr) return nullptr;
    Descriptor own(::fcntl(::fileno(nameless), F_DUPFD_CLOEXEC, 0));
    std::fclose(nameless);
    if (!own) return nullptr;
    return std::make_unique<NewFile>(std::move(own), "", std::move(target));
}

}  // namespace im
