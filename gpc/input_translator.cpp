// Layout: 0x10, title length N with its NUL, N - 1 title bytes, NUL, sections {tag, size, data}, 0x00 as the
// last byte.

#include "gpc/input_translator.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

namespace Vantor::gpc {

namespace {

constexpr std::uint8_t kHeaderByte = 0x10;
constexpr std::uint8_t kEndMarker = 0x00;
constexpr std::size_t kTitleOffset = 2;
constexpr std::size_t kMinFileBytes = 4;

struct SectionKind {
    std::uint8_t tag;
    std::uint8_t slot; ///< both kinds of controller map share one, so that a file holds only one of them
    std::string_view name;
};

constexpr std::array<SectionKind, 5> kSectionKinds{
    {{0x21, 0, "cmap"}, {0x22, 0, "cmap"}, {0x30, 1, "kmap"}, {0x40, 2, "mmap"}, {0x51, 3, "mxyc"}}};

const SectionKind* findKind(std::uint8_t tag) noexcept {
    const auto* const found = std::find_if(kSectionKinds.begin(), kSectionKinds.end(),
                                           [tag](const SectionKind& kind) { return kind.tag == tag; });
    return found == kSectionKinds.end() ? nullptr : found;
}

class Parser {
public:
    Parser(std::span<const std::uint8_t> bytes, std::string& errorText) : file(bytes), error(errorText) {}

    bool parse() { return parseHeader() && parseTitle() && parseSections(); }

    InputTranslator translator;

private:
    bool fail(std::string_view message) {
        error = message;
        return false;
    }

    bool parseHeader() {
        if (file.size() < kMinFileBytes || file[0] != kHeaderByte)
            return fail("invalid GPC2 Input Translator header");
        return true;
    }

    bool parseTitle() {
        const std::size_t length = file[1];
        if (length == 0 || length + kTitleOffset >= file.size() || file[length + 1] != 0)
            return fail("invalid GPC2 Input Translator title");
        const auto title = file.subspan(kTitleOffset, length - 1);
        if (std::find(title.begin(), title.end(), 0) != title.end())
            return fail("GPC2 Input Translator title contains an embedded null byte");
        translator.title.assign(title.begin(), title.end());
        at = kTitleOffset + length;
        return true;
    }

    /// Every round either ends or leaves at least one byte at `at`.
    bool parseSections() {
        while (file[at] != kEndMarker) {
            if (!parseSection())
                return false;
        }
        if (at + 1 != file.size())
            return fail("unexpected bytes after GPC2 Input Translator end marker");
        return true;
    }

    bool parseSection() {
        const SectionKind* const kind = findKind(file[at]);
        if (!kind)
            return fail("unknown GPC2 Input Translator section tag");
        if (std::exchange(seen[kind->slot], true))
            return fail("duplicate GPC2 Input Translator section");
        if (at + 1 == file.size())
            return fail("GPC2 Input Translator section is missing its size");
        const std::size_t size = file[at + 1];
        const auto rest = file.subspan(at + 2);
        if (size > rest.size())
            return fail("truncated GPC2 Input Translator section");
        translator.sections.push_back(
            {kind->tag, {rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(size)}});
        at += size + 2;
        if (at == file.size())
            return fail("GPC2 Input Translator is missing its end marker");
        return true;
    }

    std::span<const std::uint8_t> file;
    std::string& error;
    std::size_t at = 0;
    std::array<bool, 4> seen{};
};

} // namespace

std::string_view inputTranslatorSectionName(std::uint8_t tag) noexcept {
    const SectionKind* const kind = findKind(tag);
    return kind ? kind->name : std::string_view{};
}

bool parseInputTranslator(std::span<const std::uint8_t> file, InputTranslator& result, std::string& error) {
    Parser parser(file, error);
    if (!parser.parse())
        return false;
    result = std::move(parser.translator);
    error.clear();
    return true;
}

} // namespace Vantor::gpc
