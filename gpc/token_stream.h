// The whole source as a compact array of tokens, lexed once, with every identifier numbered. All passes read
// it by index, so that going back costs nothing and a name is looked up by a table index, not by its text.
// Entry point: TokenStream::build(). Views into the preprocessed text, which must outlive it.
#pragma once

#include "gpc/token.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace Vantor::gpc {

/// Number of a distinct identifier. The words of kWords come first, in their order.
using NameId = std::uint32_t;

struct StreamToken {
    std::uint32_t offset = 0;
    std::uint32_t length = 0;
    std::uint32_t name = 0; ///< identifiers: their NameId; strings: free for the compiler, 0 at first
    TokenKind kind = TokenKind::EndOfInput;
};

/// A device with 8 KB of code never needs more; it bounds what a hostile source costs (16 bytes each).
inline constexpr std::size_t kMaxTokens = std::size_t{4} << 20;

class TokenStream {
public:
    /// Reads all of `text`; false when it holds more than kMaxTokens, the array then ends with the first too
    /// many. The array always ends with EndOfInput.
    bool build(std::string_view text);

    std::uint32_t size() const { return static_cast<std::uint32_t>(tokens.size()); }
    const StreamToken& operator[](std::uint32_t index) const { return tokens[index]; }
    StreamToken& at(std::uint32_t index) { return tokens[index]; }
    std::string_view text(std::uint32_t index) const {
        return source.substr(tokens[index].offset, tokens[index].length);
    }
    std::string_view nameText(NameId name) const { return names[name]; }
    std::uint32_t nameCount() const { return static_cast<std::uint32_t>(names.size()); }

private:
    NameId intern(std::string_view name);
    void grow();

    std::string_view source;
    std::vector<StreamToken> tokens;
    std::vector<std::string_view> names;
    std::vector<std::uint32_t> hashes; ///< of each name
    std::vector<std::uint32_t> slots;  ///< open addressing; NameId + 1, 0 when free; a power of two
};

} // namespace Vantor::gpc
