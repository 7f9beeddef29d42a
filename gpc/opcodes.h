// Every instruction of the bytecode, in one table: name, byte, operands, stack effect, what it does.
// Emitter, disassembler, reference machine and the documentation's table all come from kOpcodes; look one up
// with findOpcode(). A byte without a row is no instruction. Constant data; any thread.
//
// Memory is flat, bytes 0..0x23FF, numbers big-endian; the file lies at address 0 and the stack grows down
// from 0x2400. The stack holds 32-bit slots (4 bytes each) and whatever Reserve takes off it. `a` is pushed
// before `b`. Truth is "not zero"; comparisons and logical results are 0 or 1.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Vantor::gpc {

/// What follows the opcode byte. All but U8, S8, FrameOffset and TypeCode (1 byte) and S32 (4) take 2 bytes.
enum class OperandKind : std::uint8_t {
    None,
    U8,
    S8,
    U16,
    S16,
    S32,
    CodeAddress,   ///< offset from the file's start, inside the code
    ImageAddress,  ///< offset from the file's start, inside the data image
    StringAddress, ///< ImageAddress of a string that ends with a zero byte
    Variable, ///< top bit clear: memory address (storage, or data image); set: signed, relative to the frame
              ///< pointer
    FrameOffset, ///< u8, added to the stack pointer after the operand was popped
    TypeCode,    ///< u8: 0 uint8, 1 int8, 2 uint16, 3 int16, 4 uint32, 5 int32, 6 fix32, 7 pointer (2 bytes)
};

/// Whether the device's documents fix the byte, or we chose it from the gaps beside its kin.
enum class OpcodeOrigin : std::uint8_t { Fixed, Ours };

/// PopCount of the one instruction that says in an operand how many values it takes.
inline constexpr std::int8_t kPopsAsOperandSays = -1;

enum class Opcode : std::uint8_t {
    EndMain = 0x00,
    EndInit = 0x01,
    Reserve = 0x02,
    CopyBlock = 0x03,
    JumpIfCase = 0x04,
    Drop = 0x05,
    Duplicate = 0x06,
    Jump = 0x10,
    AndJump = 0x11,
    OrJump = 0x12,
    JumpIfFalse = 0x13,
    JumpIfTrue = 0x14,
    TableSwitch = 0x15,
    ComboStart = 0x16,
    ComboEnd = 0x17,
    Wait = 0x18,
    BeginWait = 0x19,
    EndWait = 0x1A,
    CallCombo = 0x1B,
    AwaitCombo = 0x1C,
    Call = 0x1D,
    Return = 0x1E,
    ReturnValue = 0x1F,
    PushU8 = 0x20,
    PushS8 = 0x21,
    PushU16 = 0x22,
    PushS16 = 0x23,
    Push32 = 0x24,
    AddressOf = 0x25,
    LoadU8 = 0x28,
    LoadS8 = 0x29,
    LoadU16 = 0x2A,
    LoadS16 = 0x2B,
    Load32 = 0x2C,
    LoadThroughU8 = 0x30,
    LoadThroughS8 = 0x31,
    LoadThroughU16 = 0x32,
    LoadThroughS16 = 0x33,
    LoadThrough32 = 0x34,
    Argument8 = 0x38,
    Argument16 = 0x39,
    Argument32 = 0x3A,
    ArgumentPointer = 0x3B,
    Store8 = 0x3C,
    Store16 = 0x3D,
    Store32 = 0x3E,
    StoreThrough8 = 0x40,
    StoreThrough16 = 0x41,
    StoreThrough32 = 0x42,
    StoreKeep8 = 0x44,
    StoreKeep16 = 0x45,
    StoreKeep32 = 0x46,
    Increment8 = 0x48,
    Increment16 = 0x49,
    Increment32 = 0x4A,
    Decrement8 = 0x4C,
    Decrement16 = 0x4D,
    Decrement32 = 0x4E,
    Index1 = 0x4B,
    Index2 = 0x4F,
    Index4 = 0x50,
    Negate = 0x51,
    LogicalNot = 0x52,
    BitNot = 0x53,
    CastU8 = 0x54,
    CastS8 = 0x55,
    CastU16 = 0x56,
    CastS16 = 0x57,
    ToBool = 0x58,
    Add = 0x59,
    Subtract = 0x5A,
    Multiply = 0x5B,
    DivideSigned = 0x5C,
    DivideUnsigned = 0x5D,
    ModuloSigned = 0x5E,
    ModuloUnsigned = 0x5F,
    FixMultiply = 0x60,
    FixDivide = 0x61,
    IntToFix = 0x62,
    FixToInt = 0x63,
    BitAnd = 0x64,
    BitOr = 0x65,
    BitXor = 0x66,
    ShiftLeft = 0x67,
    ShiftRightSigned = 0x68,
    ShiftRightUnsigned = 0x69,
    Equal = 0x6A,
    NotEqual = 0x6B,
    LessSigned = 0x6C,
    LessEqualSigned = 0x6D,
    GreaterSigned = 0x6E,
    GreaterEqualSigned = 0x6F,
    LessUnsigned = 0x70,
    LessEqualUnsigned = 0x71,
    GreaterUnsigned = 0x72,
    GreaterEqualUnsigned = 0x73,
    LogicalXor = 0x74,
    Abs = 0x75,
    MinSigned = 0x76,
    MaxSigned = 0x77,
    ClampSigned = 0x78,
    MinUnsigned = 0x79,
    MaxUnsigned = 0x7A,
    ClampUnsigned = 0x7B,
    Lerp = 0x7C,
    Map = 0x7D,
    Floor = 0x7E,
    Ceil = 0x7F,
    Round = 0x80,
    Sqrt = 0x81,
    Pow = 0x82,
    Sin = 0x83,
    Cos = 0x84,
    Tan = 0x85,
    Atan2 = 0x86,
    Rand = 0x87,
    IntRand = 0x88,
    ComboRun = 0x90,
    ComboRestart = 0x91,
    ComboPause = 0x92,
    ComboStop = 0x93,
    MxyConverterHOffset = 0x94,
    MxyConverterVOffset = 0x95,
    MxyConverter = 0x96,
    MxyConverterReset = 0x97,
    RemapperSwap = 0x98,
    Remapper = 0x99,
    RemapperReset = 0x9A,
    KeyMapping = 0x9B,
    KeyMappingReset = 0x9C,
    MouseMapping = 0x9D,
    MouseMappingReset = 0x9E,
    RemapperMask = 0x9F,
    RemapperDisable = 0xA0,
    SetVal = 0xA1,
    GetVal = 0xA2,
    GetActual = 0xA3,
    GetPrev = 0xA4,
    IsActive = 0xA5,
    IsRelease = 0xA6,
    TimeActive = 0xA7,
    TimeRelease = 0xA8,
    EventActive = 0xA9,
    EventRelease = 0xAA,
    CheckActive = 0xAB,
    CheckRelease = 0xAC,
    Inhibit = 0xAD,
    GetPort = 0xAE,
    BatterySet = 0xB0,
    BatteryGet = 0xB1,
    BatteryGetActual = 0xB2,
    BatteryReset = 0xB3,
    LedSet = 0xB4,
    LedGet = 0xB5,
    LedGetActual = 0xB6,
    LedVmSet = 0xB7,
    LedVmGet = 0xB8,
    LedReset = 0xB9,
    FfbSet = 0xBA,
    FfbGet = 0xBB,
    FfbGetActual = 0xBC,
    FfbReset = 0xBD,
    KeyStatus = 0xC0,
    KeyCheck = 0xC1,
    MouseStatus = 0xC2,
    KeySet = 0xC3,
    KeyPassthru = 0xC4,
    MouseSet = 0xC5,
    MousePassthru = 0xC6,
    KeyGet = 0xC7,
    MouseGet = 0xC8,
    MacroRun = 0xD0,
    MacroTime = 0xD1,
    MacroStop = 0xD2,
    MacroRec = 0xD3,
    ScriptLoad = 0xD4,
    Printf = 0xD5,
    GcvRead = 0xD6,
    GcvReady = 0xD7,
    PmemLoad = 0xE0,
    PmemSave = 0xE1,
    PmemRead = 0xE2,
    PmemWrite = 0xE3,
    MemSet = 0xE4,
    MemCpy = 0xE5,
    MslotGet = 0xEB,
    MslotLoad = 0xEC,
    MslotCheck = 0xED,
    SystemTime = 0xEE,
    ElapsedTime = 0xEF,
    PortStatus = 0xF0,
    PortConnect = 0xF1,
    PortDisconnect = 0xF3,
    PortInhibitFfb = 0xF4,
    PortPermitFfb = 0xF5,
    PortTurnoff = 0xF6,
    PortUsbPoweron = 0xF7,
    PortUsbPoweroff = 0xF8,
    PowerSource = 0xF9,
    PushToTalk = 0xFA,
    DevicePoweroff = 0xFB,
    OutputTime = 0xFC,
    DisplayOverlay = 0xFD,
};

struct OpcodeInfo {
    Opcode opcode{};
    std::string_view name;                 ///< mnemonic, unique; builtins carry their language name
    std::array<OperandKind, 3> operands{}; ///< in file order, None behind the last
    std::int8_t pops = 0;                  ///< 32-bit slots taken, or kPopsAsOperandSays
    std::int8_t pushes = 0;                ///< 32-bit slots put back
    OpcodeOrigin origin = OpcodeOrigin::Ours;
    std::string_view effect; ///< one line for the documentation
};

namespace detail {

using enum OperandKind;
inline constexpr auto kFixed = OpcodeOrigin::Fixed;
inline constexpr auto kOurs = OpcodeOrigin::Ours;

} // namespace detail

// One row per instruction, read as a table.
#include "gpc/opcode_table.inc"

/// Bytes that an operand of this kind takes in the file.
constexpr std::size_t operandSize(OperandKind kind) {
    switch (kind) {
    case OperandKind::None:
        return 0;
    case OperandKind::U8:
    case OperandKind::S8:
    case OperandKind::FrameOffset:
    case OperandKind::TypeCode:
        return 1;
    case OperandKind::S32:
        return 4;
    default:
        return 2;
    }
}

/// Bytes of the whole instruction, opcode included.
constexpr std::size_t instructionSize(const OpcodeInfo& info) {
    std::size_t size = 1;
    for (const OperandKind kind : info.operands)
        size += operandSize(kind);
    return size;
}

namespace detail {

inline constexpr std::uint8_t kNoRow = 0xFF;

constexpr std::array<std::uint8_t, 256> indexOpcodes() {
    std::array<std::uint8_t, 256> rows{};
    rows.fill(kNoRow);
    for (std::size_t i = 0; i < kOpcodes.size(); ++i)
        rows[static_cast<std::uint8_t>(kOpcodes[i].opcode)] = static_cast<std::uint8_t>(i);
    return rows;
}

inline constexpr std::array<std::uint8_t, 256> kOpcodeRows = indexOpcodes();

constexpr bool opcodesAscend() {
    for (std::size_t i = 1; i < kOpcodes.size(); ++i)
        if (kOpcodes[i - 1].opcode >= kOpcodes[i].opcode)
            return false;
    return true;
}

constexpr bool mnemonicsAreUnique() {
    for (std::size_t i = 0; i < kOpcodes.size(); ++i)
        for (std::size_t j = 0; j < i; ++j)
            if (kOpcodes[i].name == kOpcodes[j].name)
                return false;
    return true;
}

} // namespace detail

static_assert(detail::opcodesAscend(), "rows stand in the order of their bytes, each byte once");
static_assert(detail::mnemonicsAreUnique());
static_assert(kOpcodes.size() < detail::kNoRow);

/// The row of a byte, or nullptr when it is no instruction.
constexpr const OpcodeInfo* findOpcode(std::uint8_t byte) {
    const std::uint8_t row = detail::kOpcodeRows[byte];
    return row == detail::kNoRow ? nullptr : &kOpcodes[row];
}

} // namespace Vantor::gpc
