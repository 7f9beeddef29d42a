#include "gpc/initializers.h"

#include "gpc/literals.h"
#include "gpc/strings.h"

#include <limits>

namespace Vantor::gpc {

namespace {

struct Range {
    std::int64_t low;
    std::int64_t high;
};

constexpr Range rangeOf(TypeCode code) {
    constexpr std::array<Range, 6> kRanges{{{0, 0xFF},
                                            {-0x80, 0x7F},
                                            {0, 0xFFFF},
                                            {-0x8000, 0x7FFF},
                                            {0, 0xFFFFFFFF},
                                            {-0x80000000LL, 0x7FFFFFFF}}};
    return kRanges[static_cast<std::size_t>(code)];
}

std::int64_t numberOf(const Operand& value) {
    if (value.type.isUnsigned32())
        return value.bits;
    return static_cast<std::int32_t>(value.bits);
}

bool convertToPointer(CompilerState& state, const Operand& value, Type type, std::uint32_t token,
                      std::uint32_t& bits) {
    constexpr std::string_view kMessage =
        "pointer initializer must contain string, address, or integer constants";
    if (value.kind == Operand::Kind::Address) {
        // An operand with the top bit set is relative to a frame: no constant.
        if (!assignable(value, type) || (value.operand & 0x8000) != 0)
            return state.fail(token, kMessage);
        bits = value.operand;
        return true;
    }
    if (value.type.isFixed() || value.bits > 0xFFFF)
        return state.fail(token, kMessage);
    bits = value.bits;
    return true;
}

} // namespace

bool convertInitializer(CompilerState& state, const Operand& value, Type type, std::uint32_t token,
                        const InitializerMessages& messages, std::uint32_t& bits) {
    if (type.pointer)
        return convertToPointer(state, value, type, token, bits);
    if (!value.isConstant() || value.type.pointer)
        return state.fail(token, messages.mismatch);
    if (type.isFixed()) {
        if (value.type.isFixed()) {
            bits = value.bits;
            return true;
        }
        const auto fixed = fix32FromDouble(static_cast<double>(numberOf(value)));
        if (!fixed)
            return state.fail(token, messages.range);
        bits = static_cast<std::uint32_t>(*fixed);
        return true;
    }
    std::int64_t number = numberOf(value);
    if (value.type.isFixed()) {
        if ((value.bits & 0xFFFF) != 0)
            return state.fail(token, messages.fraction);
        number >>= 16;
    }
    const Range range = rangeOf(type.code);
    if (number < range.low || number > range.high)
        return state.fail(token, messages.range);
    bits = static_cast<std::uint32_t>(number);
    return true;
}

bool readScalarInitializer(CompilerState& state, Type type, const InitializerMessages& messages,
                           std::uint32_t& bits) {
    const std::uint32_t token = state.at;
    if (type.pointer && (state.is(TokenKind::Semicolon) || state.is(TokenKind::Comma)))
        return state.fail(token, "pointer initializer contains an empty expression");
    Operand value;
    return compileConstant(state, value, messages.constant) &&
           convertInitializer(state, value, type, token, messages, bits);
}

namespace {

bool readString(CompilerState& state, std::uint32_t limit, const InitializerMessages& messages,
                std::vector<std::uint32_t>& values) {
    const std::uint32_t token = state.at;
    std::uint32_t end = 0;
    const auto content = stringContent(state, token, end);
    if (!content)
        return state.fail(token, "invalid escape sequence in string");
    for (const char byte : *content)
        values.push_back(static_cast<std::uint8_t>(byte));
    if (limit == 0 || values.size() < limit)
        values.push_back(0);
    if (limit != 0 && values.size() > limit)
        return state.fail(token, messages.excess);
    state.at = end;
    return true;
}

bool readElement(CompilerState& state, Type type, const InitializerMessages& messages, std::uint32_t& bits) {
    const std::uint32_t token = state.at;
    if (type.pointer && state.is(TokenKind::Comma))
        return state.fail(token, "pointer array initializer contains an empty expression");
    Operand value;
    return compileConstant(state, value, messages.element) &&
           convertInitializer(state, value, type, token, messages, bits);
}

} // namespace

bool readArrayInitializer(CompilerState& state, Type element, std::uint32_t limit,
                          const InitializerMessages& messages, std::vector<std::uint32_t>& values) {
    if (state.is(TokenKind::StringLiteral) && !element.pointer && element.width() == 1)
        return readString(state, limit, messages, values);
    const bool braces = state.is(TokenKind::LBrace);
    if (!braces && !state.is(TokenKind::LParen))
        return state.fail(state.at, messages.open);
    const TokenKind close = braces ? TokenKind::RBrace : TokenKind::RParen;
    state.advance();
    while (!state.is(close)) {
        if (state.is(TokenKind::EndOfInput) || state.is(TokenKind::Semicolon))
            return state.fail(state.at, messages.unterminated);
        const std::uint32_t token = state.at;
        std::uint32_t bits = 0;
        if (!readElement(state, element, messages, bits))
            return false;
        if (limit != 0 && values.size() == limit)
            return state.fail(token, messages.excess);
        values.push_back(bits);
        if (!state.is(close) && !state.accept(TokenKind::Comma)) {
            const bool ended = state.is(TokenKind::EndOfInput) || state.is(TokenKind::Semicolon);
            return state.fail(state.at, ended ? messages.unterminated : messages.close);
        }
    }
    state.advance();
    return true;
}

std::vector<std::uint8_t> encodeValues(const std::vector<std::uint32_t>& values, std::uint32_t count,
                                       std::uint32_t width) {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(std::size_t{count} * width);
    for (const std::uint32_t value : values)
        for (std::uint32_t shift = width * 8; shift > 0; shift -= 8)
            bytes.push_back(static_cast<std::uint8_t>(value >> (shift - 8)));
    bytes.resize(std::size_t{count} * width);
    return bytes;
}

std::uint32_t hashOfBytes(const std::vector<std::uint8_t>& bytes) {
    std::uint32_t hash = 0x811C9DC5; // FNV-1a
    for (const std::uint8_t byte : bytes)
        hash = (hash ^ byte) * 0x01000193;
    return hash;
}

bool readArrayLength(CompilerState& state, std::string_view message, std::uint32_t& length) {
    const std::uint32_t token = state.at;
    Operand value;
    if (!compileConstant(state, value, message))
        return false;
    const bool positive = value.isConstant() && value.type.isInteger() && numberOf(value) > 0;
    if (!positive)
        return state.fail(token, message);
    length = value.bits;
    return true;
}

} // namespace Vantor::gpc
