// The header, and the pragma that fills its script-information block.

#include "gpc/gbc.h"

#include "gpc/characters.h"
#include "gpc/literals.h"

#include <algorithm>

namespace Vantor::gpc {

namespace {

constexpr std::string_view kPragma = "#pragma";
constexpr std::string_view kKeyword = "METAINFO";
constexpr std::uint32_t kEmptyInfoBytes = 4;
/// Two zero bytes and two numbers.
constexpr std::uint32_t kInfoOverhead = 4;

/// Reads the pragma's argument list; every read fails once one has failed.
class ArgumentReader {
public:
    explicit ArgumentReader(std::string_view text) : rest(text) {}

    bool take(char wanted) {
        skipBlanks();
        if (rest.empty() || rest[0] != wanted)
            return false;
        rest.remove_prefix(1);
        return true;
    }

    bool takeString(std::string& value) {
        if (!take('"'))
            return false;
        for (std::size_t i = 0; i < rest.size(); ++i) {
            if (rest[i] == '"') {
                rest.remove_prefix(i + 1);
                return true;
            }
            if (rest[i] == '\\' && ++i == rest.size())
                return false;
            value += rest[i];
        }
        return false;
    }

    bool takeByte(std::uint8_t& value) {
        skipBlanks();
        std::size_t length = 0;
        const auto isNumberByte = [](char c) {
            return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
        };
        while (length < rest.size() && isNumberByte(rest[length]))
            ++length;
        const auto number = integerLiteralValue(rest.substr(0, length), false);
        if (length == 0 || !number || number->value > 0xFF)
            return false;
        value = static_cast<std::uint8_t>(number->value);
        rest.remove_prefix(length);
        return true;
    }

private:
    void skipBlanks() {
        const std::size_t next = rest.find_first_not_of(" \t\r");
        rest.remove_prefix(next == std::string_view::npos ? rest.size() : next);
    }

    std::string_view rest;
};

std::optional<ScriptInfo> parseArguments(std::string_view text) {
    ArgumentReader reader(text);
    ScriptInfo info;
    const bool good = reader.take('(') && reader.takeString(info.title) && reader.take(',') &&
                      reader.takeByte(info.first) && reader.take(',') && reader.takeByte(info.second) &&
                      reader.take(',') && reader.takeString(info.text) && reader.take(')');
    return good ? std::optional(info) : std::nullopt;
}

void emitText(Emitter& code, std::string_view text) {
    for (const char byte : text)
        code.emitByte(static_cast<std::uint8_t>(byte));
    code.emitByte(0);
}

} // namespace

std::optional<ScriptInfo> findScriptInfo(std::string_view source) {
    if (source.starts_with(kByteOrderMark))
        source.remove_prefix(kByteOrderMark.size());
    // Few bytes are marks, and few of those begin a pragma.
    for (std::size_t at = source.find(kPragma); at != std::string_view::npos; at = source.find(kPragma, at)) {
        std::size_t before = at;
        while (before > 0 && hasClass(source[before - 1], kBlank))
            --before;
        const std::size_t end = std::min(source.find('\n', at), source.size());
        const std::string_view behind = source.substr(at + kPragma.size(), end - at - kPragma.size());
        const bool opensLine = before == 0 || source[before - 1] == '\n';
        const std::size_t keyword = opensLine ? behind.find(kKeyword) : std::string_view::npos;
        if (keyword != std::string_view::npos)
            return parseArguments(behind.substr(keyword + kKeyword.size()));
        at = end;
    }
    return std::nullopt;
}

std::uint32_t headerBytes(const std::optional<ScriptInfo>& info) {
    const std::size_t infoBytes =
        info ? info->title.size() + info->text.size() + kInfoOverhead : kEmptyInfoBytes;
    return kEntryHeaderBytes + static_cast<std::uint32_t>(infoBytes);
}

void emitHeader(Emitter& code, std::uint32_t buildStamp, const std::optional<ScriptInfo>& info,
                std::uint32_t imageBytes) {
    code.emit(Opcode::Jump, (headerBytes(info) + imageBytes) & 0xFFFF);
    code.emitU32(buildStamp);
    if (!info) {
        code.emitU32(0);
        return;
    }
    emitText(code, info->title);
    code.emitByte(info->first);
    code.emitByte(info->second);
    emitText(code, info->text);
}

} // namespace Vantor::gpc
