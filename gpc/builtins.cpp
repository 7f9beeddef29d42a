// The tables themselves.

#include "gpc/builtins.h"

#include <algorithm>

namespace Vantor::gpc {

namespace {

using A = ArgumentKind;

/// "The default integer type" of a result.
constexpr Type kDefaultType{TypeCode::UInt8};

// One row per builtin, in the order of the opcodes.
// clang-format off
constexpr Builtin kBuiltins[] = {
    {"abs", Opcode::Abs, {A::SameClass}, kFix32Type, BuiltinFamily::Math, OpcodeOrigin::Ours},
    {"min", Opcode::MinSigned, {A::SameClass, A::SameClass}, kFix32Type, BuiltinFamily::Math, OpcodeOrigin::Ours, Opcode::MinUnsigned},
    {"max", Opcode::MaxSigned, {A::SameClass, A::SameClass}, kFix32Type, BuiltinFamily::Math, OpcodeOrigin::Ours, Opcode::MaxUnsigned},
    {"clamp", Opcode::ClampSigned, {A::SameClass, A::SameClass, A::SameClass}, kFix32Type, BuiltinFamily::Math, OpcodeOrigin::Ours, Opcode::ClampUnsigned},
    {"lerp", Opcode::Lerp, {A::Fixed, A::Fixed, A::Fixed}, kFix32Type, BuiltinFamily::Math, OpcodeOrigin::Ours},
    {"map", Opcode::Map, {A::Fixed, A::Fixed, A::Fixed, A::Fixed, A::Fixed}, kFix32Type, BuiltinFamily::Math, OpcodeOrigin::Ours},
    {"floor", Opcode::Floor, {A::Fixed}, kFix32Type, BuiltinFamily::Math, OpcodeOrigin::Ours},
    {"ceil", Opcode::Ceil, {A::Fixed}, kFix32Type, BuiltinFamily::Math, OpcodeOrigin::Ours},
    {"round", Opcode::Round, {A::Fixed}, kFix32Type, BuiltinFamily::Math, OpcodeOrigin::Ours},
    {"sqrt", Opcode::Sqrt, {A::Fixed}, kFix32Type, BuiltinFamily::Math, OpcodeOrigin::Ours},
    {"pow", Opcode::Pow, {A::Fixed, A::Fixed}, kFix32Type, BuiltinFamily::Math, OpcodeOrigin::Ours},
    {"sin", Opcode::Sin, {A::Fixed}, kFix32Type, BuiltinFamily::Math, OpcodeOrigin::Ours},
    {"cos", Opcode::Cos, {A::Fixed}, kFix32Type, BuiltinFamily::Math, OpcodeOrigin::Ours},
    {"tan", Opcode::Tan, {A::Fixed}, kFix32Type, BuiltinFamily::Math, OpcodeOrigin::Ours},
    {"atan2", Opcode::Atan2, {A::Fixed, A::Fixed}, kFix32Type, BuiltinFamily::Math, OpcodeOrigin::Ours},
    {"rand", Opcode::Rand, {}, kFix32Type, BuiltinFamily::Math, OpcodeOrigin::Ours},
    {"irand", Opcode::IntRand, {A::Integer, A::Integer}, kInt32Type, BuiltinFamily::Math, OpcodeOrigin::Ours},
    {"mxyconverter_hoffset", Opcode::MxyConverterHOffset, {A::Integer}, kVoidType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"mxyconverter_voffset", Opcode::MxyConverterVOffset, {A::Integer}, kVoidType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"mxyconverter", Opcode::MxyConverter, {A::Pointer}, kVoidType, BuiltinFamily::Mapping, OpcodeOrigin::Ours},
    {"mxyconverter_reset", Opcode::MxyConverterReset, {}, kVoidType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"remapper_swap", Opcode::RemapperSwap, {A::Integer, A::Integer}, kVoidType, BuiltinFamily::Remapper, OpcodeOrigin::Ours},
    {"remapper", Opcode::Remapper, {A::Pointer}, kVoidType, BuiltinFamily::Mapping, OpcodeOrigin::Ours},
    {"remapper_reset", Opcode::RemapperReset, {}, kVoidType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"keymapping", Opcode::KeyMapping, {A::Pointer}, kVoidType, BuiltinFamily::Mapping, OpcodeOrigin::Ours},
    {"keymapping_reset", Opcode::KeyMappingReset, {}, kVoidType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"mousemapping", Opcode::MouseMapping, {A::Pointer}, kVoidType, BuiltinFamily::Mapping, OpcodeOrigin::Ours},
    {"mousemapping_reset", Opcode::MouseMappingReset, {}, kVoidType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"remapper_mask", Opcode::RemapperMask, {A::Integer}, kVoidType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"remapper_disable", Opcode::RemapperDisable, {A::Integer}, kVoidType, BuiltinFamily::Remapper, OpcodeOrigin::Ours},
    {"set_val", Opcode::SetVal, {A::Integer, A::Fixed}, kVoidType, BuiltinFamily::Output, OpcodeOrigin::Ours},
    {"get_val", Opcode::GetVal, {A::Integer}, kFix32Type, BuiltinFamily::Plain, OpcodeOrigin::Ours},
    {"get_actual", Opcode::GetActual, {A::Integer}, kFix32Type, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"get_prev", Opcode::GetPrev, {A::Integer}, kFix32Type, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"is_active", Opcode::IsActive, {A::Integer}, kDefaultType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"is_release", Opcode::IsRelease, {A::Integer}, kDefaultType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"time_active", Opcode::TimeActive, {A::Integer}, kUInt32Type, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"time_release", Opcode::TimeRelease, {A::Integer}, kUInt32Type, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"event_active", Opcode::EventActive, {A::Integer}, kDefaultType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"event_release", Opcode::EventRelease, {A::Integer}, kDefaultType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"check_active", Opcode::CheckActive, {A::Integer, A::Integer}, kDefaultType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"check_release", Opcode::CheckRelease, {A::Integer, A::Integer}, kDefaultType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"inhibit", Opcode::Inhibit, {A::Integer, A::Integer}, kVoidType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"get_port", Opcode::GetPort, {A::Integer}, kDefaultType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"battery_set", Opcode::BatterySet, {A::Integer, A::Fixed}, kVoidType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"battery_get", Opcode::BatteryGet, {A::Integer}, kFix32Type, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"battery_get_actual", Opcode::BatteryGetActual, {A::Integer}, kFix32Type, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"battery_reset", Opcode::BatteryReset, {}, kVoidType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"led_set", Opcode::LedSet, {A::Designator, A::Fixed}, kVoidType, BuiltinFamily::Plain, OpcodeOrigin::Fixed, Opcode::LedSet, "LED_"},
    {"led_get", Opcode::LedGet, {A::Designator}, kFix32Type, BuiltinFamily::Plain, OpcodeOrigin::Fixed, Opcode::LedGet, "LED_"},
    {"led_get_actual", Opcode::LedGetActual, {A::Designator}, kFix32Type, BuiltinFamily::Plain, OpcodeOrigin::Fixed, Opcode::LedGetActual, "LED_"},
    {"led_vmset", Opcode::LedVmSet, {A::Designator, A::Integer, A::Integer}, kVoidType, BuiltinFamily::Plain, OpcodeOrigin::Fixed, Opcode::LedVmSet, "LED_"},
    {"led_vmget", Opcode::LedVmGet, {}, kInt16Type, BuiltinFamily::Plain, OpcodeOrigin::Fixed, Opcode::LedVmGet, "LED_"},
    {"led_reset", Opcode::LedReset, {}, kVoidType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"ffb_set", Opcode::FfbSet, {A::Designator, A::Fixed}, kVoidType, BuiltinFamily::Plain, OpcodeOrigin::Fixed, Opcode::FfbSet, "FFB_"},
    {"ffb_get", Opcode::FfbGet, {A::Designator}, kFix32Type, BuiltinFamily::Plain, OpcodeOrigin::Fixed, Opcode::FfbGet, "FFB_"},
    {"ffb_get_actual", Opcode::FfbGetActual, {A::Designator}, kFix32Type, BuiltinFamily::Plain, OpcodeOrigin::Fixed, Opcode::FfbGetActual, "FFB_"},
    {"ffb_reset", Opcode::FfbReset, {}, kVoidType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"key_status", Opcode::KeyStatus, {A::Integer}, kDefaultType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"key_check", Opcode::KeyCheck, {}, kDefaultType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"mouse_status", Opcode::MouseStatus, {A::Integer}, kInt32Type, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"key_set", Opcode::KeySet, {A::Integer, A::Integer}, kVoidType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"key_passthru", Opcode::KeyPassthru, {}, kVoidType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"mouse_set", Opcode::MouseSet, {A::Integer, A::Integer}, kVoidType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"mouse_passthru", Opcode::MousePassthru, {}, kVoidType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"key_get", Opcode::KeyGet, {A::Integer}, kDefaultType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"mouse_get", Opcode::MouseGet, {A::Integer}, kInt32Type, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"macro_run", Opcode::MacroRun, {A::String}, kVoidType, BuiltinFamily::String, OpcodeOrigin::Ours},
    {"macro_time", Opcode::MacroTime, {}, kInt32Type, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"macro_stop", Opcode::MacroStop, {}, kVoidType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"macro_rec", Opcode::MacroRec, {A::String}, kVoidType, BuiltinFamily::String, OpcodeOrigin::Ours},
    {"script_load", Opcode::ScriptLoad, {A::String}, kVoidType, BuiltinFamily::String, OpcodeOrigin::Ours},
    {"printf", Opcode::Printf, {A::Format}, kVoidType, BuiltinFamily::String, OpcodeOrigin::Ours},
    {"gcv_read", Opcode::GcvRead, {A::Integer, A::Target}, kVoidType, BuiltinFamily::Memory, OpcodeOrigin::Ours},
    {"gcv_ready", Opcode::GcvReady, {}, kDefaultType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"pmem_load", Opcode::PmemLoad, {}, kVoidType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"pmem_save", Opcode::PmemSave, {}, kVoidType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"pmem_read", Opcode::PmemRead, {A::Integer, A::Target}, kVoidType, BuiltinFamily::Memory, OpcodeOrigin::Ours},
    {"pmem_write", Opcode::PmemWrite, {A::Integer, A::Value}, kVoidType, BuiltinFamily::Memory, OpcodeOrigin::Ours},
    {"memset", Opcode::MemSet, {A::Pointer, A::Integer, A::Integer}, kVoidType, BuiltinFamily::Memory, OpcodeOrigin::Ours},
    {"memcpy", Opcode::MemCpy, {A::Pointer, A::Pointer, A::Integer}, kVoidType, BuiltinFamily::Memory, OpcodeOrigin::Ours},
    {"mslot_get", Opcode::MslotGet, {}, kDefaultType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"mslot_load", Opcode::MslotLoad, {A::Integer}, kVoidType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"mslot_check", Opcode::MslotCheck, {A::Integer}, kDefaultType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"system_time", Opcode::SystemTime, {}, kUInt32Type, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"elapsed_time", Opcode::ElapsedTime, {}, kUInt32Type, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"port_status", Opcode::PortStatus, {A::Integer, A::Integer, A::Integer}, kDefaultType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"port_connect", Opcode::PortConnect, {}, kVoidType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"port_disconnect", Opcode::PortDisconnect, {}, kVoidType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"port_inhibit_ffb", Opcode::PortInhibitFfb, {A::Integer}, kVoidType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"port_permit_ffb", Opcode::PortPermitFfb, {A::Integer}, kVoidType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"port_turnoff", Opcode::PortTurnoff, {A::Integer}, kVoidType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"port_usb_poweron", Opcode::PortUsbPoweron, {A::Integer}, kVoidType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"port_usb_poweroff", Opcode::PortUsbPoweroff, {A::Integer}, kVoidType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"power_source", Opcode::PowerSource, {}, kDefaultType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"push_to_talk", Opcode::PushToTalk, {A::Integer}, kVoidType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"device_poweroff", Opcode::DevicePoweroff, {}, kVoidType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"output_time", Opcode::OutputTime, {}, kUInt32Type, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
    {"display_overlay", Opcode::DisplayOverlay, {A::Integer, A::Integer}, kVoidType, BuiltinFamily::Plain, OpcodeOrigin::Fixed},
};

// The port numbers follow the device's own numbering, not the letters.
constexpr NamedConstant kConstants[] = {
    {"NULL", 0},
    {"FALSE", 0},
    {"TRUE", 1},
    {"BATTERY_UNKNOWN", 0},
    {"BATTERY_CHARGING", 1},
    {"BATTERY_CHARGED", 2},
    {"BATTERY_DISCHARGING", 3},
    {"PORT_USB_C", 0},
    {"PORT_USB_A", 1},
    {"PORT_USB_B", 2},
    {"PORT_USB_D", 3},
    {"PORT_BT_A", 4},
    {"PORT_BT_B", 5},
    {"PORT_BT_C", 6},
    {"PORT_BT_D", 7},
    {"DIR_INPUT", 64},
    {"DIR_OUTPUT", 128},
    {"PASSTHRU_NONE", 0},
    {"PASSTHRU_FULL", 1},
    {"PASSTHRU_PARTIAL", 2},
    {"PROTOCOL_AUTO", 0},
    {"PROTOCOL_USBHUB", 1},
    {"PROTOCOL_PS3", 2},
    {"PROTOCOL_PS4", 3},
    {"PROTOCOL_XB360", 4},
    {"PROTOCOL_XB360_WRC", 5},
    {"PROTOCOL_XB1", 6},
    {"PROTOCOL_XBOX", 6},
    {"PROTOCOL_XB1_WRC", 7},
    {"PROTOCOL_XBOX_WRC", 7},
    {"PROTOCOL_WII", 8},
    {"PROTOCOL_SWITCH", 9},
    {"PROTOCOL_HID", 10},
    {"PROTOCOL_STEAM", 11},
    {"PROTOCOL_WHEEL", 12},
    {"PROTOCOL_PS5", 13},
    {"PROTOCOL_USBDUMP", 14},
    {"PROTOCOL_NOT_SUPPORTED", 15},
    {"PROTOCOL_HIDPROG", 255},
    {"BUTTON_1", 0},
    {"BUTTON_2", 1},
    {"BUTTON_3", 2},
    {"BUTTON_4", 3},
    {"BUTTON_5", 4},
    {"BUTTON_6", 5},
    {"BUTTON_7", 6},
    {"BUTTON_8", 7},
    {"BUTTON_9", 8},
    {"BUTTON_10", 9},
    {"BUTTON_11", 10},
    {"BUTTON_12", 11},
    {"BUTTON_13", 12},
    {"BUTTON_14", 13},
    {"BUTTON_15", 14},
    {"BUTTON_16", 15},
    {"BUTTON_17", 16},
    {"BUTTON_18", 17},
    {"BUTTON_19", 18},
    {"BUTTON_20", 19},
    {"BUTTON_21", 20},
    {"STICK_1_X", kFirstAxisIndex + 0},
    {"STICK_1_Y", kFirstAxisIndex + 1},
    {"STICK_2_X", kFirstAxisIndex + 2},
    {"STICK_2_Y", kFirstAxisIndex + 3},
    {"POINT_1_X", kFirstAxisIndex + 4},
    {"POINT_1_Y", kFirstAxisIndex + 5},
    {"POINT_2_X", kFirstAxisIndex + 6},
    {"POINT_2_Y", kFirstAxisIndex + 7},
    {"ACCEL_1_X", kFirstAxisIndex + 8},
    {"ACCEL_1_Y", kFirstAxisIndex + 9},
    {"ACCEL_1_Z", kFirstAxisIndex + 10},
    {"ACCEL_2_X", kFirstAxisIndex + 11},
    {"ACCEL_2_Y", kFirstAxisIndex + 12},
    {"ACCEL_2_Z", kFirstAxisIndex + 13},
    {"GYRO_1_X", kFirstAxisIndex + 14},
    {"GYRO_1_Y", kFirstAxisIndex + 15},
    {"GYRO_1_Z", kFirstAxisIndex + 16},
    {"PADDLE_1", kFirstAxisIndex + 17},
    {"PADDLE_2", kFirstAxisIndex + 18},
    {"PADDLE_3", kFirstAxisIndex + 19},
    {"PADDLE_4", kFirstAxisIndex + 20},
    {"LED_1", 0},
    {"LED_2", 1},
    {"LED_3", 2},
    {"LED_4", 3},
    {"FFB_1", 0},
    {"FFB_2", 1},
    {"FFB_3", 2},
    {"FFB_4", 3},
};
// clang-format on

constexpr bool opcodesPopWhatBuiltinsPush() {
    for (const Builtin& builtin : kBuiltins) {
        // By row, since GCC's sanitizers take a comparison of this pointer with null out of constant
        // expressions.
        const std::uint8_t row = detail::kOpcodeRows[static_cast<std::uint8_t>(builtin.opcode)];
        if (row == detail::kNoRow)
            return false;
        const OpcodeInfo& info = kOpcodes[row];
        if (info.name != builtin.name && builtin.unsignedOpcode == builtin.opcode)
            return false;
        if (info.pops != kPopsAsOperandSays && info.pops != static_cast<int>(builtin.argumentCount()))
            return false;
        if ((info.pushes == 1) == builtin.result.isVoid || info.origin != builtin.origin)
            return false;
    }
    return true;
}
static_assert(opcodesPopWhatBuiltinsPush());

template<class Row>
const Row* findByName(std::span<const Row> rows, std::string_view name) {
    const auto row = std::find_if(rows.begin(), rows.end(), [&](const Row& r) { return r.name == name; });
    return row == rows.end() ? nullptr : &*row;
}

} // namespace

std::span<const Builtin> builtins() {
    return kBuiltins;
}

std::span<const NamedConstant> namedConstants() {
    return kConstants;
}

const Builtin* findBuiltin(std::string_view name) {
    return findByName(builtins(), name);
}

const NamedConstant* findConstant(std::string_view name) {
    return findByName(namedConstants(), name);
}

} // namespace Vantor::gpc
