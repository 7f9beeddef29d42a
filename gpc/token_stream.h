// The whole source as compact arrays of tokens, cut once, with every identifier numbered. All passes read
// them by index, so that going back costs nothing and a name is looked up by a table index, not by its text.
// Entry point: TokenStream::build(). Views into the preprocessed text, which must outlive it.
#pragma once

#include "gpc/token_cutter.h"

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace Vantor::gpc {

/// Number of a distinct identifier. The words of kWords come first, in their order.
using NameId = std::uint32_t;

/// A device with 8 KB of code never needs more; it bounds what a hostile source costs (5.5 bytes each).
inline constexpr std::size_t kMaxTokens = std::size_t{4} << 20;

class TokenStream {
public:
    /// Reads all of `text`; false when it holds more than kMaxTokens, the stream then ends with the first too
    /// many. It always ends with EndOfInput.
    bool build(std::string_view text);

    std::uint32_t size() const { return count; }
    TokenKind kind(std::uint32_t index) const { return TokenKind{kinds[index]}; }
    /// Of its first byte. Not stored: cuts some tokens again, as does text().
    std::uint32_t offset(std::uint32_t index) const;
    /// Identifiers: their NameId. Numbers: the value + 1 of an integer, 0 when its text has to be looked at.
    /// Strings: free for the compiler, 0 at first.
    std::uint32_t name(std::uint32_t index) const { return numbers[index]; }
    void setName(std::uint32_t index, std::uint32_t name) { numbers[index] = name; }
    std::string_view text(std::uint32_t index) const;

    std::string_view nameText(NameId name) const { return names[name]; }
    std::uint32_t nameCount() const { return static_cast<std::uint32_t>(names.size()); }

private:
    CutToken cutAgain(std::uint32_t index) const;
    std::uint32_t numberOf(TokenKind kind, std::string_view text);
    NameId intern(std::string_view name);
    void grow();

    std::string_view source;
    std::uint32_t count = 0;
    std::unique_ptr<std::uint8_t[]>
        kinds; ///< on their own, since that is all that most looks at a token ask for
    std::unique_ptr<std::uint32_t[]> offsets; ///< of every eighth token
    std::unique_ptr<std::uint32_t[]> numbers;
    std::vector<std::string_view> names;
    std::vector<std::uint32_t> hashes; ///< of each name
    std::vector<std::uint32_t> slots;  ///< open addressing; NameId + 1, 0 when free; a power of two
};

} // namespace Vantor::gpc
