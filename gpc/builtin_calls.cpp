// Calls of builtin functions: one loop over the argument kinds of the builtin's row.

#include "gpc/expression.h"
#include "gpc/literals.h"
#include "gpc/strings.h"

#include <algorithm>
#include <limits>

namespace Vantor::gpc {

namespace {

/// One call while its arguments are compiled.
struct Call {
    const Builtin& builtin;
    std::uint32_t token;                       ///< the builtin's name
    Type common{};                             ///< of the SameClass arguments so far
    bool commonKnown = false;                  ///< an argument that is no constant has decided the class
    std::array<std::uint32_t, 3> open{};       ///< constants pushed wide, whose class is not decided
    std::array<std::uint32_t, 3> openValues{}; ///< what they are
    std::size_t openCount = 0;
    std::uint8_t typeCode = 0; ///< what goes behind the opcode
};

constexpr std::uint8_t typeCodeOf(Type type) {
    return type.pointer ? kPointerTypeCode : static_cast<std::uint8_t>(type.code);
}

/// Integer constants may stand where fix32 is wanted; 100 is then 100.0.
bool fixedFromInteger(CompilerState& state, Operand& value, std::uint32_t token) {
    const double number =
        value.type.isUnsigned32() ? double(value.bits) : double(static_cast<std::int32_t>(value.bits));
    const auto bits = fix32FromDouble(number);
    if (!bits)
        return state.fail(token, "integer constant is outside the fix32 range");
    value = Operand::constant(static_cast<std::uint32_t>(*bits), kFix32Type);
    return true;
}

bool compileFixed(CompilerState& state, Operand& value, std::uint32_t token) {
    if (value.isConstant() && value.type.isInteger()) {
        if (!fixedFromInteger(state, value, token))
            return false;
        state.code.emitConstant(value.bits); // no fix32 literal: as short as it can be
        return true;
    }
    if (!value.type.isFixed())
        return state.fail(token, "builtin argument must be a fix32 expression");
    load(state, value);
    return true;
}

bool decideClass(CompilerState& state, Call& call, Type type, std::uint32_t token) {
    call.common = type;
    call.commonKnown = true;
    for (std::size_t i = 0; type.isFixed() && i < call.openCount; ++i) {
        Operand value = Operand::constant(call.openValues[i], kInt32Type);
        if (!fixedFromInteger(state, value, token))
            return false;
        state.code.patchU32(call.open[i], value.bits);
    }
    return true;
}

/// abs, min, max, clamp. Integer constants wait for an argument that says what the call is about.
bool compileSameClass(CompilerState& state, Call& call, Operand& value, std::uint32_t token) {
    if (!value.type.isInteger() && !value.type.isFixed())
        return state.fail(token, "builtin argument must be an integer or fix32 expression");
    if (value.isConstant() && value.type.isInteger() && !call.commonKnown) {
        call.openValues[call.openCount] = value.bits;
        call.open[call.openCount++] = state.code.emitWideConstant(value.bits);
        if (value.type.isUnsigned32())
            return decideClass(state, call, kUInt32Type, token);
        return true;
    }
    if (!call.commonKnown) {
        if (!decideClass(state, call, value.type.isFixed() ? kFix32Type : value.type, token))
            return false;
    } else if (call.common.isFixed()) {
        return compileFixed(state, value, token);
    } else if (value.type.isFixed()) {
        return state.fail(token, "builtin arguments must be all integer or all fix32");
    } else if (value.type.isUnsigned32()) {
        call.common = kUInt32Type;
    }
    load(state, value);
    return true;
}

bool checkDesignator(CompilerState& state, const Call& call, std::uint32_t token) {
    const bool named = state.isName(token) && constantOfName(state.tokens.name(token)) != nullptr &&
                       state.symbols.variable(state.tokens.name(token)) == kNoIndex;
    if (named && !state.tokens.text(token).starts_with(call.builtin.prefix))
        return state.fail(token, "expected a designator that begins with ", call.builtin.prefix);
    return true;
}

bool compileArgument(CompilerState& state, Call& call, ArgumentKind kind) {
    const std::uint32_t token = state.at;
    if (kind == ArgumentKind::Designator && !checkDesignator(state, call, token))
        return false;
    Operand value;
    if (!compileExpression(state, value))
        return false;
    settle(state, value);
    if (value.type.isVoid)
        return loadValue(state, value, token);
    switch (kind) {
    case ArgumentKind::Integer:
    case ArgumentKind::Designator:
        if (!value.type.isInteger())
            return state.fail(token, "builtin argument must be an integer expression");
        break;
    case ArgumentKind::Fixed:
        return compileFixed(state, value, token);
    case ArgumentKind::SameClass:
        return compileSameClass(state, call, value, token);
    case ArgumentKind::Target:
        call.typeCode = typeCodeOf(value.type.target());
        [[fallthrough]];
    case ArgumentKind::Pointer:
        if (!value.type.pointer)
            return state.fail(token, "builtin argument must be an array or a pointer");
        break;
    case ArgumentKind::String:
        if (!value.type.pointer || value.type.targetWidth() != 1)
            return state.fail(token, "builtin argument must be a string");
        break;
    default: // Value
        if (value.type.pointer)
            return state.fail(token, "builtin argument must be an integer or fix32 expression");
        call.typeCode = typeCodeOf(value.type);
        break;
    }
    load(state, value);
    return true;
}

/// Class that a format's conversion wants, or Void when it is no conversion.
TypeClass conversionClass(char conversion) {
    if (std::string_view("diuxXc").find(conversion) != std::string_view::npos)
        return TypeClass::Integer;
    if (conversion == 'f')
        return TypeClass::Fixed;
    return conversion == 's' ? TypeClass::Pointer : TypeClass::Void;
}

bool compileFormatArgument(CompilerState& state, TypeClass wanted) {
    const std::uint32_t commaToken = state.at;
    if (!state.accept(TokenKind::Comma))
        return state.fail(commaToken, "printf has fewer arguments than its format asks for");
    const std::uint32_t token = state.at;
    Operand value;
    if (!compileExpression(state, value))
        return false;
    settle(state, value);
    if (value.type.isVoid)
        return loadValue(state, value, token);
    if (wanted == TypeClass::Fixed)
        return compileFixed(state, value, token);
    const bool matches = wanted == TypeClass::Pointer ? value.type.pointer && value.type.targetWidth() == 1
                                                      : value.type.isInteger();
    if (!matches)
        return state.fail(token, "printf argument does not match its format");
    load(state, value);
    return true;
}

/// Flags, width and precision between the '%' and the conversion.
std::size_t conversionAt(std::string_view format, std::size_t percent) {
    return std::min(format.find_first_not_of(" -+0123456789.", percent + 1), format.size());
}

bool compileFormat(CompilerState& state, Opcode opcode) {
    const std::uint32_t token = state.at;
    if (!state.is(TokenKind::StringLiteral))
        return state.fail(token, "printf requires a format string");
    std::uint32_t end = 0;
    const auto format = stringContent(state, token, end);
    std::uint32_t address = 0;
    if (!takeString(state, address))
        return false;
    std::uint32_t count = 0;
    for (std::size_t at = format->find('%'); at != std::string::npos; at = format->find('%', at + 1)) {
        at = conversionAt(*format, at);
        const char conversion = at < format->size() ? (*format)[at] : '\0';
        if (conversion == '%')
            continue;
        const TypeClass wanted = conversionClass(conversion);
        if (wanted == TypeClass::Void)
            return state.fail(token, "printf format has an unknown conversion");
        if (!compileFormatArgument(state, wanted))
            return false;
        if (++count > std::numeric_limits<std::uint8_t>::max())
            return state.fail(token, "printf has more than 255 arguments");
    }
    if (state.is(TokenKind::Comma))
        return state.fail(state.at, "printf has more arguments than its format asks for");
    state.code.emit(opcode, address);
    state.code.emitByte(static_cast<std::uint8_t>(count));
    return true;
}

bool compileArguments(CompilerState& state, Call& call) {
    for (std::size_t i = 0; i < call.builtin.argumentCount(); ++i) {
        if (i > 0 && !state.expect(TokenKind::Comma, "expected ',' between builtin arguments"))
            return false;
        if (!compileArgument(state, call, call.builtin.arguments[i]))
            return false;
    }
    return true;
}

/// Every argument was an integer constant, or the smaller integer types decided nothing.
Type resultType(const Call& call) {
    if (call.builtin.result.isVoid || call.builtin.arguments[0] != ArgumentKind::SameClass)
        return call.builtin.result;
    if (!call.commonKnown || (call.common.isInteger() && !call.common.isUnsigned32()))
        return kInt32Type;
    return call.common;
}

} // namespace

bool compileBuiltinCall(CompilerState& state, const Builtin& builtin, Operand& result) {
    if (state.constantOnly > 0)
        return false;
    Call call{builtin, state.at};
    const bool output = builtin.family == BuiltinFamily::Output;
    state.advance();
    if (!state.expect(TokenKind::LParen, "expected '(' after builtin name"))
        return false;
    const bool format = builtin.arguments[0] == ArgumentKind::Format;
    if (format ? !compileFormat(state, builtin.opcode) : !compileArguments(state, call))
        return false;
    if (!state.expect(TokenKind::RParen,
                      output ? "expected ')' after statement" : "expected ')' after builtin arguments"))
        return false;
    const Type type = resultType(call);
    // The absolute value of an unsigned number is that number.
    const bool nothingToDo = builtin.opcode == Opcode::Abs && type.isUnsigned32();
    if (!format && !nothingToDo)
        state.code.emit(type.isUnsigned32() ? builtin.unsignedOpcode : builtin.opcode);
    const ArgumentKind last =
        builtin.argumentCount() == 0 ? ArgumentKind::None : builtin.arguments[builtin.argumentCount() - 1];
    if (last == ArgumentKind::Value || last == ArgumentKind::Target)
        state.code.emitByte(call.typeCode);
    result = {};
    if (!type.isVoid)
        result = Operand::onStack(type);
    return true;
}

} // namespace Vantor::gpc
