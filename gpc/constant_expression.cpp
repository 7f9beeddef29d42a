// Precedence climbing over the lexer's tokens. Operands that short-circuit away are parsed but may not fail
// by value.

#include "gpc/constant_expression.h"

#include "gpc/builtins.h"
#include "gpc/lexer.h"
#include "gpc/literals.h"

namespace Vantor::gpc {

namespace {

using K = TokenKind;

/// Parentheses, unary operators and conditional branches inside each other; a stack frame each.
constexpr int kMaxDepth = 256;

constexpr int kNoOperator = 0;
constexpr int kLowestBinary = 1;

/// How tightly a binary operator binds; kNoOperator for every other token.
int precedenceOf(K kind) noexcept {
    switch (kind) {
    case K::PipePipe:
        return 1;
    case K::CaretCaret:
        return 2;
    case K::AndAnd:
        return 3;
    case K::Pipe:
        return 4;
    case K::Caret:
        return 5;
    case K::Ampersand:
        return 6;
    case K::EqualEqual:
    case K::NotEqual:
        return 7;
    case K::Less:
    case K::LessEqual:
    case K::Greater:
    case K::GreaterEqual:
        return 8;
    case K::ShiftLeft:
    case K::ShiftRight:
        return 9;
    case K::Plus:
    case K::Minus:
        return 10;
    case K::Star:
    case K::Slash:
    case K::Percent:
        return 11;
    default:
        return kNoOperator;
    }
}

using Value = std::optional<ConstantValue>;

ConstantValue truth(bool value) noexcept {
    return {value ? 1u : 0u, false};
}

std::int32_t asSigned(std::uint32_t bits) noexcept {
    return static_cast<std::int32_t>(bits);
}

bool lessThan(ConstantValue left, ConstantValue right, bool isUnsigned) noexcept {
    return isUnsigned ? left.bits < right.bits : asSigned(left.bits) < asSigned(right.bits);
}

/// `right` is not zero.
std::uint32_t divide(ConstantValue left, ConstantValue right, bool isUnsigned, bool wantRemainder) noexcept {
    if (isUnsigned)
        return wantRemainder ? left.bits % right.bits : left.bits / right.bits;
    // 64 bits, so that the most negative number divided by -1 wraps instead of trapping.
    const std::int64_t dividend = asSigned(left.bits);
    const std::int64_t divisor = asSigned(right.bits);
    return static_cast<std::uint32_t>(wantRemainder ? dividend % divisor : dividend / divisor);
}

std::uint32_t shiftRight(ConstantValue left, std::uint32_t count) noexcept {
    return left.isUnsigned ? left.bits >> count : static_cast<std::uint32_t>(asSigned(left.bits) >> count);
}

Value apply(K operation, ConstantValue left, ConstantValue right) noexcept {
    const bool isUnsigned = left.isUnsigned || right.isUnsigned;
    const std::uint32_t count = right.bits & 31;
    switch (operation) {
    case K::PipePipe:
        return truth(left.isTrue() || right.isTrue());
    case K::CaretCaret:
        return truth(left.isTrue() != right.isTrue());
    case K::AndAnd:
        return truth(left.isTrue() && right.isTrue());
    case K::Pipe:
        return ConstantValue{left.bits | right.bits, isUnsigned};
    case K::Caret:
        return ConstantValue{left.bits ^ right.bits, isUnsigned};
    case K::Ampersand:
        return ConstantValue{left.bits & right.bits, isUnsigned};
    case K::EqualEqual:
        return truth(left.bits == right.bits);
    case K::NotEqual:
        return truth(left.bits != right.bits);
    case K::Less:
        return truth(lessThan(left, right, isUnsigned));
    case K::LessEqual:
        return truth(!lessThan(right, left, isUnsigned));
    case K::Greater:
        return truth(lessThan(right, left, isUnsigned));
    case K::GreaterEqual:
        return truth(!lessThan(left, right, isUnsigned));
    case K::ShiftLeft:
        return ConstantValue{left.bits << count, left.isUnsigned};
    case K::ShiftRight:
        return ConstantValue{shiftRight(left, count), left.isUnsigned};
    case K::Plus:
        return ConstantValue{left.bits + right.bits, isUnsigned};
    case K::Minus:
        return ConstantValue{left.bits - right.bits, isUnsigned};
    case K::Star:
        return ConstantValue{left.bits * right.bits, isUnsigned};
    case K::Slash:
    case K::Percent:
        if (right.bits == 0)
            return std::nullopt;
        return ConstantValue{divide(left, right, isUnsigned, operation == K::Percent), isUnsigned};
    default:
        return std::nullopt;
    }
}

class Evaluator {
public:
    explicit Evaluator(std::string_view text) noexcept : lexer(text) { advance(); }

    Value whole() noexcept {
        const Value value = conditional();
        return token.kind == K::EndOfInput ? value : std::nullopt;
    }

private:
    struct Nested {
        explicit Nested(int& depth) noexcept : counter(depth) { ++counter; }
        ~Nested() { --counter; }
        Nested(const Nested&) = delete;
        Nested& operator=(const Nested&) = delete;
        int& counter;
    };

    void advance() noexcept { token = lexer.next(); }

    /// conditional: binary [ "?" conditional ":" conditional ]
    Value conditional() noexcept {
        const Nested nested(depth);
        if (depth > kMaxDepth)
            return std::nullopt;
        const Value condition = binary(kLowestBinary);
        if (!condition || token.kind != K::Question)
            return condition;
        const bool chosen = condition->isTrue();
        advance();
        const Value whenTrue = inBranch(chosen);
        if (!whenTrue || token.kind != K::Colon)
            return std::nullopt;
        advance();
        const Value whenFalse = inBranch(!chosen);
        if (!whenFalse)
            return std::nullopt;
        return ConstantValue{chosen ? whenTrue->bits : whenFalse->bits,
                             whenTrue->isUnsigned || whenFalse->isUnsigned};
    }

    Value inBranch(bool reached) noexcept {
        const bool outer = live;
        live = live && reached;
        const Value value = conditional();
        live = outer;
        return value;
    }

    /// binary: unary { operator unary }, operators of at least `lowest` precedence
    Value binary(int lowest) noexcept {
        Value left = unary();
        while (left) {
            const K operation = token.kind;
            const int precedence = precedenceOf(operation);
            if (precedence < lowest || precedence == kNoOperator)
                break;
            advance();
            const bool outer = live;
            const bool decided =
                (operation == K::AndAnd && !left->isTrue()) || (operation == K::PipePipe && left->isTrue());
            live = live && !decided;
            const Value right = binary(precedence + 1);
            left = right ? combine(operation, *left, *right) : std::nullopt;
            live = outer;
        }
        return left;
    }

    Value combine(K operation, ConstantValue left, ConstantValue right) const noexcept {
        const Value value = apply(operation, left, right);
        return value || live ? value : ConstantValue{};
    }

    /// unary: { "+" | "-" | "!" | "~" } primary
    Value unary() noexcept {
        const K operation = token.kind;
        if (operation != K::Plus && operation != K::Minus && operation != K::Bang && operation != K::Tilde)
            return primary();
        const Nested nested(depth);
        if (depth > kMaxDepth)
            return std::nullopt;
        advance();
        if (operation == K::Minus && token.kind == K::Number)
            return numberValue(true);
        const Value operand = unary();
        if (!operand)
            return std::nullopt;
        switch (operation) {
        case K::Minus:
            return ConstantValue{0u - operand->bits, operand->isUnsigned};
        case K::Tilde:
            return ConstantValue{~operand->bits, operand->isUnsigned};
        case K::Bang:
            return truth(!operand->isTrue());
        default:
            return operand;
        }
    }

    /// primary: number | character | name | "(" conditional ")"
    Value primary() noexcept {
        if (token.kind == K::Number)
            return numberValue(false);
        if (token.kind == K::CharLiteral) {
            const auto value = charLiteralValue(token.text);
            advance();
            return value ? Value{ConstantValue{static_cast<std::uint32_t>(*value), false}} : std::nullopt;
        }
        if (token.kind == K::Identifier)
            return nameValue();
        if (token.kind != K::LParen)
            return std::nullopt;
        advance();
        const Value value = conditional();
        if (!value || token.kind != K::RParen)
            return std::nullopt;
        advance();
        return value;
    }

    /// A macro may stand for TRUE; taking that for an unknown name would turn conditions round.
    Value nameValue() noexcept {
        const NamedConstant* const constant = findConstant(token.text);
        advance();
        return ConstantValue{constant ? static_cast<std::uint32_t>(constant->value) : 0u, false};
    }

    /// A literal directly behind a minus is converted together with it: -2147483648 is in range.
    Value numberValue(bool negated) noexcept {
        const std::string_view text = token.text;
        advance();
        if (isFixedLiteral(text))
            return std::nullopt;
        const auto literal = integerLiteralValue(text, negated);
        if (!literal)
            return std::nullopt;
        return ConstantValue{static_cast<std::uint32_t>(literal->value),
                             literal->type == IntegerLiteralType::uint32};
    }

    Lexer lexer;
    Token token;
    int depth = 0;
    bool live = true; ///< false inside an operand that short-circuiting leaves out
};

} // namespace

std::optional<ConstantValue> evaluateConstantExpression(std::string_view text) noexcept {
    return Evaluator(text).whole();
}

} // namespace Vantor::gpc
