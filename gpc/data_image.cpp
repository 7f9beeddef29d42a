#include "gpc/data_image.h"

#include <algorithm>

namespace Vantor::gpc {

std::uint32_t DataImage::append(std::span<const std::uint8_t> added) {
    const std::uint32_t address = reserve(static_cast<std::uint32_t>(added.size()));
    if (!overflow)
        std::copy(added.begin(), added.end(), content.end() - static_cast<std::ptrdiff_t>(added.size()));
    return address;
}

std::uint32_t DataImage::reserve(std::uint32_t size) {
    const std::size_t address = imageBase + content.size();
    if (overflow || address + size > kMaxImageEnd) {
        overflow = true;
        return imageBase;
    }
    content.resize(content.size() + size);
    return static_cast<std::uint32_t>(address);
}

std::uint32_t DataImage::addString(const std::string& text) {
    const auto known = strings.find(text);
    if (known != strings.end())
        return known->second;
    const std::uint32_t address =
        append({reinterpret_cast<const std::uint8_t*>(text.c_str()), text.size() + 1});
    if (!overflow)
        strings.emplace(text, address);
    return address;
}

std::uint32_t DataImage::read(std::uint32_t address, std::uint32_t width) const {
    std::uint32_t value = 0;
    const std::size_t begin = address - imageBase;
    for (std::size_t i = begin; i < begin + width && i < content.size(); ++i)
        value = value << 8 | content[i];
    return value;
}

void DataImage::patchU16(std::uint32_t address, std::uint32_t value) {
    const std::size_t at = address - imageBase;
    content[at] = static_cast<std::uint8_t>(value >> 8);
    content[at + 1] = static_cast<std::uint8_t>(value);
}

} // namespace Vantor::gpc
