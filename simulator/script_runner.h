// Runs the loaded slot's script on the reference machine and puts its outputs in the place of the inputs that
// would otherwise pass through. Entry point: ScriptRunner::run(), once per controller state. Nothing throws:
// a script that has to be stopped leaves its reason, and inputs pass through from then on. One thread at a
// time; only load() allocates, and a script that prints or is stopped.

#pragma once

#include "simulator/adapter_reports.h"
#include "simulator/script_machine.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace Vantor::simulator {

class ScriptRunner {
public:
    /// Far more than any sensible script needs, and few enough that an endless one costs about a millisecond.
    static constexpr std::uint64_t kStepsPerTick = 50'000;

    ScriptRunner();

    /// Starts the file over from `timeNs` on, for slot 1..9; each slot keeps its own persistent bytes. False
    /// when it cannot be started: error() says why.
    bool load(unsigned slot, std::span<const std::uint8_t> file, std::int64_t timeNs) noexcept;
    /// Ends the script, if there is one; its persistent bytes stay.
    void unload() noexcept;
    /// Bit n: slot n holds a script, for scripts that ask.
    void setOccupiedSlots(unsigned mask) noexcept;

    /// One tick: what the controller sends in, what the console gets out. The script's clock moves on by the
    /// time since the last tick, in whole milliseconds.
    void run(const ControllerValues& input, std::int64_t timeNs, ControllerValues& output) noexcept;

    // For the next tick. Key usages as in a keyboard's report (eight bytes), motion in counts, added up.
    void setFrame(std::span<const std::uint8_t> frame) noexcept;
    void setKeys(std::span<const std::uint8_t, 8> report) noexcept;
    void addMouseMotion(int x, int y, int wheel) noexcept;

    bool isRunning() const noexcept { return running; }
    std::uint64_t ticks() const noexcept { return tickCount; }
    /// Scripts that had to be stopped, or could not be started.
    std::uint64_t failures() const noexcept { return failureCount; }
    /// Why the last such script was; empty when none was. Kept until the next load.
    std::string_view error() const noexcept { return errorText.data(); }

private:
    bool tick() noexcept;
    void fail(std::string_view reason) noexcept;

    ScriptMachine machine;
    bool running = false;
    unsigned loadedSlot = 0;
    std::int64_t lastMs = 0;
    std::uint64_t tickCount = 0;
    std::uint64_t failureCount = 0;
    std::array<char, 120> errorText{};
    std::array<std::array<std::uint8_t, kScriptPersistentBytes>, kScriptSlotCount> persistent{};
};

} // namespace Vantor::simulator
