// What holds for every file that somebody calls bytecode. Entry points: listingComplaint(), runComplaint();
// both give null when all is well, else what does not hold. Any thread.

#pragma once

#include "gpc/disassembler.h"
#include "simulator/script_machine.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace Vantor::fuzz {

/// For the outcome of disassembling `file`: either a listing that shows every byte once and in order, or a
/// reason and no lines.
inline const char* listingComplaint(const gpc::Listing& listing, std::span<const std::uint8_t> file) {
    if (!listing.error.empty())
        return listing.lines.empty() ? nullptr : "a refused file has no lines";
    std::size_t at = 0;
    for (const gpc::ListingLine& line : listing.lines) {
        if (line.bytes.empty())
            continue;
        if (line.offset != at)
            return "the lines show the bytes in order, without gaps";
        if (at + line.bytes.size() > file.size() ||
            !std::equal(line.bytes.begin(), line.bytes.end(), file.begin() + static_cast<std::ptrdiff_t>(at)))
            return "the lines show the file's bytes";
        at += line.bytes.size();
    }
    return at == file.size() ? nullptr : "the lines show every byte";
}

/// Loads the file and runs a few ticks with lively inputs. Not taking it, or stopping, is fine with a reason.
inline const char* runComplaint(simulator::ScriptMachine& machine, std::span<const std::uint8_t> file,
                                int ticks) {
    if (!machine.load(file))
        return machine.error().empty() ? "a file that is not taken has a reason" : nullptr;
    constexpr std::int32_t kFullDeflection = 6553600;
    for (int tick = 0; tick < ticks; ++tick) {
        machine.setInput(static_cast<unsigned>(tick), kFullDeflection >> tick);
        machine.setFrameData(file.first(std::min<std::size_t>(file.size(), simulator::kScriptFrameBytes)));
        if (machine.tick())
            continue;
        if (machine.error().empty())
            return "a script that was stopped has a reason";
        return machine.tick() ? "a script that was stopped stays stopped" : nullptr;
    }
    if (machine.takeText().size() > simulator::ScriptDevice::kTextLimitBytes)
        return "texts are bounded";
    const bool isBounded = machine.device().requests.size() <= 2 * simulator::ScriptDevice::kRequestLimit;
    return isBounded ? nullptr : "requests are bounded";
}

} // namespace Vantor::fuzz
