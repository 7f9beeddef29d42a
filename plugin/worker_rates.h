// The figures that the workers store once a second and that the plug-in reads.
// Each is written by one worker and read on the GUI thread, one by one, so a
// set may mix two neighbouring seconds.

#pragma once

#include <QJsonObject>

#include <atomic>
#include <cstdint>
#include <limits>

namespace Vantor {

struct WorkerRates {
    /// Stands in a count until a worker has stored one.
    static constexpr std::uint32_t kUnknownCount = std::numeric_limits<std::uint32_t>::max();

    std::atomic<std::uint32_t> inputPps{kUnknownCount}; ///< bridge: complete controller input states
    std::atomic<std::uint32_t> statePps{kUnknownCount}; ///< bridge: complete controller output states
    std::atomic<std::uint32_t> cvDataHz{kUnknownCount}; ///< outbound: frames forwarded
    std::atomic<double> latencyMs{0};                   ///< outbound: mean from time stamp to write
    std::atomic<double> jitterMs{0};                    ///< outbound: standard deviation of that
    std::atomic<std::uint32_t> keyboardHz{0};           ///< capture: records taken; 0 while none runs
    std::atomic<std::uint32_t> mouseHz{0};
    std::atomic<std::uint32_t> controllerHz{0};

    /// The bridge, and the outbound thread, have stored theirs since clear().
    bool reportsKnown() const { return inputPps != kUnknownCount && statePps != kUnknownCount; }
    bool framesKnown() const { return cvDataHz != kUnknownCount; }

    /// Only while no worker runs.
    void clear() {
        inputPps = kUnknownCount;
        statePps = kUnknownCount;
        cvDataHz = kUnknownCount;
        latencyMs = 0;
        jitterMs = 0;
        clearCapture();
    }
    /// Only while no capture runs.
    void clearCapture() {
        keyboardHz = 0;
        mouseHz = 0;
        controllerHz = 0;
    }

    /// cv_hz, latency_ms, jitter_ms, input_pps, state_pps, null for what is not known; and keyboard_hz,
    /// mouse_hz, controller_hz.
    QJsonObject toJson() const {
        const auto known = [](bool isKnown, auto value) {
            return isKnown ? QJsonValue(value) : QJsonValue(QJsonValue::Null);
        };
        return {{QStringLiteral("cv_hz"), known(framesKnown(), static_cast<qint64>(cvDataHz.load()))},
                {QStringLiteral("latency_ms"), known(framesKnown(), latencyMs.load())},
                {QStringLiteral("jitter_ms"), known(framesKnown(), jitterMs.load())},
                {QStringLiteral("input_pps"), known(reportsKnown(), static_cast<qint64>(inputPps.load()))},
                {QStringLiteral("state_pps"), known(reportsKnown(), static_cast<qint64>(statePps.load()))},
                {QStringLiteral("keyboard_hz"), static_cast<qint64>(keyboardHz.load())},
                {QStringLiteral("mouse_hz"), static_cast<qint64>(mouseHz.load())},
                {QStringLiteral("controller_hz"), static_cast<qint64>(controllerHz.load())}};
    }
};

} // namespace Vantor
