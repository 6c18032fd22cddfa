#include "tiff_chain.h"

#include <algorithm>
#include <unordered_set>

namespace im {
namespace {

constexpr size_t kHeadBytes = 16;

size_t countBytes(const TiffChain& chain) {
    return chain.big ? 8 : 2;
}
size_t entryBytes(const TiffChain& chain) {
    return chain.big ? 20 : 12;
}
size_t offsetBytes(const TiffChain& chain) {
    return chain.big ? 8 : 4;
}
/// Where the header tells the first directory.
size_t fieldAt(const TiffChain& chain) {
    return chain.big ? 8 : 4;
}

uint64_t numberOf(const TiffChain& chain, const uint8_t* bytes, size_t count) {
    uint64_t value = 0;
    for (size_t i = 0; i < count; ++i)
        value = value << 8 | bytes[chain.bigEndian ? i : count - 1 - i];
    return value;
}

/// Where the next directory is, 0 for nowhere; false where this one is not whole. One read will
/// mostly do.
bool nextOf(BinaryFile& file, const TiffChain& chain, uint64_t at, uint64_t& next) {
    constexpr size_t usualEntries = 40;
    uint8_t bytes[8 + 20 * usualEntries + 8];
    file.seek(at);
    const size_t got = file.read(bytes, sizeof bytes);
    if (got < countBytes(chain)) return false;
    const uint64_t entries = numberOf(chain, bytes, countBytes(chain));
    constexpr uint64_t mostEntries = 65535;
    if (entries > mostEntries) return false;
    size_t end = countBytes(chain) + static_cast<size_t>(entries) * entryBytes(chain);
    if (end + offsetBytes(chain) > got) {
        if (end > file.size() || at > file.size() - end) return false;
        file.seek(at + end);
        // A file that ends right behind its last entry has no next one.
        if (file.read(bytes, offsetBytes(chain)) != offsetBytes(chain)) {
            next = 0;
            return true;
        }
        end = 0;
    }
    next = numberOf(chain, bytes + end, offsetBytes(chain));
    return true;
}

class Restarted : public BinaryFile {
  public:
    Restarted(BinaryFile& file, const TiffChain& chain, uint64_t directory) : file_(file) {
        file_.seek(0);
        headBytes_ = file_.read(head_, sizeof head_);
        for (size_t i = 0; i < offsetBytes(chain); ++i) {
            const size_t place = chain.bigEndian ? offsetBytes(chain) - 1 - i : i;
            head_[fieldAt(chain) + place] = static_cast<uint8_t>(directory >> 8 * i);
        }
    }

    size_t read(void* to, size_t count) noexcept override {
        auto* const out = static_cast<uint8_t*>(to);
        size_t done = 0;
        for (; done < count && position_ < headBytes_; ++done)
            out[done] = head_[position_++];
        file_.seek(position_);
        const size_t got = file_.read(out + done, count - done);
        position_ += got;
        return done + got;
    }
    bool write(const void*, size_t) noexcept override { return false; }
    uint64_t size() const noexcept override { return file_.size(); }

  private:
    BinaryFile& file_;
    uint8_t head_[kHeadBytes] = {};
    size_t headBytes_;
};

}  // namespace

TiffChain readTiffChain(BinaryFile& file, size_t most) {
    uint8_t head[kHeadBytes] = {};
    file.seek(0);
    const size_t got = file.read(head, sizeof head);
    TiffChain chain;
    chain.bigEndian = head[0] == 'M';
    chain.big = numberOf(chain, head + 2, 2) == 43;
    if (got < fieldAt(chain) + offsetBytes(chain)) return chain;

    std::unordered_set<uint64_t> seen;
    uint64_t at = numberOf(chain, head + fieldAt(chain), offsetBytes(chain)), next = 0;
    while (at != 0 && chain.directories.size() < most && seen.insert(at).second) {
        chain.cutOff = !nextOf(file, chain, at, next);
        if (chain.cutOff) break;
        chain.directories.push_back(at);
        at = next;
    }
    return chain;
}

std::unique_ptr<BinaryFile> startingAt(BinaryFile& file, const TiffChain& chain, size_t directory) {
    return std::make_unique<Restarted>(file, chain, chain.directories[directory]);
}

}  // namespace im
