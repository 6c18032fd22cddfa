#include "attributes.h"

#include <algorithm>
#include <cstring>

#include "im.h"

namespace im {

namespace {

// NaN and infinity come from files too.
bool isSensible(float dots) {
    return dots > 0.0F && dots < 1e9F;
}

bool floatOf(const Attribute* attribute, float& value) {
    if (attribute == nullptr || attribute->dataType != IM_FLOAT) return false;
    std::memcpy(&value, attribute->bytes.data(), sizeof value);
    return isSensible(value);
}

}  // namespace

void Attributes::set(std::string_view name, int dataType, int count, const void* data) {
    const auto at = std::find_if(all_.begin(), all_.end(),
                                 [name](const Attribute& a) { return a.name == name; });
    const int size = imDataTypeSize(dataType);
    if (data == nullptr || size == 0 || count < 1) {
        if (at != all_.end() && data == nullptr) all_.erase(at);
        return;
    }
    const auto* const first = static_cast<const uint8_t*>(data);
    std::vector<uint8_t> bytes(first,
                               first + static_cast<size_t>(size) * static_cast<size_t>(count));
    if (at != all_.end()) {
        at->dataType = dataType;
        at->count = count;
        at->bytes = std::move(bytes);
    } else {
        all_.push_back({std::string(name), dataType, count, std::move(bytes)});
    }
}

void Attributes::setInt(std::string_view name, int value) {
    set(name, IM_INT, 1, &value);
}

void Attributes::setResolution(Resolution resolution) {
    if (!isSensible(resolution.x) || !isSensible(resolution.y)) return;
    set("XResolution", IM_FLOAT, 1, &resolution.x);
    set("YResolution", IM_FLOAT, 1, &resolution.y);
    set("ResolutionUnit", IM_BYTE, 4, resolution.perCentimetre ? "DPC" : "DPI");
}

const Attribute* Attributes::find(std::string_view name) const {
    for (const Attribute& a : all_)
        if (a.name == name) return &a;
    return nullptr;
}

int Attributes::intOr(std::string_view name, int otherwise) const {
    const Attribute* const a = find(name);
    if (a == nullptr || a->dataType != IM_INT) return otherwise;
    int value = 0;
    std::memcpy(&value, a->bytes.data(), sizeof value);
    return value;
}

bool Attributes::resolution(Resolution& resolution) const {
    const Attribute* const unit = find("ResolutionUnit");
    Resolution found{};
    if (unit == nullptr || unit->dataType != IM_BYTE || unit->count < 3 ||
        !floatOf(find("XResolution"), found.x) || !floatOf(find("YResolution"), found.y))
        return false;
    found.perCentimetre = std::memcmp(unit->bytes.data(), "DPC", 3) == 0;
    if (!found.perCentimetre && std::memcmp(unit->bytes.data(), "DPI", 3) != 0) return false;
    resolution = found;
    return true;
}

bool Attributes::dotsPerInch(float& x, float& y) const {
    Resolution r{};
    if (!resolution(r)) return false;
    const float scale = r.perCentimetre ? 2.54F : 1.0F;
    x = r.x * scale;
    y = r.y * scale;
    return true;
}

}  // namespace im
