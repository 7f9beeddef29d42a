// Puts macros into texts. Entry points: expandRun() for lines of a file, expandCondition() for #if and #elif.
// Rescans every replacement together with what follows it, and never expands a macro inside its own
// replacement. Every kind of blow-up ends in a failure: nesting, size and the work spent are capped. Knows no
// directives.

#pragma once

#include "gpc/line_map.h"
#include "gpc/preprocessor_arguments.h"
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

class MacroExpander {
public:
    /// `now`: what __DATE__ and __TIME__ show. `maxOutput`: bytes that the output of all runs may have.
    /// `maxWork`: bytes of replacement and argument texts that may be handled, over all expansions.
    MacroExpander(MacroTable& macroTable, std::time_t now, std::size_t maxOutput, std::uint64_t maxWork);

    /// Appends the lines from `file.at` to the next one that may be a directive, expanded and without their
    /// comments, to `output`, and says in `lines` where they came from. Moves `file` behind them. On failure
    /// it stands at the macro's name, and failure() says why.
    bool expandRun(SourceCursor& file, std::string& output, LineMap& lines);

    /// `text`: a condition without comments, with every `defined` already answered. Appends its expansion to
    /// `result`.
    bool expandCondition(std::string_view text, std::string& result);

    const std::string& failure() const { return failureText; }

private:
    /// Where the reader of a file stops: behind its last line, or in front of something.
    enum class Stop { end, comment, macro };
    struct Sink {
        std::string& text;
        bool keepPaint;    ///< the text will be expanded again
        bool seam = false; ///< the next piece comes from another text than the last one
        void put(std::string_view piece);
    };

    bool fail(std::string message);
    bool charge(std::size_t bytes);
    bool drain(std::size_t remaining, std::size_t floor, Sink& sink);
    void putPaintedName(TextFrame& frame, Sink& sink);
    bool putMacroName(std::size_t floor, Macro& macro, Sink& sink);
    bool beginExpansion(std::size_t floor, Macro& macro, Sink& sink);
    bool isCalled(std::size_t floor);
    bool collectArguments(std::size_t floor, const Macro& macro, std::vector<Argument>& arguments);
    bool substitute(const Macro& macro, std::vector<Argument>& arguments, std::string& result);
    bool expandArgument(Argument& argument);
    Stop nextStop(TextFrame& file, SourceCursor& cursor, Macro*& macro);
    void dropComment(SourceCursor& cursor, std::size_t& at, std::string& output, LineMap& lines);
    bool expandInFile(TextFrame& file, Macro& macro, std::string& output, LineMap& lines);
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
    std::deque<TextFrame> frames; ///< a deque, since views into `owned` must survive growth
    std::string spareText;        ///< with the next one's memory, as are the arguments
    std::vector<Argument> spareArguments;
    std::string failureText;
};

} // namespace Vantor::gpc
