// The payload that the test producer publishes and that the adapter model checks: it proves that a frame
// arrived whole, which one it was and when it was made. Entry points: fillTestFrame(), checkTestFrame(). Any
// thread; nothing here allocates.

#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace Vantor::simulator {

/// A test frame has kMinTestFrameBytes..kMaxTestFrameBytes bytes, all numbers little-endian:
///   0   uint32  CRC-32 (polynomial 0xEDB88320, reflected, inverted at both ends) of the bytes from 4 on,
///               up to the 255th, since no more than 255 bytes of a frame reach the adapter
///   4   uint64  sequence number of the frame
///   12  uint64  the producer's stamp, monotonic nanoseconds
///   20  ...     one byte each of a pattern made from sequence number and position
inline constexpr std::size_t kMinTestFrameBytes = 20;
inline constexpr std::size_t kMaxTestFrameBytes = 256;

struct TestFrameInfo {
    std::uint64_t sequence = 0;
    std::uint64_t stampNs = 0;
};

namespace detail {

inline constexpr std::size_t kCrcOffset = 0;
inline constexpr std::size_t kSequenceOffset = 4;
inline constexpr std::size_t kStampOffset = 12;
inline constexpr std::size_t kPatternOffset = 20;
inline constexpr std::size_t kForwardedBytes = 255;

inline constexpr auto kCrcTable = [] {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t value = 0; value < table.size(); ++value) {
        std::uint32_t crc = value;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xEDB88320U : 0U);
        table[value] = crc;
    }
    return table;
}();

constexpr std::uint32_t crc32(std::span<const std::uint8_t> bytes) noexcept {
    std::uint32_t crc = 0xFFFFFFFF;
    for (const std::uint8_t byte : bytes)
        crc = (crc >> 8) ^ kCrcTable[(crc ^ byte) & 0xFF];
    return ~crc;
}

constexpr std::uint64_t getLittleEndian(std::span<const std::uint8_t> bytes) noexcept {
    std::uint64_t value = 0;
    for (std::size_t index = bytes.size(); index-- > 0;)
        value = value << 8 | bytes[index];
    return value;
}

constexpr void putLittleEndian(std::span<std::uint8_t> bytes, std::uint64_t value) noexcept {
    for (std::uint8_t& byte : bytes) {
        byte = static_cast<std::uint8_t>(value);
        value >>= 8;
    }
}

constexpr std::span<const std::uint8_t> checkedBytes(std::span<const std::uint8_t> frame) noexcept {
    return frame.first(std::min(frame.size(), kForwardedBytes)).subspan(kSequenceOffset);
}

} // namespace detail

/// Makes `frame` the test frame with that sequence number and stamp. False, with nothing written, when its
/// size is not kMinTestFrameBytes..kMaxTestFrameBytes.
constexpr bool fillTestFrame(std::span<std::uint8_t> frame, std::uint64_t sequence,
                             std::uint64_t stampNs) noexcept {
    if (frame.size() < kMinTestFrameBytes || frame.size() > kMaxTestFrameBytes)
        return false;
    detail::putLittleEndian(frame.subspan(detail::kSequenceOffset, 8), sequence);
    detail::putLittleEndian(frame.subspan(detail::kStampOffset, 8), stampNs);
    // Neighbouring frames and neighbouring bytes differ, so that a mix of two frames cannot look like one.
    for (std::size_t index = detail::kPatternOffset; index < frame.size(); ++index)
        frame[index] = static_cast<std::uint8_t>(sequence * 167 + index * 13);
    detail::putLittleEndian(frame.subspan(detail::kCrcOffset, 4), detail::crc32(detail::checkedBytes(frame)));
    return true;
}

/// What the frame says, or nothing when it is no test frame or any byte of it was changed. The size must be
/// that of the frame as it was filled, or 255 for one of 256 bytes.
constexpr std::optional<TestFrameInfo> checkTestFrame(std::span<const std::uint8_t> frame) noexcept {
    if (frame.size() < kMinTestFrameBytes || frame.size() > kMaxTestFrameBytes)
        return std::nullopt;
    const std::uint64_t crc = detail::getLittleEndian(frame.subspan(detail::kCrcOffset, 4));
    if (crc != detail::crc32(detail::checkedBytes(frame)))
        return std::nullopt;
    return TestFrameInfo{.sequence = detail::getLittleEndian(frame.subspan(detail::kSequenceOffset, 8)),
                         .stampNs = detail::getLittleEndian(frame.subspan(detail::kStampOffset, 8))};
}

} // namespace Vantor::simulator
