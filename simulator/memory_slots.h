// The adapter's nine memory slots: the files that they hold, what the files say of themselves, and the
// listing that tells a host of them. Slots are numbered 1..9; any other number is a mistake of the caller's
// and does nothing. One thread; no allocation.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace Vantor::simulator {

inline constexpr unsigned kMemorySlots = 9;

/// What a slot can hold, one of each.
enum class SlotPart : std::uint8_t { script, translator };

class MemorySlots {
public:
    static constexpr std::size_t kMaxScriptBytes = 8192;
    static constexpr std::size_t kMaxTranslatorBytes = 254;
    static constexpr std::size_t kListingBytes = 32 * std::size_t{60};

    /// Keeps a copy of the file in the place of what was there. Nullptr, or what is wrong with it (static
    /// storage), and then nothing changes. A translator is not looked into.
    const char* keep(unsigned slot, SlotPart part, std::span<const std::uint8_t> file) noexcept;
    void clear(unsigned slot, SlotPart part) noexcept;
    /// Empty when there is none. Valid until the slot changes.
    std::span<const std::uint8_t> file(unsigned slot, SlotPart part) const noexcept;
    bool isEmpty(unsigned slot) const noexcept;

    /// Writes the records of all nine slots, as they go out in the listing's parts; returns their length.
    /// Texts are cut to 63 bytes, so that nine full slots fit.
    std::size_t writeListing(std::span<std::uint8_t, kListingBytes> stream) const noexcept;

private:
    struct Slot {
        std::array<std::uint8_t, kMaxScriptBytes> script{};
        std::array<std::uint8_t, kMaxTranslatorBytes> translator{};
        std::size_t scriptBytes = 0;
        std::size_t translatorBytes = 0;
    };

    std::array<Slot, kMemorySlots> places;
};

/// A script that does nothing, so that inputs pass through; for adapters that are to have content from the
/// start. Texts must not contain zero bytes. Writes at most `file.size()` bytes and returns how many, 0 when
/// they do not fit.
std::size_t writeIdleScript(std::span<std::uint8_t> file, std::string_view title, std::uint8_t major,
                            std::uint8_t minor, std::string_view author) noexcept;

} // namespace Vantor::simulator
