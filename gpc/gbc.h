// Layout of a compiled file's beginning: entry header and script-information block. The instructions behind
// them are opcodes.h's business. All numbers are big-endian.
#pragma once

#include "gpc/emitter.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Vantor::gpc {

//   0  1  jump opcode
//   1  2  code offset: the first instruction
//   3  4  build stamp
//   7  n  script information: title, 0, first number, second number, second text, 0
inline constexpr std::uint32_t kCodeOffsetPosition = 1;
inline constexpr std::uint32_t kEntryHeaderBytes = 7;
inline constexpr std::uint32_t kMaxSlotBytes = 8192;

/// What a METAINFO pragma says. Each text ends at its first zero byte when the file is read.
struct ScriptInfo {
    std::string title;
    std::uint8_t first = 0;
    std::uint8_t second = 0;
    std::string text;
};

/// Finds the first METAINFO pragma of a source that is not preprocessed yet; nullopt without one, and when it
/// is malformed.
std::optional<ScriptInfo> findScriptInfo(std::string_view source);

/// Entry header and script-information block together: where the data image begins.
std::uint32_t headerBytes(const std::optional<ScriptInfo>& info);

/// Writes them; `imageBytes` lie between them and the code.
void emitHeader(Emitter& code, std::uint32_t buildStamp, const std::optional<ScriptInfo>& info,
                std::uint32_t imageBytes);

} // namespace Vantor::gpc
