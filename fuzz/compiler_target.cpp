// The compiler as a whole: a source gives one diagnostic or bytecode, the same each time, and bytecode passes
// everything that reads it. Includes and imports find nothing, so that no input reaches the file system.

#include "device/transfers.h"
#include "fuzz/bytecode_check.h"
#include "fuzz/source_places.h"
#include "gpc/compiler.h"
#include "gpc/gbc.h"

#include <ctime>

namespace Vantor::fuzz {

namespace {

constexpr std::uint32_t kBuildStamp = 0x01020304;
/// The usual limit would let one macro bomb take the time of thousands of inputs.
constexpr std::size_t kGrowthLimitBytes = 16u << 10;

bool isSame(const gpc::CompileResult& left, const gpc::CompileResult& right) {
    if (left.bytecode != right.bytecode || left.diagnostics.size() != right.diagnostics.size())
        return false;
    return left.diagnostics.empty() || (left.diagnostics[0].message == right.diagnostics[0].message &&
                                        left.diagnostics[0].position == right.diagnostics[0].position);
}

/// Half of all the time would go into second runs; which inputs have one is a matter of their bytes alone.
bool deservesSecondRun(std::string_view source) {
    unsigned sum = 0;
    for (const char byte : source)
        sum += static_cast<unsigned char>(byte);
    return sum % 4 == 0;
}

gpc::CompileResult compileAndCompare(std::string_view source) {
    const gpc::CompileOptions options{kBuildStamp, {}, {}, kGrowthLimitBytes};
    while (true) {
        const std::time_t before = std::time(nullptr);
        gpc::CompileResult first = gpc::compile(source, options);
        // __TIME__ is the only thing that may differ, and only when a second began in between.
        if (!deservesSecondRun(source) || isSame(first, gpc::compile(source, options)))
            return first;
        check(std::time(nullptr) != before, "the same source gives the same result");
    }
}

} // namespace

void takeInput(Bytes input) {
    const std::string_view source = textOf(input);
    const gpc::CompileResult result = compileAndCompare(source);
    check(result.bytecode.empty() != result.diagnostics.empty(),
          "a diagnostic or bytecode, never both or none");
    if (result.bytecode.empty()) {
        check(result.diagnostics.size() == 1, "the first error ends the compilation");
        checkDiagnostic(source, result.diagnostics[0]);
        return;
    }
    const gpc::Listing listing = gpc::disassemble(result.bytecode);
    check(listing.error.empty() && listing.buildStamp == kBuildStamp,
          "the disassembler reads what the compiler writes");
    checkNothing(listingComplaint(listing, result.bytecode));
    if (result.bytecode.size() > gpc::kMaxSlotBytes)
        return;
    check(bytecodeTransfer(0, result.bytecode).error.empty(), "what fits a slot can be transferred");
    constexpr int kTicks = 2;
    simulator::ScriptMachine machine({.stepLimit = 500});
    check(machine.load(result.bytecode), "the machine takes what the compiler writes");
    checkNothing(runComplaint(machine, result.bytecode, kTicks));
}

} // namespace Vantor::fuzz
