// The data image: constant tables, strings, initial values, wait tables and jump tables, at the addresses
// that they will have in the file. It is closed before the first instruction is written. One compilation.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Vantor::gpc {

/// An operand with its top bit set is relative to the frame pointer, so the image must end below.
inline constexpr std::uint32_t kMaxImageEnd = 0x8000;

class DataImage {
public:
    /// `base`: offset in the file of the image's first byte.
    void begin(std::uint32_t base) { imageBase = base; }

    /// Each returns the address of what it appended. Past kMaxImageEnd nothing is kept and full() is set.
    std::uint32_t append(std::span<const std::uint8_t> content);
    std::uint32_t reserve(std::uint32_t size);
    /// The content and a zero byte; the same content twice is kept once.
    std::uint32_t addString(const std::string& content);

    /// The big-endian number of `width` bytes at an address that was handed out.
    std::uint32_t read(std::uint32_t address, std::uint32_t width) const;
    /// Two bytes of something that was appended, changed for later reads. The file's bytes are the Emitter's.
    void patchU16(std::uint32_t address, std::uint32_t value);

    bool full() const { return overflow; }
    std::span<const std::uint8_t> bytes() const { return content; }

private:
    std::uint32_t imageBase = 0;
    std::vector<std::uint8_t> content;
    std::unordered_map<std::string, std::uint32_t> strings;
    bool overflow = false;
};

} // namespace Vantor::gpc
