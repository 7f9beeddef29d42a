// Other files: #include brings in their lines, #import the sections of an Input Translator as constant
// tables.

#include "gpc/input_translator.h"
#include "gpc/preprocessor_state.h"
#include "gpc/source_file.h"

#include <cstdint>
#include <span>
#include <system_error>
#include <utility>

namespace Vantor::gpc {

namespace {

constexpr int kMaxIncludeDepth = 32;
constexpr int kMaxIncludedFiles = 1024;
/// No valid Input Translator comes near: it has at most four sections of 257 bytes.
constexpr std::size_t kMaxTranslatorBytes = 1u << 20;

struct FileOperand {
    std::string name;
    bool quoted = false;
};

/// A name in quotes, or in angle brackets where those are allowed, with nothing but a comment behind it.
std::optional<FileOperand> readFileOperand(std::string_view rest, bool anglesAllowed) {
    rest = trimmed(rest);
    if (rest.empty() || (rest.front() != '"' && (rest.front() != '<' || !anglesAllowed)))
        return std::nullopt;
    const bool quoted = rest.front() == '"';
    const std::size_t close = rest.find(quoted ? '"' : '>', 1);
    if (close == std::string_view::npos || close == 1)
        return std::nullopt;
    std::string storage;
    if (!withoutComments(rest.substr(close + 1), storage).empty())
        return std::nullopt;
    return FileOperand{std::string(rest.substr(1, close - 1)), quoted};
}

/// The file's name as the first part of a table's name.
std::string tableNameOf(const std::filesystem::path& file) {
    std::string name = utf8FromPath(file.stem());
    for (char& byte : name) {
        const bool kept = hasClass(byte, kIdentifierStart | kDigit) && byte != '$';
        byte = kept ? byte : '_';
    }
    return name;
}

std::string tableLine(const std::string& name, const InputTranslatorSection& section) {
    std::string line = "const uint8 " + name + '_';
    line += inputTranslatorSectionName(section.tag);
    line += "[] = {";
    for (std::size_t index = 0; index < section.data.size(); ++index) {
        if (index > 0)
            line += ',';
        line += std::to_string(section.data[index]);
    }
    return line + "};\n";
}

bool isFile(const std::filesystem::path& path) {
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    return std::filesystem::exists(status) && !std::filesystem::is_directory(status);
}

} // namespace

std::optional<std::filesystem::path> Preprocessor::findFile(const File& from, std::string_view name,
                                                            bool quoted) const {
    if (name.find('\0') != std::string_view::npos)
        return std::nullopt;
    const std::filesystem::path wanted = pathFromUtf8(name);
    const std::string& fromPath = result.lines.pathOf(from.index);
    if (quoted && !fromPath.empty()) {
        auto candidate = pathFromUtf8(fromPath).parent_path() / wanted;
        if (isFile(candidate))
            return candidate;
    }
    for (const std::string& directory : options.includeDirectories) {
        auto candidate = pathFromUtf8(directory) / wanted;
        if (isFile(candidate))
            return candidate;
    }
    return std::nullopt;
}

bool Preprocessor::handleInclude(const Directive& directive) {
    const auto operand = readFileOperand(directive.rest, true);
    if (!operand)
        return fail(directive.place, "expected a quoted or angle-bracket include path");
    const auto path = findFile(directive.file, operand->name, operand->quoted);
    if (!path)
        return fail(directive.place, "include file was not found: " + operand->name);
    if (directive.file.depth + 1 > kMaxIncludeDepth)
        return fail(directive.place, "include nesting exceeds 32 files");
    return countFile(directive) && includeFile(directive, *path);
}

bool Preprocessor::countFile(const Directive& directive) {
    return ++fileCount <= kMaxIncludedFiles ||
           fail(directive.place, "more than 1024 files are included or imported");
}

bool Preprocessor::includeFile(const Directive& directive, const std::filesystem::path& path) {
    std::string content;
    const std::string name = utf8FromPath(path);
    switch (readSourceFile(path, kMaxSourceBytes, content)) {
    case ReadOutcome::ok:
        break;
    case ReadOutcome::notAFile:
        return fail(directive.place, "include is not a regular file: " + name);
    case ReadOutcome::tooLarge:
        return fail(directive.place, "include file is larger than 8 MB: " + name);
    default:
        return fail(directive.place, "include file could not be read: " + name);
    }
    if (content.starts_with(kByteOrderMark))
        content.erase(0, kByteOrderMark.size());
    includedBytes += content.size();
    if (includedBytes > kMaxGrowthBytes)
        return fail(directive.place, "included files are larger than 8 MB in all");

    const std::uint32_t index = result.lines.addOwnedFile(name, std::move(content));
    File file{index, directive.file.depth + 1, {result.lines.textOf(index)}};
    if (!processFile(file))
        return false;
    // A comment that swallowed the including file as well would leave nobody the wiser.
    if (file.cursor.open == kInComment)
        return fail({index, static_cast<std::uint32_t>(file.cursor.openedAt)},
                    "unterminated comment in an included file");
    // What follows the include must not join the file's last token.
    if (!result.text.empty() && result.text.back() != '\n')
        result.text += '\n';
    result.lines.beginFile(result.text.size(), directive.file.index);
    result.lines.beginCopy(result.text.size(), directive.file.cursor.at);
    return true;
}

bool Preprocessor::handleImport(const Directive& directive) {
    const auto operand = readFileOperand(directive.rest, false);
    if (!operand)
        return fail(directive.place, "expected a quoted Input Translator path");
    const auto path = findFile(directive.file, operand->name, true);
    if (!path)
        return fail(directive.place, "Input Translator file was not found: " + operand->name);
    if (!countFile(directive))
        return false;
    std::string content;
    if (readSourceFile(*path, kMaxTranslatorBytes, content) != ReadOutcome::ok)
        return fail(directive.place, "Input Translator file could not be read: " + operand->name);
    InputTranslator translator;
    std::string error;
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(content.data());
    if (!parseInputTranslator(std::span(bytes, content.size()), translator, error))
        return fail(directive.place, "invalid Input Translator file: " + error);

    result.lines.beginMade(result.text.size(), directive.place.offset);
    const std::string name = tableNameOf(*path);
    for (const InputTranslatorSection& section : translator.sections)
        result.text += tableLine(name, section);
    return true;
}

} // namespace Vantor::gpc
