// Reads the arguments of a macro call, one text after the other, until the call is closed. Entry point:
// ArgumentReader. What an argument expands to is the expander's business.

#pragma once

#include "gpc/preprocessor_macros.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Vantor::gpc {

/// A text that is being read: the lines of a file at the bottom, replacements and arguments above.
struct TextFrame {
    std::string_view text; ///< of `owned`, of a macro, or of the file
    std::size_t at = 0;
    Macro* macro = nullptr; ///< the one that is busy while this frame is here
    bool isFile = false;    ///< `text` ends before the next directive line, once that has been met
    std::string owned;
};

/// Cuts the text of a file off behind the line feed at `feed` when a directive line follows.
void endAtDirective(TextFrame& frame, std::size_t feed);

/// Trimmed. Views of where the argument stands, unless it had to be changed. Not to be copied or moved.
struct Argument {
    std::string_view text;
    std::string_view expanded; ///< once isExpanded
    std::string ownText;
    std::string ownExpansion;
    const Macro* macro = nullptr; ///< one that it names; without any, its expansion is its text
    bool isExpanded = false;
};

class ArgumentReader {
public:
    /// `list` is empty; it keeps its place in memory from here on.
    ArgumentReader(MacroTable& macroTable, const Macro& macro, std::vector<Argument>& list);

    /// Reads on. True when the call has been closed, false at the end of the frame's text. `raw`: it is the
    /// user's own text.
    bool read(TextFrame& frame, bool raw);
    /// Copies what has been read, because the frame that it is in will go.
    void leaveFrame();
    /// Bytes read since it was asked last.
    std::size_t takeCost();
    /// When the call has been closed. `found`: as many arguments as the call has. False when that is not what
    /// the macro takes; otherwise the list has one for each parameter, the variadic one last.
    bool matchParameters(std::size_t& found);

private:
    void readPiece(TextFrame& frame, bool raw);
    void keep(TextFrame& frame, std::size_t next, std::string_view instead);
    void finishArgument(TextFrame& frame);

    MacroTable& macros;
    const Macro& called;
    std::vector<Argument>& arguments;
    std::size_t places;
    std::size_t surplus = 0; ///< arguments without a place, counted but not kept
    std::size_t depth = 0;   ///< of parentheses
    std::size_t copied = 0;  ///< how far the last argument has been taken from the frame
    std::size_t safe = 0;    ///< arguments that are no views of a frame
    std::size_t cost = 0;
};

} // namespace Vantor::gpc
