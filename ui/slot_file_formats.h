// The files that a memory slot takes: their suffixes, and the formats by which they are dragged. Shared by
// the panel and by hosts that offer files to drag. Constants alone: no library is needed.

#pragma once

#include <array>

namespace Vantor {

enum class SlotFileKind { gpcSource, gpcBytecode, inputTranslator };

// The data of each format is a file's path, as UTF-8.
inline constexpr char kGpcSourceMimeType[] = "application/x-vantor-gpc-source-file";
inline constexpr char kGpcBytecodeMimeType[] = "application/x-vantor-gpc-bytecode-file";
inline constexpr char kInputTranslatorMimeType[] = "application/x-vantor-gpc-input-translator-file";

struct SlotFileFormat {
    SlotFileKind kind;
    const char* mimeType;
    const char* suffix; ///< without the dot, in small letters; files may have it in any case
};

inline constexpr std::array<SlotFileFormat, 3> kSlotFileFormats{{
    {SlotFileKind::gpcSource, kGpcSourceMimeType, "gpc"},
    {SlotFileKind::gpcBytecode, kGpcBytecodeMimeType, "gbc"},
    {SlotFileKind::inputTranslator, kInputTranslatorMimeType, "git"},
}};

} // namespace Vantor
