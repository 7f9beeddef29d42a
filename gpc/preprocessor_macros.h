// The macro table, and the readers of the two forms of definition. Entry points: MacroTable,
// readDefinition(), readLegacyDefinition(). How a macro is put into a text is the expander's business.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Vantor::gpc {

/// Stands before an identifier, in texts between two expansions only, that no later expansion may touch
/// again. A byte that no token contains; where users write it, it is swapped for its neighbour, which no
/// token contains either.
inline constexpr char kPaintMark = '\x01';
inline constexpr char kPaintMarkStandIn = '\x02';

struct Macro {
    enum class Kind : std::uint8_t { object, function, date, time };

    /// A piece of a function-like macro's replacement: text of its own, or a parameter.
    struct Piece {
        std::string text;
        std::size_t parameter = kNoParameter;
    };
    static constexpr std::size_t kNoParameter = static_cast<std::size_t>(-1);

    std::string name;
    bool defined = true; ///< false after #undef; the name keeps its place in the table
    Kind kind = Kind::object;
    bool variadic = false; ///< the arguments behind the named ones are the parameter after the last name
    bool busy = false;     ///< its replacement is being read right now; its own name in there stays as it is
    std::vector<std::string> parameters;
    std::string replacement; ///< of an object-like macro; without comments, trimmed
    bool isInert = false;    ///< object-like, and without a name in it, so that nothing in it can expand
    std::vector<Piece> pieces;
    std::size_t piecesBytes = 0; ///< of their own texts
};

class MacroTable {
public:
    /// Replaces an earlier definition of that name.
    void define(Macro macro);
    void undefine(std::string_view name);
    /// Null when there is none. The pointer is good until that name is defined again.
    Macro* find(std::string_view name);

private:
    struct Slot {
        Macro* macro = nullptr; ///< null when free
        std::uint32_t hash = 0;
    };
    Slot& slotOf(std::string_view name, std::uint32_t hash);
    void grow();

    std::deque<Macro> macros; ///< every name ever defined; a deque, so that pointers stay good
    std::vector<Slot> slots;  ///< open addressing; a power of two
    /// One bit for each length of name that was ever defined, per first and per last byte. Nearly every
    /// identifier of a source is no macro, and this says so without hashing it.
    std::array<std::uint64_t, 256> lengthsByFirstByte{};
    std::array<std::uint64_t, 256> lengthsByLastByte{};
};

/// `text`: what follows "#define", without comments. Nothing on failure, with `error` saying why.
std::optional<Macro> readDefinition(std::string_view text, std::string& error);

/// `text`: what follows the bare word "define" of older scripts, without comments: a name and one expression.
std::optional<Macro> readLegacyDefinition(std::string_view text, std::string& error);

} // namespace Vantor::gpc
