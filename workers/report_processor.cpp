#include "workers/report_processor.h"

#include "platform/clock.h"
#include "workers/controller_record.h"

namespace Vantor {

void ReportProcessor::process(const std::uint8_t* report, int length) {
    scriptInfoParser.parse(report, length);
    if (const auto type = fragmentStore.accept(report, length)) {
        decodeControllerState(decoderLayout, fragmentStore.staged(), fragmentStore.stagedLengths(),
                              decodedState);
        publish(*type);
    }
}

void ReportProcessor::publish(ControllerStateType type) {
    const bool isInput = type == ControllerStateType::input;
    isInput ? reportRates.countInput() : reportRates.countState();
    if (isInput && !targets.forwardControllerInput.load(std::memory_order_relaxed))
        return;
    ControllerBlock& block = isInput ? targets.controllerInput : targets.controllerReport;
    const auto now = static_cast<std::uint64_t>(platform::monotonicNowNs());
    block.publish(makeControllerData(decodedState, now, targets.connected.load(std::memory_order_relaxed)));
}

} // namespace Vantor
