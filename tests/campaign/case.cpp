#include "case.h"

#include <algorithm>
#include <array>
#include <set>
#include <tuple>

namespace Vantor::campaign {

namespace {

constexpr std::array<const char*, kActs> kActNames{"start",      "stream",   "script",         "full script",
                                                   "translator", "capture",  "end of capture", "stop",
                                                   "restart",    "shutdown", "initialize",     "reconnect"};
constexpr std::array<const char*, VIRTUAL_ADAPTER_OPERATIONS> kOperationNames{"write",  "read", "open",
                                                                              "serial", "init", "enumerate"};
constexpr std::array<const char*, 4> kStrikeNames{"fails", "fails from then on", "stalls",
                                                  "is cut by unplugging"};

/// How many calls of a kind an act makes; of reads, which go on for ever, how many are tried.
struct Reach {
    Act act;
    virtual_adapter_operation operation;
    unsigned calls;
};
constexpr std::array kReaches{
    Reach{Act::start, VIRTUAL_ADAPTER_WRITE, 5},          Reach{Act::start, VIRTUAL_ADAPTER_READ, 16},
    Reach{Act::start, VIRTUAL_ADAPTER_OPEN, 2},           Reach{Act::start, VIRTUAL_ADAPTER_SERIAL, 1},
    Reach{Act::start, VIRTUAL_ADAPTER_ENUMERATE, 2},      Reach{Act::stream, VIRTUAL_ADAPTER_WRITE, 75},
    Reach{Act::stream, VIRTUAL_ADAPTER_READ, 16},         Reach{Act::script, VIRTUAL_ADAPTER_WRITE, 4},
    Reach{Act::script, VIRTUAL_ADAPTER_READ, 4},          Reach{Act::fullScript, VIRTUAL_ADAPTER_WRITE, 137},
    Reach{Act::translator, VIRTUAL_ADAPTER_WRITE, 2},     Reach{Act::translator, VIRTUAL_ADAPTER_READ, 2},
    Reach{Act::capture, VIRTUAL_ADAPTER_OPEN, 1},         Reach{Act::capture, VIRTUAL_ADAPTER_WRITE, 11},
    Reach{Act::capture, VIRTUAL_ADAPTER_READ, 8},         Reach{Act::endCapture, VIRTUAL_ADAPTER_WRITE, 1},
    Reach{Act::stop, VIRTUAL_ADAPTER_WRITE, 2},           Reach{Act::stop, VIRTUAL_ADAPTER_READ, 1},
    Reach{Act::restart, VIRTUAL_ADAPTER_WRITE, 6},        Reach{Act::restart, VIRTUAL_ADAPTER_READ, 6},
    Reach{Act::restart, VIRTUAL_ADAPTER_OPEN, 2},         Reach{Act::restart, VIRTUAL_ADAPTER_SERIAL, 1},
    Reach{Act::restart, VIRTUAL_ADAPTER_ENUMERATE, 1},    Reach{Act::shutdown, VIRTUAL_ADAPTER_WRITE, 2},
    Reach{Act::shutdown, VIRTUAL_ADAPTER_READ, 1},        Reach{Act::shutdown, VIRTUAL_ADAPTER_OPEN, 1},
    Reach{Act::shutdown, VIRTUAL_ADAPTER_ENUMERATE, 1},   Reach{Act::initialize, VIRTUAL_ADAPTER_INIT, 1},
    Reach{Act::initialize, VIRTUAL_ADAPTER_ENUMERATE, 1}, Reach{Act::reconnect, VIRTUAL_ADAPTER_WRITE, 5},
    Reach{Act::reconnect, VIRTUAL_ADAPTER_READ, 8},       Reach{Act::reconnect, VIRTUAL_ADAPTER_OPEN, 2},
    Reach{Act::reconnect, VIRTUAL_ADAPTER_SERIAL, 1},     Reach{Act::reconnect, VIRTUAL_ADAPTER_ENUMERATE, 2},
};

/// Two faults that chance joins too rarely. The list that a start or restart makes of the adapters fails, and
/// then the adapter is lost and comes back elsewhere: it must be known by what an earlier list said of it.
const std::array kPairs{
    Case{Act::start,
         {VIRTUAL_ADAPTER_ENUMERATE, 2, Strike::once},
         Fault{VIRTUAL_ADAPTER_READ, 16, Strike::unplug},
         true},
    Case{Act::restart,
         {VIRTUAL_ADAPTER_ENUMERATE, 1, Strike::once},
         Fault{VIRTUAL_ADAPTER_READ, 6, Strike::unplug},
         true},
};

/// Only an adapter's input and output can hang or be cut.
bool isPossible(Act act, virtual_adapter_operation operation, Strike strike) {
    if (act ==
        Act::fullScript) // ends with its first failure, so the others would only repeat the small one's
        return strike == Strike::once || strike == Strike::unplug;
    const bool isInputOrOutput = operation == VIRTUAL_ADAPTER_WRITE || operation == VIRTUAL_ADAPTER_READ;
    return isInputOrOutput || strike == Strike::once || strike == Strike::always;
}

template<class T>
const T& drawn(const std::vector<T>& choice, std::mt19937& random) {
    return choice[std::uniform_int_distribution<std::size_t>(0, choice.size() - 1)(random)];
}

QString describe(const Fault& fault) {
    return QStringLiteral("%1 %2 %3")
        .arg(QLatin1String(kOperationNames[fault.operation]), QString::number(fault.kth),
             QLatin1String(kStrikeNames[static_cast<std::size_t>(fault.strike)]));
}

} // namespace

const char* nameOf(Act act) {
    return kActNames[static_cast<std::size_t>(act)];
}

QString describe(const Case& tried) {
    QString text = QStringLiteral("%1: %2").arg(QLatin1String(nameOf(tried.act)), describe(tried.first));
    if (tried.second)
        text += QStringLiteral(", and ") + describe(*tried.second);
    return text;
}

std::vector<Case> singleFaults(std::mt19937& random) {
    std::vector<Case> all(kPairs.begin(), kPairs.end());
    for (const Reach& reach : kReaches) {
        for (unsigned kth = 1; kth <= reach.calls; ++kth) {
            for (const Strike strike : {Strike::once, Strike::always, Strike::stall, Strike::unplug})
                if (isPossible(reach.act, reach.operation, strike))
                    all.push_back({reach.act,
                                   {reach.operation, kth, strike},
                                   {},
                                   random() % 2 == 0,
                                   random() % 4 == 0});
        }
    }
    const auto singles = all.begin() + kPairs.size();
    std::shuffle(singles, all.end(), random);
    // One of each kind first, so that a short run has met them all.
    std::set<std::tuple<Act, virtual_adapter_operation, Strike>> met;
    std::stable_partition(singles, all.end(), [&met](const Case& single) {
        return met.emplace(single.act, single.first.operation, single.first.strike).second;
    });
    return all;
}

Case withSecond(const Case& single, std::mt19937& random) {
    std::vector<Reach> others;
    for (const Reach& reach : kReaches)
        if (reach.act == single.act && reach.operation != single.first.operation)
            others.push_back(reach);
    if (others.empty())
        return single;
    const Reach& reach = drawn(others, random);
    std::vector<Strike> strikes{Strike::once, Strike::always};
    // A stall says that a plug is to be pulled, so a case has one of the two at most.
    const bool isTaken = single.first.strike == Strike::stall || single.first.strike == Strike::unplug;
    for (const Strike strike : {Strike::stall, Strike::unplug})
        if (!isTaken && isPossible(reach.act, reach.operation, strike))
            strikes.push_back(strike);
    Case both = single;
    both.second = Fault{reach.operation, std::uniform_int_distribution<unsigned>(1, reach.calls)(random),
                        drawn(strikes, random)};
    return both;
}

} // namespace Vantor::campaign
