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

/// 8 bytes: a long source has a token for every ten of its bytes. Where one ends is seen when it is cut
/// again.
struct StreamToken {
    std::uint32_t offset;
    TokenKind kind : 6;
    /// Identifiers: their NameId. Numbers: the value + 1 of a short decimal one, 0 when its text has to be
    /// looked at. Strings: free for the compiler, 0 at first.
    std::uint32_t name : 26;

    StreamToken(std::size_t begin, TokenKind tokenKind, std::uint32_t number)
        : offset(static_cast<std::uint32_t>(begin)), kind(tokenKind), name(number & kNameMask) {}
    static constexpr std::uint32_t kNameMask = (1u << 26) - 1;
};

/// A device with 8 KB of code never needs more; it bounds what a hostile source costs.
inline constexpr std::size_t kMaxTokens = std::size_t{4} << 20;

class TokenStream {
public:
    /// Reads all of `text`; false when it holds more than kMaxTokens, the array then ends with the first too
    /// many. The array always ends with EndOfInput.
    bool build(std::string_view text);

    std::uint32_t size() const { return static_cast<std::uint32_t>(tokens.size()); }
    const StreamToken& operator[](std::uint32_t index) const { return tokens[index]; }
    void setName(std::uint32_t index, std::uint32_t name) {
        tokens[index].name = name & StreamToken::kNameMask;
    }
    std::string_view text(std::uint32_t index) const;
    std::string_view nameText(NameId name) const { return names[name]; }
    std::uint32_t nameCount() const { return static_cast<std::uint32_t>(names.size()); }

private:
    static_assert(kMaxTokens <= StreamToken::kNameMask / 2,
                  "names are no more than tokens and what the language has");

    NameId intern(std::string_view name);
    void grow();

    std::string_view source;
    std::vector<StreamToken> tokens;
    std::vector<std::string_view> names;
    std::vector<std::uint32_t> hashes; ///< of each name
    std::vector<std::uint32_t> slots;  ///< open addressing; NameId + 1, 0 when free; a power of two
};

} // namespace Vantor::gpc
