#include "gpc/strings.h"

namespace Vantor::gpc {

namespace {

constexpr std::string_view kEscapes = "\"'0\\nrt";
constexpr std::string_view kEscaped{"\"'\0\\\n\r\t", 7};

bool appendUnescaped(std::string& content, std::string_view quoted) {
    for (std::size_t i = 1; i + 1 < quoted.size(); ++i) {
        char byte = quoted[i];
        if (byte == '\\') {
            const std::size_t escape = kEscapes.find(quoted[++i]);
            if (escape == std::string_view::npos)
                return false;
            byte = kEscaped[escape];
        }
        content += byte;
    }
    return true;
}

} // namespace

std::optional<std::string> stringContent(const CompilerState& state, std::uint32_t token,
                                         std::uint32_t& end) {
    std::string content;
    bool valid = true;
    for (end = token; state.tokens.kind(end) == TokenKind::StringLiteral; ++end)
        valid = valid && appendUnescaped(content, state.tokens.text(end));
    return valid ? std::optional(content) : std::nullopt;
}

void placeString(CompilerState& state, std::uint32_t token) {
    if (state.tokens.name(token) != 0)
        return;
    std::uint32_t end = 0;
    const auto content = stringContent(state, token, end);
    if (content)
        state.tokens.setName(token, state.image.addString(*content));
}

bool takeString(CompilerState& state, std::uint32_t& address) {
    const std::uint32_t token = state.at;
    if (state.imageOpen)
        placeString(state, token);
    address = state.tokens.name(token);
    if (address == 0)
        return state.fail(token, "invalid escape sequence in string");
    while (state.is(TokenKind::StringLiteral))
        state.advance();
    return true;
}

} // namespace Vantor::gpc
