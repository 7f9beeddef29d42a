// ferrylink-gadget: the simulated adapter for a real USB. Serves the node of a HID gadget until it is
// interrupted, and prints what the adapter saw as JSON; docs/usb.md shows how such a gadget is made.

#include "simulator/gadget_adapter.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <csignal>
#include <cstdio>
#include <string>

namespace {

using namespace Vantor::simulator;

GadgetAdapter* interruptible = nullptr;

void onSignal(int /*signal*/) {
    interruptible->stop();
}

nlohmann::json toJson(const AdapterModel& model) {
    const AdapterStatistics& adapter = model.statistics();
    const FrameStatistics& frames = model.frames().statistics();
    const LatencyHistogram& latency = model.frames().latency();
    nlohmann::json errors = nlohmann::json::array();
    for (std::size_t index = 0; !model.errorText(index).empty(); ++index)
        errors.push_back(model.errorText(index));
    return {{"reports_received", adapter.reportsReceived},
            {"errors", adapter.errors},
            {"error_texts", errors},
            {"initialisations", adapter.initialisations},
            {"closing_packets", adapter.closingPackets},
            {"stop_packets", adapter.stopPackets},
            {"input_states_sent", adapter.inputStates},
            {"report_states_sent", adapter.reportStates},
            {"frames",
             {{"intact", frames.intact},
              {"corrupt", frames.corrupt},
              {"repeated", frames.repeated},
              {"out_of_order", frames.outOfOrder},
              {"missing", frames.missing}}},
            {"latency_us",
             {{"samples", latency.samples()},
              {"p50", static_cast<double>(latency.percentile(50)) / 1e3},
              {"p99", static_cast<double>(latency.percentile(99)) / 1e3},
              {"max", static_cast<double>(latency.maximum()) / 1e3}}}};
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app(
        "The simulated adapter behind the device node of a USB HID gadget. Prints what it saw as JSON "
        "when it is interrupted.",
        "ferrylink-gadget");
    std::string device = "/dev/hidg0";
    unsigned rate = AdapterModel::kDefaultRateHz;
    app.add_option("device", device, "The gadget's node; waited for while it is missing")
        ->capture_default_str();
    app.add_option("--rate", rate, "Controller states of each kind in a second; 0 for none")
        ->check(CLI::Range(0U, AdapterModel::kMaxRateHz))
        ->capture_default_str();
    CLI11_PARSE(app, argc, argv);

    GadgetAdapter adapter(device);
    adapter.setStreamRates(rate, rate);
    interruptible = &adapter;
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
    const bool served = adapter.serve();
    std::printf("%s\n", adapter.inspect(toJson).dump(2).c_str());
    if (!served)
        std::fprintf(stderr, "ferrylink-gadget: %s\n", adapter.errorText().c_str());
    return served ? 0 : 1;
}
