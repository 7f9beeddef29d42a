#include "simulator/script_machine_device.h"

#include <utility>

namespace Vantor::simulator {

void ScriptDevice::resetSources() {
    for (unsigned i = 0; i < kScriptInputCount; ++i) {
        sources[i] = static_cast<std::uint8_t>(i);
    }
}

void ScriptDevice::beginTick() {
    for (unsigned i = 0; i < kScriptInputCount; ++i) {
        ScriptInput& input = inputs[i];
        input.previous = input.value;
        input.value = pending[i];
        input.changed = (input.value != 0) != (input.previous != 0);
        if (input.changed) {
            input.changedAtMs = nowMs;
        }
    }
    for (unsigned i = 0; i < kScriptInputCount; ++i) {
        const bool inhibited = nowMs < inhibitedUntilMs[i];
        outputs[i] = inhibited || sources[i] >= kScriptInputCount ? 0 : inputs[sources[i]].value;
    }
}

void ScriptDevice::request(ScriptRequest wanted) {
    // Half of them at a time, or a script that asks without end would move them all for each.
    if (requests.size() == 2 * kRequestLimit) {
        requests.erase(requests.begin(), requests.begin() + kRequestLimit);
    }
    requests.push_back(std::move(wanted));
}

} // namespace Vantor::simulator
