// The preprocessor on its own. Includes and imports find nothing: the source has no path and there are no
// include directories, so that no input reaches the file system.

#include "fuzz/source_places.h"
#include "gpc/preprocessor.h"

namespace Vantor::fuzz {

namespace {

constexpr std::time_t kStartTime = 1'000'000'000;
constexpr std::size_t kPlacesAsked = 16;
/// The usual limit would let one macro bomb take the time of thousands of inputs.
constexpr std::size_t kGrowthLimitBytes = 16u << 10;

} // namespace

void takeInput(Bytes input) {
    const std::string_view source = textOf(input);
    const gpc::PreprocessResult result = gpc::preprocess(source, {{}, {}, kStartTime, kGrowthLimitBytes});
    check(result.diagnostics.size() <= 1, "the first fault ends the work");
    for (const gpc::Diagnostic& diagnostic : result.diagnostics) {
        check(result.text.empty(), "text or a diagnostic, never both");
        checkDiagnostic(source, diagnostic);
        return;
    }
    check(result.text.size() <= source.size() + kGrowthLimitBytes, "the text grows within its limit");
    const std::size_t step = result.text.size() / kPlacesAsked + 1;
    for (std::size_t offset = 0; offset <= result.text.size(); offset += step) {
        const gpc::SourcePlace place = result.lines.locate(result.text, offset);
        checkPlace(source, place.line, place.column);
    }
}

} // namespace Vantor::fuzz
