// The lexer, and the readers of numeric and character literals: on every number and character token of the
// input, and on the input itself, which no lexer has looked at.

#include "fuzz/target.h"
#include "gpc/lexer.h"
#include "gpc/literals.h"

#include <cmath>

namespace Vantor::fuzz {

namespace {

void checkInteger(std::string_view text) {
    const auto plain = gpc::integerLiteralValue(text, false);
    const auto negated = gpc::integerLiteralValue(text, true);
    if (plain)
        check(plain->value >= 0 && plain->value <= 4294967295, "an integer literal has 32 bits");
    if (negated)
        check(negated->value <= 0 && negated->value >= -2147483648, "a negative literal has 32 bits");
    if (plain && negated)
        check(plain->value == -negated->value, "the sign changes nothing but the sign");
    if (plain && plain->type == gpc::IntegerLiteralType::int16)
        check(plain->value <= 32767, "a 16-bit literal has 16 bits");
}

void checkFixed(std::string_view text) {
    const auto fixed = gpc::fixedLiteralValue(text);
    if (!fixed)
        return;
    check(gpc::isFixedLiteral(text), "what reads as fix32 is a fix32 literal");
    check(fixed->bits >= 0 && std::abs(fixed->value - fixed->bits / 65536.0) <= 0.5 / 65536.0,
          "the bits are the nearest ones to what is written");
    check(gpc::fix32FromDouble(fixed->value) == fixed->bits, "both ways of rounding agree");
}

void readAsLiteral(std::string_view text) {
    checkInteger(text);
    checkFixed(text);
    gpc::charLiteralValue(text);
}

} // namespace

void takeInput(Bytes input) {
    const std::string_view source = textOf(input);
    readAsLiteral(source);
    gpc::Lexer lexer(source);
    std::uint64_t end = 0;
    for (gpc::Token token = lexer.next(); token.kind != gpc::TokenKind::EndOfInput; token = lexer.next()) {
        check(token.offset >= end && !token.text.empty(), "tokens stand behind each other");
        end = token.offset + token.text.size();
        check(end <= source.size() && source.substr(token.offset, token.text.size()) == token.text,
              "a token shows the source's bytes");
        if (token.kind == gpc::TokenKind::Number || token.kind == gpc::TokenKind::CharLiteral)
            readAsLiteral(token.text);
    }
    check(lexer.next().kind == gpc::TokenKind::EndOfInput, "the end stays the end");
}

} // namespace Vantor::fuzz
