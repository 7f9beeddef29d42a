// What becomes of the adapter's input reports: status reports go to the parser, controller states into their
// blocks. Entry point: process(). Made afresh for each run by the bridge thread and used by it alone;
// process() does not allocate for controller reports.

#pragma once

#include "device/controller_state_decoder.h"
#include "device/fragment_store.h"
#include "device/titan_script_info_parser.h"
#include "workers/controller_block.h"
#include "workers/report_rates.h"

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace Vantor {

/// What the processor reads and writes but does not own; all of it outlives the processor.
struct ReportTargets {
    ControllerBlock& controllerInput;  ///< states of type 0x13
    ControllerBlock& controllerReport; ///< states of type 0x14
    const std::atomic<bool>&
        forwardControllerInput; ///< written by the GUI thread: false holds back type 0x13
    const std::atomic<bool>& connected;
};

class ReportProcessor {
public:
    explicit ReportProcessor(const ReportTargets& reportTargets) : targets(reportTargets) {}

    /// Its signals come from the thread that calls process().
    TitanScriptInfoParser& parser() noexcept { return scriptInfoParser; }
    ReportRates& rates() noexcept { return reportRates; }

    /// One input report of `length` bytes as the adapter sent it.
    void process(const std::uint8_t* report, int length);

private:
    void processUnusual(const std::uint8_t* report, int length);
    /// Decodes the state that the store has staged, too.
    void publish(ControllerStateType type);

    ReportTargets targets;
    TitanScriptInfoParser scriptInfoParser;
    FragmentStore fragmentStore;
    DecoderLayout decoderLayout;
    DecodedState decodedState;
    ReportRates reportRates;
};

} // namespace Vantor
