// Turns a GBC file back into something a person can read: header, script information, the data image with its
// tables, and every instruction with labels, and variables explained. Entry points: disassemble(),
// printListing(). Reads nothing but the bytes it is given; a malformed file is refused with a reason. Linear
// cost; any thread.

#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace Vantor::gpc {

/// One line. Labels and headings have no bytes.
struct ListingLine {
    enum class Kind : std::uint8_t { Heading, Label, Data, Code };
    Kind kind = Kind::Code;
    std::uint32_t offset = 0; ///< of the first byte, from the start of the file
    std::vector<std::uint8_t> bytes;
    std::string text;     ///< Heading: the sentence; Label: the name; Data: what it is; Code: the mnemonic
    std::string operands; ///< as people read them, separated by ", "; addresses in the code as labels
    std::string comment;  ///< what the operands stand for; empty when there is nothing to say
};

struct ScriptInformation {
    std::string title;
    std::uint8_t first = 0;
    std::uint8_t second = 0;
    std::string author;
};

/// Either lines, or an error and no lines.
struct Listing {
    std::uint32_t buildStamp = 0;
    std::uint32_t codeOffset = 0;
    ScriptInformation information; ///< empty texts and zeros when the script has none
    std::vector<ListingLine> lines;
    std::string error;
};

/// Files of more than 65536 bytes are refused, the limit of a memory slot is not enforced.
[[nodiscard]] Listing disassemble(std::span<const std::uint8_t> file);

/// The lines as aligned text, one line feed behind each. Not for a listing with an error.
[[nodiscard]] std::string printListing(const Listing& listing);

} // namespace Vantor::gpc
