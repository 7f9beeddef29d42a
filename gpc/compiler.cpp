// The pipeline: preprocess, scan, declare, write the header, then one pass per section of the code.

#include "gpc/compiler.h"

#include "gpc/compiler_state.h"
#include "gpc/declarations.h"
#include "gpc/gbc.h"
#include "gpc/preprocessor.h"
#include "gpc/scan.h"
#include "gpc/statements.h"

#include <chrono>
#include <limits>
#include <new>

namespace Vantor::gpc {

namespace {

using Kind = TopLevelItem::Kind;

std::uint32_t secondsNow() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<std::uint32_t>(std::chrono::duration_cast<std::chrono::seconds>(now).count());
}

class Pipeline {
public:
    Pipeline(CompilerState& owner, std::uint32_t stamp, std::optional<ScriptInfo> scriptInfo)
        : state(owner), buildStamp(stamp), info(std::move(scriptInfo)) {}

    bool run();

private:
    bool startImage();
    void emitStart();
    bool initializationPass();
    bool mainAndComboPass();
    bool functionPass();
    bool finalChecks();

    CompilerState& state;
    std::uint32_t buildStamp;
    std::optional<ScriptInfo> info;
};

bool Pipeline::startImage() {
    const std::uint32_t base = headerBytes(info);
    if (base >= kMaxImageEnd)
        return state.fail(0, "script information exceeds the 32768 bytes in front of the code");
    state.image.begin(base);
    return true;
}

void Pipeline::emitStart() {
    placeInitialValues(state);
    state.imageOpen = false;
    const auto image = state.image.bytes();
    emitHeader(state.code, buildStamp, info, static_cast<std::uint32_t>(image.size()));
    state.code.emitBytes(image);
    if (state.storageUsed > 0)
        state.code.emit(Opcode::Reserve, (state.storageUsed + 3) / 4 * 4);
    for (const StorageCopy& copy : state.startCopies) {
        state.code.emit(Opcode::CopyBlock, copy.imageAddress);
        state.code.emitU16(copy.operand);
        state.code.emitU16(copy.size);
    }
}

bool Pipeline::initializationPass() {
    for (const TopLevelItem& item : state.items)
        if (item.kind == Kind::Init && !compileTopBlock(state, item, BodyKind::Init))
            return false;
    state.code.emit(Opcode::EndInit);
    return true;
}

bool Pipeline::mainAndComboPass() {
    for (const TopLevelItem& item : state.items) {
        if (item.kind == Kind::Main && !compileTopBlock(state, item, BodyKind::Main))
            return false;
        if (item.kind == Kind::Combo && !compileCombo(state, item))
            return false;
    }
    state.code.emit(Opcode::EndMain);
    return true;
}

bool Pipeline::functionPass() {
    for (const TopLevelItem& item : state.items) {
        if (item.kind == Kind::Function && !item.prototype && !compileFunction(state, item))
            return false;
        if (item.kind == Kind::Stray) {
            state.fail(item.begin, "expected a top-level declaration or definition, found '",
                       state.tokens.text(item.begin));
            state.error->message += '\'';
            return false;
        }
    }
    return true;
}

bool Pipeline::finalChecks() {
    for (const Function& function : state.functions)
        if (!function.compiled)
            return state.fail(function.token, "function declaration was not compiled");
    if (state.code.here() == 0)
        return state.fail(0, "internal compiler error: compilation produced no bytecode");
    if (state.code.addressOverflow() || state.code.here() > std::numeric_limits<std::uint16_t>::max())
        return state.fail(state.tokens.size() - 1,
                          "program exceeds the 65535 bytes that addresses can reach");
    return true;
}

bool Pipeline::run() {
    if (!startImage() || !state.named(scanTopLevel(state), "source scan") ||
        !state.named(declareGlobals(state), "global declaration pass"))
        return false;
    emitStart();
    if (state.image.full())
        return state.fail(state.tokens.size() - 1,
                          "constants and strings exceed the 32768 bytes of the data image");
    return state.named(initializationPass(), "initialization pass") &&
           state.named(mainAndComboPass(), "main and combo pass") &&
           state.named(functionPass(), "function pass") && finalChecks();
}

Diagnostic diagnosticFor(const CompileError& error, const TokenStream& tokens,
                         const PreprocessResult& source) {
    const std::uint32_t offset = tokens.offset(error.token);
    const SourcePlace place = source.lines.locate(source.text, offset);
    return {offset, place.line, place.column, error.message, std::string(place.file)};
}

CompileResult compileSource(std::string_view source, const CompileOptions& options) {
    CompileResult result;
    auto info = findScriptInfo(source);
    PreprocessResult preprocessed =
        preprocess(source, {options.sourcePath, options.includeDirectories, 0, options.growthLimitBytes});
    if (!preprocessed.diagnostics.empty()) {
        result.diagnostics = std::move(preprocessed.diagnostics);
        return result;
    }
    TokenStream tokens;
    const bool whole = tokens.build(preprocessed.text);
    CompilerState state(tokens);
    if (!whole)
        state.fail(tokens.size() - 1, "source has more than 4194304 tokens");
    else
        Pipeline(state, options.buildStamp != 0 ? options.buildStamp : secondsNow(), std::move(info)).run();
    if (state.error)
        result.diagnostics.push_back(diagnosticFor(*state.error, tokens, preprocessed));
    else
        result.bytecode = std::move(state.code.bytes());
    return result;
}

} // namespace

CompileResult compile(std::string_view source, const CompileOptions& options) {
    try {
        return compileSource(source, options);
    } catch (const std::bad_alloc&) {
        // The one exception that can arise here; the host must not meet it.
        return {{}, {{0, 1, 1, "not enough memory to compile", options.sourcePath}}};
    }
}

} // namespace Vantor::gpc
