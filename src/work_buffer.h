// Array memory that is not filled on allocation: work planes, and sample buffers for the caller.
#pragma once

#include <cstddef>
#include <memory>

#include "kernels/large_blocks.h"

namespace kel::detail {

/// Owns an uninitialised array. `Element` is a plain number type.
template <class Element>
class WorkBuffer {
  public:
    explicit WorkBuffer(size_t count) : data_(new Element[count]), count_(count) {
        preferLargePages(data_.get(), count * sizeof(Element));
    }

    Element* data() { return data_.get(); }
    size_t size() const { return count_; }
    Element& operator[](size_t i) { return data_[i]; }
    const Element* data() const { return data_.get(); }
    const Element& operator[](size_t i) const { return data_[i]; }

    /// Hands the array over to the caller, who gives it back with array `delete`.
    Element* release() { return data_.release(); }

  private:
    std::unique_ptr<Element[]> data_;
    size_t count_;
};

using WorkPlane = WorkBuffer<unsigned char>;
using SampleBuffer = WorkBuffer<unsigned char>;

}  // namespace kel::detail
