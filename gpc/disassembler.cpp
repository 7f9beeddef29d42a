// Two walks over the code: the first checks it and collects what refers to what, the second writes the lines.

#include "gpc/disassembler.h"

#include "gpc/opcodes.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

namespace Vantor::gpc {

namespace {

constexpr std::size_t kEntryHeaderBytes = 7;
constexpr std::size_t kSmallestInformationBytes = 4;
constexpr std::size_t kFileLimitBytes = 65536; ///< code addresses have 16 bits
constexpr std::size_t kDataBytesPerLine = 8;
constexpr std::uint32_t kStackTop = 0x2400;
constexpr std::size_t kOtherLines = 8; ///< headings and header
constexpr std::size_t kBytesColumn = 24;
constexpr std::size_t kOperandsColumn = 44;

template<typename... Arguments>
std::string format(const char* pattern, Arguments... arguments) {
    std::array<char, 96> text{};
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    std::snprintf(text.data(), text.size(), pattern, arguments...);
#pragma GCC diagnostic pop
    return text.data();
}

std::string quoted(std::span<const std::uint8_t> bytes) {
    std::string text = "\"";
    for (const std::uint8_t byte : bytes) {
        if (byte == '"' || byte == '\\') {
            text += '\\';
        }
        text +=
            byte >= 0x20 && byte < 0x7F ? std::string(1, static_cast<char>(byte)) : format("\\x%02X", byte);
    }
    return text + "\"";
}

struct Decoded {
    const OpcodeInfo* info = nullptr;
    std::size_t address = 0;
    std::size_t size = 0;
    std::array<std::uint32_t, 3> operands{};
};

enum class ImageKind : std::uint8_t { Bytes, WaitTable, SwitchTable, Text };

/// A part of the data image that some instruction uses.
struct ImagePart {
    ImageKind kind = ImageKind::Bytes;
    std::size_t entries = 0; ///< of a table
    std::string owner;
};

/// Names of code addresses. An array over all of them, since every instruction asks whether it has one, and a
/// tree of thousands of names would make each question dearer in a longer file.
class Labels {
public:
    /// For addresses below `end`.
    void reset(std::size_t end) { numbers.assign(end, 0); }
    bool has(std::size_t at) const { return numbers[at] != 0; }
    /// Instead of an earlier name.
    void set(std::size_t at, std::string name) {
        names.push_back(std::move(name));
        numbers[at] = static_cast<std::uint16_t>(names.size());
    }
    /// Empty where nothing has been named.
    std::string_view operator[](std::size_t at) const {
        return has(at) ? std::string_view(names[numbers[at] - 1U]) : std::string_view{};
    }
    std::size_t count() const { return names.size(); }

private:
    std::vector<std::string> names;     ///< fewer than addresses, which are 65536 at most and begin behind 0
    std::vector<std::uint16_t> numbers; ///< place in `names` + 1; 0: no name
};

class Disassembler {
public:
    explicit Disassembler(std::span<const std::uint8_t> bytes) : file(bytes) {}

    Listing run() {
        if (readHeader() && readInformation() && collect() && checkReferences()) {
            // Moving thousands of lines each time the array grows would cost as much as a quarter of them.
            listing.lines.reserve(instructions + labels.count() + (codeOffset - imageOffset) / 2 +
                                  kOtherLines);
            writeHeader();
            writeImage();
            writeCode();
        } else {
            listing.lines.clear();
        }
        return std::move(listing);
    }

private:
    std::span<const std::uint8_t> file;
    Listing listing;
    std::size_t codeOffset = 0;
    std::size_t imageOffset = 0;
    std::size_t mainOffset = 0;
    std::vector<std::uint8_t> startsInstruction; ///< flags
    Labels labels;                               // by code address
    std::size_t instructions = 0;
    std::map<std::size_t, ImagePart> parts;                   // by file offset
    std::map<std::uint32_t, std::string> comboOf;             // by the operand of the state slot
    std::vector<std::pair<std::size_t, std::uint32_t>> jumps; // instruction, target

    bool fail(std::string reason) {
        listing.error = std::move(reason);
        return false;
    }

    [[nodiscard]] std::uint32_t number(std::size_t at, std::size_t size) const {
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < size; ++i) {
            value = value << 8 | file[at + i];
        }
        return value;
    }

    bool readHeader() {
        if (file.size() < kEntryHeaderBytes) {
            return fail("the file is shorter than its seven-byte entry header");
        }
        if (file.size() > kFileLimitBytes) {
            return fail("the file is longer than 65536 bytes");
        }
        if (file[0] != static_cast<std::uint8_t>(Opcode::Jump)) {
            return fail("the file does not begin with the entry jump");
        }
        codeOffset = number(1, 2);
        if (codeOffset < kEntryHeaderBytes + kSmallestInformationBytes || codeOffset >= file.size()) {
            return fail(format("the code offset 0x%04zX lies outside the file", codeOffset));
        }
        listing.codeOffset = static_cast<std::uint32_t>(codeOffset);
        listing.buildStamp = number(3, 4);
        startsInstruction.resize(file.size());
        labels.reset(file.size());
        return true;
    }

    /// The text at `at` up to a zero byte in front of the code; moves `at` behind the zero byte.
    std::optional<std::string> readText(std::size_t& at) const {
        const auto begin = file.begin() + static_cast<std::ptrdiff_t>(at);
        const auto end = file.begin() + static_cast<std::ptrdiff_t>(codeOffset);
        const auto zero = begin < end ? std::find(begin, end, std::uint8_t{0}) : end;
        if (zero == end) {
            return std::nullopt;
        }
        at = static_cast<std::size_t>(zero - file.begin()) + 1;
        return std::string(begin, zero);
    }

    bool readInformation() {
        std::size_t at = kEntryHeaderBytes;
        const auto title = readText(at);
        if (!title || at + 2 > codeOffset) {
            return fail("the script information does not end before the code");
        }
        listing.information.title = *title;
        listing.information.first = file[at];
        listing.information.second = file[at + 1];
        at += 2;
        const auto author = readText(at);
        if (!author) {
            return fail("the script information does not end before the code");
        }
        listing.information.author = *author;
        imageOffset = at;
        return true;
    }

    std::optional<Decoded> decode(std::size_t at) {
        Decoded result{.info = findOpcode(file[at]), .address = at, .size = 0, .operands = {}};
        if (result.info == nullptr) {
            fail(format("0x%04zX: no instruction has the opcode 0x%02X", at, file[at]));
            return std::nullopt;
        }
        result.size = instructionSize(*result.info);
        if (result.size > file.size() - at) {
            fail(format("0x%04zX: the file ends inside an instruction", at));
            return std::nullopt;
        }
        std::size_t position = at + 1;
        for (std::size_t i = 0; i < result.operands.size(); ++i) {
            const std::size_t size = operandSize(result.info->operands[i]);
            result.operands[i] = number(position, size);
            position += size;
        }
        return result;
    }

    bool collect() {
        std::size_t combos = 0;
        ImagePart* waitTable = nullptr;
        std::size_t endMain = 0;
        for (std::size_t at = codeOffset; at < file.size();) {
            const auto decoded = decode(at);
            if (!decoded) {
                return false;
            }
            startsInstruction[at] = 1;
            ++instructions;
            switch (decoded->info->opcode) {
            case Opcode::EndInit:
                mainOffset = at + decoded->size;
                break;
            case Opcode::EndMain:
                endMain = at;
                break;
            case Opcode::ComboStart:
                comboOf[decoded->operands[0]] = "combo_" + std::to_string(++combos);
                labels.set(at, comboOf[decoded->operands[0]]);
                waitTable = &parts[decoded->operands[1]];
                *waitTable = {ImageKind::WaitTable, 1, std::string(labels[at])};
                break;
            case Opcode::Wait:
            case Opcode::EndWait:
            case Opcode::CallCombo:
            case Opcode::AwaitCombo:
                if (waitTable == nullptr) {
                    return fail(format("0x%04zX: a wait outside a combo", at));
                }
                ++waitTable->entries;
                break;
            case Opcode::TableSwitch:
                parts[decoded->operands[0]] = {ImageKind::SwitchTable, decoded->operands[1] + std::size_t{1},
                                               format("switch at 0x%04zX", at)};
                break;
            default:
                break;
            }
            collectOperands(*decoded);
            at += decoded->size;
        }
        if (mainOffset == 0 || endMain < mainOffset) {
            return fail("the code has no end of init followed by an end of main");
        }
        for (const auto& [at, name] : {std::pair{codeOffset, "init"}, {mainOffset, "main"}}) {
            if (!labels.has(at)) {
                labels.set(at, name);
            }
        }
        return true;
    }

    void collectOperands(const Decoded& decoded) {
        for (std::size_t i = 0; i < decoded.operands.size(); ++i) {
            const std::uint32_t value = decoded.operands[i];
            switch (decoded.info->operands[i]) {
            case OperandKind::CodeAddress:
                jumps.emplace_back(decoded.address, value);
                break;
            case OperandKind::StringAddress:
                parts.emplace(value, ImagePart{ImageKind::Text, 0, {}});
                break;
            case OperandKind::Variable:
                if (value >= imageOffset && value < codeOffset) {
                    parts.emplace(value, ImagePart{});
                }
                break;
            case OperandKind::ImageAddress:
                parts.emplace(value, ImagePart{});
                break;
            default:
                break;
            }
        }
    }

    /// Names the targets of jumps and table entries; every one must be the start of an instruction.
    bool nameTarget(std::size_t from, std::uint32_t target, bool isCall, std::size_t& functions) {
        if (target == file.size() && !isCall) {
            return fail(format("0x%04zX: refers to 0x%04X behind the end of the code", from, target));
        }
        if (target < codeOffset || target >= file.size() || !startsInstruction[target]) {
            return fail(format("0x%04zX: refers to 0x%04X, where no instruction begins", from, target));
        }
        if (labels.has(target)) {
            return true;
        }
        labels.set(target, isCall ? "function_" + std::to_string(++functions) : format("L_%04X", target));
        return true;
    }

    bool checkReferences() {
        std::size_t functions = 0;
        // Functions are numbered in the order of their addresses, so calls come first.
        std::sort(jumps.begin(), jumps.end(),
                  [](const auto& a, const auto& b) { return a.second < b.second; });
        for (const bool calls : {true, false}) {
            for (const auto& [from, target] : jumps) {
                const bool isCall = file[from] == static_cast<std::uint8_t>(Opcode::Call);
                if (isCall == calls && !nameTarget(from, target, isCall, functions)) {
                    return false;
                }
            }
        }
        for (const auto& [at, part] : parts) {
            const std::size_t size =
                part.kind == ImageKind::Bytes || part.kind == ImageKind::Text ? 1 : 2 * part.entries;
            if (at < imageOffset || at > codeOffset || size > codeOffset - at) {
                return fail(format("0x%04zX: a table or text lies outside the data image", at));
            }
            if (part.kind == ImageKind::Text) {
                std::size_t end = at;
                if (!readText(end)) {
                    return fail(format("0x%04zX: a text does not end inside the data image", at));
                }
            }
            for (std::size_t entry = 0; entry < part.entries; ++entry) {
                if (!nameTarget(at + 2 * entry, number(at + 2 * entry, 2), false, functions)) {
                    return false;
                }
            }
        }
        return true;
    }

    // ---- writing

    void heading(std::string text) {
        listing.lines.push_back({ListingLine::Kind::Heading, 0, {}, std::move(text), {}, {}});
    }

    void line(ListingLine::Kind kind, std::size_t at, std::size_t size, std::string text,
              std::string operands = {}, std::string comment = {}) {
        const auto bytes = file.subspan(at, size);
        listing.lines.push_back({kind,
                                 static_cast<std::uint32_t>(at),
                                 {bytes.begin(), bytes.end()},
                                 std::move(text),
                                 std::move(operands),
                                 std::move(comment)});
    }

    void writeHeader() {
        using enum ListingLine::Kind;
        heading(format("GBC file of %zu bytes", file.size()));
        line(Data, 0, 3, "entry", std::string(labels[codeOffset]), format("code at 0x%04zX", codeOffset));
        line(Data, 3, 4, "build_stamp", std::to_string(listing.buildStamp));
        const ScriptInformation& info = listing.information;
        const bool none = info.title.empty() && info.author.empty() && info.first == 0 && info.second == 0;
        line(Data, kEntryHeaderBytes, imageOffset - kEntryHeaderBytes, "script_information",
             none ? "none" : "", none ? "" : describeInformation());
    }

    [[nodiscard]] std::string describeInformation() const {
        const ScriptInformation& info = listing.information;
        const auto asBytes = [](const std::string& text) {
            return std::vector<std::uint8_t>(text.begin(), text.end());
        };
        return quoted(asBytes(info.title)) + " " + std::to_string(info.first) + " " +
               std::to_string(info.second) + " " + quoted(asBytes(info.author));
    }

    void writeImage() {
        if (imageOffset == codeOffset) {
            return;
        }
        heading("Data image");
        auto next = parts.begin();
        for (std::size_t at = imageOffset; at < codeOffset;) {
            while (next != parts.end() && next->first < at) {
                ++next; // begins inside a part that is written already
            }
            if (next != parts.end() && next->first == at && next->second.kind != ImageKind::Bytes) {
                at = writePart(at, next->second);
                continue;
            }
            auto after = next;
            if (after != parts.end() && after->first == at) {
                ++after;
            }
            const std::size_t end = after == parts.end() ? codeOffset : after->first;
            const std::size_t size = std::min(kDataBytesPerLine, end - at);
            line(ListingLine::Kind::Data, at, size, "data");
            at += size;
        }
    }

    std::size_t writePart(std::size_t at, const ImagePart& part) {
        if (part.kind == ImageKind::Text) {
            std::size_t end = at;
            readText(end);
            line(ListingLine::Kind::Data, at, end - at, "text", quoted(file.subspan(at, end - at - 1)));
            return end;
        }
        const bool isWait = part.kind == ImageKind::WaitTable;
        for (std::size_t entry = 0; entry < part.entries; ++entry) {
            const std::size_t place = at + 2 * entry;
            line(ListingLine::Kind::Data, place, 2, isWait ? "wait_entry" : "switch_entry",
                 std::string(labels[number(place, 2)]), format("%zu of ", entry) + part.owner);
        }
        return at + 2 * part.entries;
    }

    void writeCode() {
        heading("Code");
        for (std::size_t at = codeOffset; at < file.size();) {
            if (labels.has(at)) {
                line(ListingLine::Kind::Label, at, 0, std::string(labels[at]));
            }
            const auto decoded = decode(at);
            std::string operands;
            std::string comment;
            for (std::size_t i = 0; i < decoded->operands.size(); ++i) {
                const OperandKind kind = decoded->info->operands[i];
                if (kind != OperandKind::None) {
                    operands += operands.empty() ? "" : ", ";
                    operands += describe(kind, decoded->operands[i], comment);
                }
            }
            line(ListingLine::Kind::Code, at, decoded->size, std::string(decoded->info->name),
                 std::move(operands), std::move(comment));
            at += decoded->size;
        }
    }

    std::string describe(OperandKind kind, std::uint32_t value, std::string& comment) {
        static constexpr std::array<const char*, 8> kTypes{"uint8",  "int8",  "uint16", "int16",
                                                           "uint32", "int32", "fix32",  "pointer"};
        switch (kind) {
        case OperandKind::S8:
            return std::to_string(static_cast<std::int8_t>(value));
        case OperandKind::S16:
            return std::to_string(static_cast<std::int16_t>(value));
        case OperandKind::S32:
            return std::to_string(static_cast<std::int32_t>(value));
        case OperandKind::CodeAddress:
            return std::string(labels[value]);
        case OperandKind::StringAddress: {
            std::size_t end = value;
            readText(end);
            note(comment, quoted(file.subspan(value, end - value - 1)));
            return format("0x%04X", value);
        }
        case OperandKind::Variable:
            return describeVariable(value, comment);
        case OperandKind::ImageAddress:
            return format("image 0x%04X", value);
        case OperandKind::TypeCode:
            return value < kTypes.size() ? kTypes[value] : std::to_string(value);
        default:
            return std::to_string(value);
        }
    }

    std::string describeVariable(std::uint32_t value, std::string& comment) {
        if ((value & 0x8000U) != 0) {
            return format("frame -%u", 0x10000U - value);
        }
        if (value < codeOffset) {
            return format("image 0x%04X", value);
        }
        if (const auto combo = comboOf.find(value); combo != comboOf.end()) {
            note(comment, "state of " + combo->second);
        }
        if (value >= kStackTop) {
            return format("address 0x%04X", value);
        }
        note(comment, format("storage counter %u", kStackTop - value));
        return format("storage 0x%04X", value);
    }

    static void note(std::string& comment, const std::string& text) {
        comment += (comment.empty() ? "" : "; ") + text;
    }
};

} // namespace

Listing disassemble(std::span<const std::uint8_t> file) {
    return Disassembler(file).run();
}

std::string printListing(const Listing& listing) {
    std::string text;
    for (const ListingLine& line : listing.lines) {
        if (line.kind == ListingLine::Kind::Heading) {
            text += (text.empty() ? "; " : "\n; ") + line.text + "\n";
            continue;
        }
        if (line.kind == ListingLine::Kind::Label) {
            text += line.text + ":\n";
            continue;
        }
        std::string row = format("  %04X ", line.offset);
        for (const std::uint8_t byte :
             std::span(line.bytes).first(std::min<std::size_t>(line.bytes.size(), 8))) {
            row += format(" %02X", byte);
        }
        row += line.bytes.size() > 8 ? ".." : "";
        row.resize(std::max(row.size() + 1, kBytesColumn + 9), ' ');
        row += line.text;
        if (!line.operands.empty()) {
            row.resize(std::max(row.size() + 1, kOperandsColumn + 5), ' ');
            row += line.operands;
        }
        if (!line.comment.empty()) {
            row += "  ; " + line.comment;
        }
        text += row + "\n";
    }
    return text;
}

} // namespace Vantor::gpc
