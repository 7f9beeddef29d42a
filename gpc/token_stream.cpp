// Lexing into the array, and the table of names.

#include "gpc/token_stream.h"

#include "gpc/literals.h"
#include "gpc/name_hash.h"
#include "gpc/words.h"

#include <algorithm>

namespace Vantor::gpc {

namespace {

constexpr std::size_t kFirstSlotCount = 1024;
constexpr std::uint32_t kOffsetStep = 8;

/// The value + 1 of an integer; 0 for a text that is none or leaves no room for the 1.
std::uint32_t knownNumber(std::string_view text) noexcept {
    if (const auto decimal = shortDecimal(text))
        return *decimal + 1;
    const auto integer = integerLiteralValue(text, false);
    return integer ? static_cast<std::uint32_t>(integer->value + 1) : 0;
}

} // namespace

void TokenStream::grow() {
    slots.assign(slots.empty() ? kFirstSlotCount : slots.size() * 2, 0);
    const std::size_t mask = slots.size() - 1;
    for (NameId name = 0; name < names.size(); ++name) {
        std::size_t slot = hashes[name] & mask;
        while (slots[slot] != 0)
            slot = (slot + 1) & mask;
        slots[slot] = name + 1;
    }
}

NameId TokenStream::intern(std::string_view name) {
    if (names.size() * 2 >= slots.size())
        grow();
    const std::uint32_t hash = hashOfName(name);
    std::size_t slot = hash & (slots.size() - 1);
    while (slots[slot] != 0) {
        const NameId candidate = slots[slot] - 1;
        if (hashes[candidate] == hash && isSameName(names[candidate], name))
            return candidate;
        slot = (slot + 1) & (slots.size() - 1);
    }
    slots[slot] = static_cast<NameId>(names.size() + 1);
    names.push_back(name);
    hashes.push_back(hash);
    return slots[slot] - 1;
}

bool TokenStream::build(std::string_view text) {
    source = text;
    for (const std::string_view word : kWords)
        intern(word);
    for (const Builtin& builtin : builtins())
        intern(builtin.name);
    for (const NamedConstant& constant : namedConstants())
        intern(constant.name);
    // For as many as there can be: room that stays untouched costs nothing, growing costs every page twice.
    const std::size_t most = std::min(text.size(), kMaxTokens) + 1;
    kinds = std::make_unique_for_overwrite<std::uint8_t[]>(most);
    offsets = std::make_unique_for_overwrite<std::uint32_t[]>(most / kOffsetStep + 1);
    numbers = std::make_unique_for_overwrite<std::uint32_t[]>(most);
    for (std::size_t at = 0;; ++count) {
        const CutToken token = cutToken(text, at);
        const bool tooMany = count == kMaxTokens && token.kind != TokenKind::EndOfInput;
        const TokenKind kind = tooMany ? TokenKind::EndOfInput : token.kind;
        kinds[count] = static_cast<std::uint8_t>(kind);
        if (count % kOffsetStep == 0)
            offsets[count / kOffsetStep] = static_cast<std::uint32_t>(token.begin);
        numbers[count] = numberOf(kind, text.substr(token.begin, token.end - token.begin));
        if (kind == TokenKind::EndOfInput) {
            ++count;
            return !tooMany;
        }
        at = token.end;
    }
}

std::uint32_t TokenStream::numberOf(TokenKind kind, std::string_view text) {
    if (kind == TokenKind::Identifier)
        return intern(text);
    return kind == TokenKind::Number ? knownNumber(text) : 0;
}

std::string_view TokenStream::text(std::uint32_t index) const {
    const CutToken token = cutAgain(index);
    return source.substr(token.begin, token.end - token.begin);
}

std::uint32_t TokenStream::offset(std::uint32_t index) const {
    return static_cast<std::uint32_t>(cutAgain(index).begin);
}

CutToken TokenStream::cutAgain(std::uint32_t index) const {
    CutToken token = cutToken(source, offsets[index / kOffsetStep]);
    for (std::uint32_t passed = index % kOffsetStep; passed > 0; --passed)
        token = cutToken(source, token.end);
    return token;
}

} // namespace Vantor::gpc
