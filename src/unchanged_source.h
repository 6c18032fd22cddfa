// Sources that stay as they are while the result is written.
#pragma once

#include <cstring>
#include <optional>

#include "plane_view.h"
#include "work_buffer.h"

namespace kel::detail {

/// The samples of a source of `bytes` bytes; a copy of them where the target shares memory with it.
class UnchangedSource {
  public:
    UnchangedSource(const unsigned char* src, const unsigned char* dst, size_t bytes) : data_(src) {
        if (!overlaps(src, bytes, dst, bytes)) return;
        std::memcpy(copy_.emplace(bytes).data(), src, bytes);
        data_ = copy_->data();
    }

    const unsigned char* data() const { return data_; }

  private:
    const unsigned char* data_;
    std::optional<WorkPlane> copy_;
};

}  // namespace kel::detail
