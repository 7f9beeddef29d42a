// Puts macros into texts. Entry points: expandRun() for lines of a file, expandCondition() for #if and #elif.
// Rescans every replacement together with what follows it, and never expands a macro inside its own
// replacement. Every kind of blow-up ends in a failure: nesting, size and the work spent are capped. Knows no
// directives.

#pragma once

#include "gpc/line_map.h"
#include "gpc/preprocessor_macros.h"
#include "gpc/preprocessor_text.h"

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace Vantor::gpc {

/// A place in a file that only moves forward, counting lines as it goes.
class PlaceCounter {
public:
    explicit PlaceCounter(std::string_view fileText) : text(fileText) {}
    void moveTo(std::size_t offset);
    std::size_t offset() const { return at; }
    std::uint64_t line() const { return currentLine; }
    std::uint64_t column() const { return at - lineStart + 1; }

private:
    std::string_view text;
    std::size_t at = 0;
    std::size_t lineStart = 0;
    std::uint64_t currentLine = 1;
};

class MacroExpander {
public:
    /// `now`: what __DATE__ and __TIME__ show. `maxOutput`: bytes that the output of all runs may have.
    /// `maxWork`: bytes of replacement and argument texts that may be handled, over all expansions.
    MacroExpander(MacroTable& macroTable, std::time_t now, std::size_t maxOutput, std::uint64_t maxWork);

    /// Appends the lines from `place` to `end` of `file`, expanded, to `output`, and says in `lines` where
    /// they came from. `open`: what the lines begin inside of. On failure `place` stands at the macro's name,
    /// and failure() says why.
    bool expandRun(std::string_view file, std::size_t end, OpenState open, PlaceCounter& place,
                   std::string& output, LineMap& lines);

    /// `text`: a condition without comments, with every `defined` already answered. Appends its expansion to
    /// `result`.
    bool expandCondition(std::string_view text, std::string& result);

    const std::string& failure() const { return failureText; }

private:
    /// A text that is being read: the lines of a file at the bottom, replacements and arguments above.
    struct Frame {
        std::string_view text; ///< of `owned`, of a macro, or of the file
        std::size_t at = 0;
        Macro* macro = nullptr; ///< the one that is busy while this frame is here
        std::string owned;
    };
    struct Sink {
        std::string& text;
        bool keepPaint;    ///< the text will be expanded again
        bool seam = false; ///< the next piece comes from another text than the last one
        void put(std::string_view piece);
    };

    bool fail(std::string message);
    bool charge(std::size_t bytes);
    bool drain(std::size_t remaining, std::size_t floor, Sink& sink);
    void putPaintedName(Frame& frame, Sink& sink);
    bool putMacroName(std::size_t floor, Macro& macro, Sink& sink);
    bool beginExpansion(std::size_t floor, Macro& macro);
    bool isCalled(std::size_t floor);
    bool collectArguments(std::size_t floor, const Macro& macro, std::vector<std::string>& arguments);
    bool checkCount(const Macro& macro, std::vector<std::string>& arguments, std::size_t surplus);
    bool substitute(const Macro& macro, const std::vector<std::string>& arguments, std::string& result);
    bool expandArgument(std::string_view argument, std::string& result);
    void pushFrame(std::string_view text, Macro* macro);
    void popFrame();
    std::size_t unchangedEnd(std::string_view text, std::size_t at, Macro*& next);
    const std::string& objectText(Macro& macro) const;

    MacroTable& macros;
    std::time_t startTime;
    std::size_t outputLimit;
    std::uint64_t workLimit;
    std::uint64_t work = 0;
    std::uint64_t expansions = 0; ///< of function-like macros, over the whole compilation
    int argumentDepth = 0;
    std::deque<Frame> frames; ///< a deque, since views into `owned` must survive growth
    std::string failureText;
};

} // namespace Vantor::gpc
