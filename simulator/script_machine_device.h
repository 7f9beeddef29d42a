// What a running script sees of the device around it, and what it did to it: inputs, outputs, lights, motors,
// persistent bytes, frame data, requests. Plain data and the rules of a tick; no bytecode here.
// Part of the script machine; one thread at a time.

#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Vantor::simulator {

inline constexpr unsigned kScriptInputCount = 42; ///< 21 buttons, then 21 axes
inline constexpr unsigned kScriptLedCount = 4;
inline constexpr unsigned kScriptMotorCount = 4;
inline constexpr unsigned kScriptKeyCount = 256;
inline constexpr unsigned kScriptPersistentBytes = 128;
inline constexpr unsigned kScriptFrameBytes = 255;
inline constexpr unsigned kScriptSlotCount = 9;

/// Something that the script asked the device for and that has no further effect in this machine.
struct ScriptRequest {
    std::string_view name; ///< of the builtin, as in the language
    std::array<std::int32_t, 3> arguments{};
    unsigned argumentCount = 0;
    std::string text; ///< the name that macro_run, macro_rec and script_load were given
};

/// One input, as the controller sends it. Values are fix32: 65536 is one per cent, full deflection 6553600.
struct ScriptInput {
    std::int32_t value = 0;
    std::int32_t previous = 0;     ///< one tick ago
    std::uint32_t changedAtMs = 0; ///< when it last became active or was released
    bool changed = false;          ///< in this tick
};

struct ScriptDevice {
    std::array<ScriptInput, kScriptInputCount> inputs{};
    std::array<std::int32_t, kScriptInputCount> pending{}; ///< set by the caller, taken over by the next tick
    std::array<std::int32_t, kScriptInputCount> outputs{}; ///< fix32; what the console gets after the tick
    std::array<std::uint32_t, kScriptInputCount> inhibitedUntilMs{};
    /// Which input feeds an output; kScriptInputCount for none.
    std::array<std::uint8_t, kScriptInputCount> sources{};

    std::array<std::int32_t, kScriptLedCount> leds{};                    ///< fix32 brightness
    std::array<std::array<std::int32_t, 2>, kScriptLedCount> ledTimes{}; ///< the two numbers of led_vmset
    std::array<std::int32_t, kScriptMotorCount> motors{};                ///< fix32 strength
    std::int32_t batteryStatus = 0;
    std::int32_t batteryLevel = 0; ///< fix32

    std::array<bool, kScriptKeyCount> keysDown{};           ///< set by the caller
    std::array<std::uint8_t, kScriptKeyCount> keys{};       ///< set by the script
    std::array<std::int32_t, kScriptKeyCount> mouseMoves{}; ///< set by the caller
    std::array<std::int32_t, kScriptKeyCount> mouse{};      ///< set by the script

    /// What pmem_read and pmem_write work on, and what pmem_save keeps of it.
    std::array<std::uint8_t, kScriptPersistentBytes> persistent{};
    std::array<std::uint8_t, kScriptPersistentBytes> saved{};
    std::array<std::uint8_t, kScriptFrameBytes> frame{};
    bool frameIsNew = false;

    std::int32_t slot = 0; ///< the memory slot that the script runs from
    std::array<bool, kScriptSlotCount + 1> occupiedSlots{};

    /// In the order of the script's calls; at least the newest kRequestLimit of them, at most twice as many.
    std::vector<ScriptRequest> requests;
    std::string text; ///< printed and not yet taken

    std::uint32_t nowMs = 0;
    std::uint32_t tickMs = 10;

    static constexpr std::size_t kRequestLimit = 256;
    static constexpr std::size_t kTextLimitBytes = 65536;

    ScriptDevice() { resetSources(); }

    void resetSources();
    /// Takes the pending inputs over and gives every output the value of its source, inhibited ones 0.
    void beginTick();
    void request(ScriptRequest wanted);
};

} // namespace Vantor::simulator
