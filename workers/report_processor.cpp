#include "workers/report_processor.h"

#include "platform/clock.h"
#include "workers/controller_record.h"

namespace Vantor {

void ReportProcessor::process(const std::uint8_t* report, int length) {
    // Nearly all of the traffic: nothing but the copy into its place, without a call.
    constexpr int kUsualLength = kPacketBytes;
    if (length != kUsualLength || !scriptInfoParser.ignores(report, kUsualLength))
        processUnusual(report, length);
    else if (const auto type = fragmentStore.accept(report, kUsualLength))
        publish(*type);
}

void ReportProcessor::processUnusual(const std::uint8_t* report, int length) {
    scriptInfoParser.parse(report, length);
    if (const auto type = fragmentStore.accept(report, length))
        publish(*type);
}

void ReportProcessor::publish(ControllerStateType type) {
    decodeControllerState(decoderLayout, fragmentStore.staged(), fragmentStore.stagedLengths(), decodedState);
    const bool isInput = type == ControllerStateType::input;
    isInput ? reportRates.countInput() : reportRates.countState();
    if (isInput && !targets.forwardControllerInput.load(std::memory_order_relaxed))
        return;
    ControllerBlock& block = isInput ? targets.controllerInput : targets.controllerReport;
    const auto now = static_cast<std::uint64_t>(platform::monotonicNowNs());
    block.publish(makeControllerData(decodedState, now, targets.connected.load(std::memory_order_relaxed)));
}

} // namespace Vantor
