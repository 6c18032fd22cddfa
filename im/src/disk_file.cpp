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

/// A name beside the target that no other file of this process gets.
std::string nextName(const Target& target) {
    static std::atomic<unsigned> count{0};
    return target.folder + ".im-" + std::to_string(::getpid()) + "-" +
           std::to_string(count.fetch_add(1)) + ".part";
}

class NewFile : public DiskFile {
  public:
    /// @param aside the name of the file until it is whole; empty for a file without one
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
        if (aside_.empty() && !target_.byCopy) nameAside();
        const bool renamed = !aside_.empty() && !target_.byCopy &&
                             ::rename(aside_.c_str(), target_.path.c_str()) == 0;
        if (renamed) aside_.clear();
        good_ = renamed || copyOver();
        return good_;
    }

  private:
    // Gives a file without a name one beside its target.
    void nameAside() noexcept try {
        const std::string self = "/proc/self/fd/" + std::to_string(descriptor_.get());
        std::string name = nextName(target_);
        if (::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0)
            aside_ = std::move(name);
    } catch (const std::bad_alloc&) {
    }

    bool copyOver() noexcept try {
        const Descriptor to(
            ::open(target_.path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0666));
        const auto bytes = static_cast<off_t>(size_);
        // Room first: a full disk is the likeliest to fail.
        if (!to || ::posix_fallocate(to.get(), 0, bytes) == ENOSPC) return false;
        std::vector<uint8_t> piece(1 << 20);
        for (uint64_t at = 0; at < size_;) {
            const size_t got = readAt(descriptor_.get(), piece.data(), piece.size(), at);
            if (got == 0 || writeAt(to.get(), piece.data(), got, at) != got) return false;
            at += got;
        }
        return ::ftruncate(to.get(), bytes) == 0;
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
    struct stat about {};
    // A link to nowhere stays one.
    if (real == nullptr && ::lstat(path, &about) == 0) return false;
    target.path = real != nullptr ? real.get() : path;
    target.folder = target.path.substr(0, target.path.rfind('/') + 1);
    target.exists = ::stat(target.path.c_str(), &about) == 0;
    if (!target.exists) return true;
    if (!S_ISREG(about.st_mode) || ::faccessat(AT_FDCWD, path, W_OK, AT_EACCESS) != 0) return false;
    target.byCopy = about.st_nlink > 1 || about.st_uid != ::geteuid();
    target.permissions = about.st_mode & 07777;
    return true;
}

/// A new file in the target's folder, or none. It has no name where the file system can do that, so
/// that nothing is left of it when the process ends early.
Descriptor createAside(const Target& target, std::string& name) {
    const char* const folder = target.folder.empty() ? "." : target.folder.c_str();
    Descriptor nameless(::open(folder, O_TMPFILE | O_RDWR | O_CLOEXEC, 0666));
    if (nameless) return nameless;
    for (int tries = 0; tries < 100; ++tries) {
        name = nextName(target);
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
