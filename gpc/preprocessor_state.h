// The state of one preprocessing, shared by its rooms: lines and files (preprocessor.cpp), directives and
// conditions (preprocessor_directives.cpp), includes and imports (preprocessor_includes.cpp). Nobody else
// includes this.

#pragma once

#include "gpc/preprocessor.h"
#include "gpc/preprocessor_expansion.h"
#include "gpc/preprocessor_macros.h"
#include "gpc/preprocessor_text.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Vantor::gpc {

class Preprocessor {
public:
    Preprocessor(std::string_view source, const PreprocessOptions& preprocessOptions,
                 PreprocessResult& target);
    bool run(std::string_view source);

private:
    /// The bytes of an open #if, #ifdef or #ifndef, each a flag.
    struct Conditional {
        std::uint8_t parentActive;
        std::uint8_t branchTaken; ///< some branch of this block has been selected
        std::uint8_t active;      ///< lines are kept right now
        std::uint8_t elseSeen;
    };
    /// A file that is being processed.
    struct File {
        std::uint32_t index; ///< in the line map, which knows its path
        int depth;           ///< 0 for the main file
        SourceCursor cursor;
    };
    /// A directive line whose name has been read. `rest` is what follows the name, comments included.
    struct Directive {
        File& file;
        std::string_view name;
        std::string_view rest;
        FileOffset place;
    };
    using Handler = bool (Preprocessor::*)(const Directive&);
    struct DirectiveRule {
        std::string_view name;
        Handler handler;
        bool inAnyRegion; ///< otherwise ignored where lines are left out
    };
    static const DirectiveRule kDirectives[];

    bool fail(FileOffset place, std::string message);
    bool isActive() const { return conditionals.empty() || conditionals.back().active != 0; }

    // Lines and files.
    bool processFile(File& file);
    bool processRun(File& file);
    void skipRun(SourceCursor& cursor);
    bool processDirectiveLine(File& file, LineKind kind);

    // Directives.
    bool dispatch(const Directive& directive);
    bool handleDefine(const Directive& directive);
    bool handleLegacyDefine(const Directive& directive);
    bool handleUndef(const Directive& directive);
    bool handleIfdef(const Directive& directive);
    bool handleIfndef(const Directive& directive);
    bool handleIf(const Directive& directive);
    bool handleElif(const Directive& directive);
    bool handleElse(const Directive& directive);
    bool handleEndif(const Directive& directive);
    bool handlePragma(const Directive& directive);
    bool openOnName(const Directive& directive, bool wantDefined);
    void openConditional(bool condition, FileOffset place);
    std::optional<bool> evaluateCondition(std::string_view text);
    bool answerDefined(std::string_view text, std::string& result);

    // Includes and imports.
    bool handleInclude(const Directive& directive);
    bool handleImport(const Directive& directive);
    bool countFile(const Directive& directive);
    bool includeFile(const Directive& directive, const std::filesystem::path& path);
    std::optional<std::filesystem::path> findFile(const File& from, std::string_view name, bool quoted) const;

    const PreprocessOptions& options;
    PreprocessResult& result;
    MacroTable macros;
    MacroExpander expander;
    std::vector<Conditional> conditionals;
    std::deque<FileOffset> conditionalPlaces; ///< where each of them was opened
    int fileCount = 0;                        ///< files included and imported so far
    std::size_t includedBytes = 0;
};

} // namespace Vantor::gpc
