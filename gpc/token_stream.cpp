// Lexing into the array, and the table of names.

#include "gpc/token_stream.h"

#include "gpc/name_hash.h"
#include "gpc/token_cutter.h"
#include "gpc/words.h"

#include <algorithm>

namespace Vantor::gpc {

namespace {

constexpr std::size_t kFirstSlotCount = 1024;

/// The value + 1 of a decimal number of at most seven digits; 0 for every other text.
std::uint32_t shortNumber(std::string_view text) noexcept {
    if (text.size() > 7)
        return 0;
    std::uint32_t value = 0;
    for (const char byte : text) {
        if (!hasClass(byte, kDigit))
            return 0;
        value = value * 10 + static_cast<std::uint32_t>(byte - '0');
    }
    return value + 1;
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
        if (hashes[candidate] == hash && names[candidate] == name)
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
    offsets = std::make_unique_for_overwrite<std::uint32_t[]>(most);
    numbers = std::make_unique_for_overwrite<std::uint32_t[]>(most);
    for (std::size_t at = 0;; ++count) {
        const CutToken token = cutToken(text, at);
        const bool tooMany = count == kMaxTokens && token.kind != TokenKind::EndOfInput;
        const TokenKind kind = tooMany ? TokenKind::EndOfInput : token.kind;
        kinds[count] = static_cast<std::uint8_t>(kind);
        offsets[count] = static_cast<std::uint32_t>(token.begin);
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
    return kind == TokenKind::Number ? shortNumber(text) : 0;
}

std::string_view TokenStream::text(std::uint32_t index) const {
    const CutToken token = cutToken(source, offsets[index]);
    return source.substr(token.begin, token.end - token.begin);
}

} // namespace Vantor::gpc
