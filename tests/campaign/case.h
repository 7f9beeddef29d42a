// What the campaign tries: an act of the plug-in, and the faults that meet it. Entry points: singleFaults(),
// withSecond(), describe(). Pure data; any thread.

#pragma once

#include "simulator/virtual_adapter.h"

#include <QString>

#include <cstdint>
#include <optional>
#include <random>
#include <vector>

namespace Vantor::campaign {

/// What the plug-in is doing when the fault comes.
enum class Act {
    start,      ///< from the click to states, commands and frames
    stream,     ///< frames of one to five packets
    script,     ///< a small script into a slot, with the slot's loading
    fullScript, ///< a script that fills its slot
    translator, ///< an input translator into a slot
    capture,    ///< starting to capture, and input
    endCapture, ///< stopping while input is captured
    stop,       ///< the click to stop, in a stream of frames
    restart,    ///< the panel's restart button
    shutdown,   ///< the host lets the plug-in go
    initialize, ///< the host takes it up
    reconnect,  ///< the adapter was away (which is a fault of its own) and comes back
};
inline constexpr std::size_t kActs = 12;
const char* nameOf(Act act);

enum class Strike {
    once,   ///< that call fails
    always, ///< that call and all behind it fail
    stall,  ///< that call takes its time
    unplug, ///< the adapter is pulled in the middle of that call
};

/// Hits the `kth` call (1 is the first) that the act makes of one kind.
struct Fault {
    virtual_adapter_operation operation = VIRTUAL_ADAPTER_WRITE;
    unsigned kth = 1;
    Strike strike = Strike::once;
};

struct Case {
    Act act = Act::start;
    Fault first;
    std::optional<Fault> second;   ///< of another operation
    bool returnsElsewhere = false; ///< an adapter that was pulled comes back on another path
    bool isGivenUp = false;        ///< a search for the adapter is stopped by the user before it finds it
};

QString describe(const Case& tried);

/// Every single fault, each once, in an order that depends on the generator, behind a few pairs that are to
/// be met by every run.
std::vector<Case> singleFaults(std::mt19937& random);
/// A single fault joined by a second one that strikes in the same act or in the handling of the first.
Case withSecond(const Case& single, std::mt19937& random);

} // namespace Vantor::campaign
