// Lexing into the array, and the table of names.

#include "gpc/token_stream.h"

#include "gpc/lexer.h"
#include "gpc/name_hash.h"
#include "gpc/words.h"

namespace Vantor::gpc {

namespace {

constexpr std::size_t kFirstSlotCount = 1024;

} // namespace

void TokenStream::grow() {
    const std::size_t count = slots.empty() ? kFirstSlotCount : slots.size() * 2;
    slots.assign(count, 0);
    for (NameId name = 0; name < names.size(); ++name) {
        std::size_t slot = hashes[name] & (count - 1);
        while (slots[slot] != 0)
            slot = (slot + 1) & (count - 1);
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
    tokens.reserve(text.size() / 8 + 16);
    Lexer lexer(text);
    for (;;) {
        const Token token = lexer.next();
        StreamToken compact{static_cast<std::uint32_t>(token.offset),
                            static_cast<std::uint32_t>(token.text.size()), 0, token.kind};
        const bool last = token.kind == TokenKind::EndOfInput;
        if (!last && tokens.size() == kMaxTokens) {
            compact.kind = TokenKind::EndOfInput;
            tokens.push_back(compact);
            return false;
        }
        if (token.kind == TokenKind::Identifier)
            compact.name = intern(token.text);
        tokens.push_back(compact);
        if (last)
            return true;
    }
}

} // namespace Vantor::gpc
