// GPC2 Input Translator files (.git): checks the structure, keeps title and tagged sections. Entry point:
// parseInputTranslator(). The mapping data inside the sections is the device's business and is not looked at.
// No state; any thread.

#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Vantor::gpc {

struct InputTranslatorSection {
    std::uint8_t tag = 0;
    std::vector<std::uint8_t> data; ///< 0 to 255 bytes
};

struct InputTranslator {
    std::string title; ///< 0 to 254 bytes in no particular encoding, without the terminating NUL
    std::vector<InputTranslatorSection> sections; ///< in file order; each kind of map at most once
};

/// "cmap", "kmap", "mmap" or "mxyc"; empty for a tag that no section has.
std::string_view inputTranslatorSectionName(std::uint8_t tag) noexcept;

/// True: `result` is replaced and `error` cleared. False: `result` is as it was and `error` says why.
/// Sets no upper size; what a memory slot takes is the sender's limit.
bool parseInputTranslator(std::span<const std::uint8_t> file, InputTranslator& result, std::string& error);

} // namespace Vantor::gpc
