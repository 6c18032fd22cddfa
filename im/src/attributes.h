// The attributes of an image in a file: named runs of samples, in the order of their setting.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace im {

struct Attribute {
    std::string name;
    int dataType;
    int count;
    std::vector<uint8_t> bytes;
};

/// Resolution as files state it.
struct Resolution {
    float x, y;
    bool perCentimetre;
};

class Attributes {
  public:
    /// Sets or, with null data, takes away.
    void set(std::string_view name, int dataType, int count, const void* data);
    void setInt(std::string_view name, int value);
    void setResolution(Resolution resolution);

    const Attribute* find(std::string_view name) const;
    /// The first element of an IM_INT attribute.
    int intOr(std::string_view name, int otherwise) const;
    /// All three attributes, with values above 0 and a known unit; false otherwise.
    bool resolution(Resolution& resolution) const;
    /// The same in dots per inch.
    bool dotsPerInch(float& x, float& y) const;

    const std::deque<Attribute>& all() const { return all_; }

  private:
    std::deque<Attribute> all_;  // names stay where they are when others come
};

}  // namespace im
