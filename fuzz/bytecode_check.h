// What holds for every file that somebody calls bytecode, shared by the targets that have one.

#pragma once

#include "fuzz/target.h"
#include "gpc/disassembler.h"
#include "simulator/script_machine.h"

namespace Vantor::fuzz {

/// Either a listing that shows every byte of the file once and in order, or a reason and no lines. True for a
/// listing.
inline bool checkListing(Bytes file) {
    const gpc::Listing listing = gpc::disassemble(file);
    if (!listing.error.empty()) {
        check(listing.lines.empty(), "a refused file has no lines");
        return false;
    }
    std::size_t at = 0;
    for (const gpc::ListingLine& line : listing.lines) {
        if (line.bytes.empty())
            continue;
        check(line.offset == at, "the lines show the bytes in order, without gaps");
        check(at + line.bytes.size() <= file.size() &&
                  std::equal(line.bytes.begin(), line.bytes.end(),
                             file.begin() + static_cast<std::ptrdiff_t>(at)),
              "the lines show the file's bytes");
        at += line.bytes.size();
    }
    check(at == file.size(), "the lines show every byte");
    check(!gpc::printListing(listing).empty(), "a listing can be printed");
    return true;
}

/// Runs a few ticks with lively inputs. The machine may stop with a reason; true when it did not.
inline bool runTicks(simulator::ScriptMachine& machine, Bytes file, int ticks) {
    if (!machine.load(file)) {
        check(!machine.error().empty(), "a file that is not taken has a reason");
        return false;
    }
    constexpr std::int32_t kFullDeflection = 6553600;
    for (int tick = 0; tick < ticks; ++tick) {
        machine.setInput(static_cast<unsigned>(tick), kFullDeflection >> tick);
        machine.setFrameData(file.first(std::min<std::size_t>(file.size(), 300)));
        if (!machine.tick()) {
            check(!machine.error().empty(), "a script that was stopped has a reason");
            check(!machine.tick(), "a script that was stopped stays stopped");
            return false;
        }
    }
    check(machine.takeText().size() <= simulator::ScriptDevice::kTextLimitBytes, "texts are bounded");
    check(machine.device().requests.size() <= simulator::ScriptDevice::kRequestLimit, "requests are bounded");
    return true;
}

} // namespace Vantor::fuzz
