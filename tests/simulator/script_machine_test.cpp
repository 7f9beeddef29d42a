// The script machine on bytecode written by hand: values, memory, calls, and everything that must stop it.

#include "simulator/script_machine.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <limits>
#include <string>
#include <vector>

namespace Vantor::simulator {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t kCodeOffset = 11;

/// A file without script information whose code begins at 11.
Bytes program(const Bytes& code) {
    Bytes file{0x10, 0x00, kCodeOffset, 0, 0, 0, 1, 0, 0, 0, 0};
    file.insert(file.end(), code.begin(), code.end());
    return file;
}

Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

Bytes push(std::int64_t value) {
    const auto bits = static_cast<std::uint32_t>(value);
    return {0x24, static_cast<std::uint8_t>(bits >> 24), static_cast<std::uint8_t>(bits >> 16),
            static_cast<std::uint8_t>(bits >> 8), static_cast<std::uint8_t>(bits)};
}

std::uint32_t storageWord(const ScriptMachine& machine, std::uint32_t address) {
    std::uint32_t value = 0;
    for (unsigned i = 0; i < 4; ++i) {
        value = value << 8 | machine.memory()[address + i];
    }
    return value;
}

/// Pushes the operands, executes the instruction and returns what it left.
std::uint32_t evaluate(const std::vector<std::int64_t>& operands, std::uint8_t opcode) {
    Bytes code{0x02, 0x00, 0x04};
    for (const std::int64_t operand : operands) {
        code = code + push(operand);
    }
    code = code + Bytes{opcode, 0x3E, 0x23, 0xFC, 0x01, 0x00};
    ScriptMachine machine;
    EXPECT_TRUE(machine.load(program(code)) && machine.tick()) << machine.error();
    return storageWord(machine, 0x23FC);
}

constexpr std::int64_t kLowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int64_t kOne = 65536; // fix32

struct Operation {
    const char* name;
    std::uint8_t opcode;
    std::vector<std::int64_t> operands;
    std::int64_t result;
};

const std::vector<Operation> kOperations{
    {"sum wraps", 0x59, {0x7FFFFFFF, 1}, kLowest},
    {"difference keeps the order", 0x5A, {3, 5}, -2},
    {"product wraps", 0x5B, {0x10001, 0x10001}, 0x20001},
    {"quotient truncates", 0x5C, {-7, 2}, -3},
    {"quotient by zero", 0x5C, {7, 0}, 0},
    {"lowest by minus one", 0x5C, {kLowest, -1}, kLowest},
    {"unsigned quotient", 0x5D, {-2, 2}, 0x7FFFFFFF},
    {"remainder has the sign of the left", 0x5E, {-7, 2}, -1},
    {"remainder of lowest by minus one", 0x5E, {kLowest, -1}, 0},
    {"remainder by zero", 0x5E, {7, 0}, 0},
    {"unsigned remainder", 0x5F, {-1, 10}, 5},
    {"fix product", 0x60, {3 * kOne / 2, -kOne / 2}, -3 * kOne / 4},
    {"fix product rounds half away from zero", 0x60, {1, kOne / 2}, 1},
    {"fix product rounds negative half away", 0x60, {-1, kOne / 2}, -1},
    {"fix product below half", 0x60, {1, kOne / 2 - 1}, 0},
    {"fix quotient", 0x61, {kOne, 3 * kOne}, 21845},
    {"fix quotient rounds", 0x61, {2 * kOne, 3 * kOne}, 43691},
    {"fix quotient by zero", 0x61, {kOne, 0}, 0},
    {"fix quotient of the lowest", 0x61, {kLowest, -kOne}, kLowest},
    {"integer from fix truncates", 0x63, {-3 * kOne / 2}, -1},
    {"shift uses five bits", 0x67, {1, 33}, 2},
    {"signed shift", 0x68, {-8, 1}, -4},
    {"unsigned shift", 0x69, {-8, 1}, 0x7FFFFFFC},
    {"signed comparison", 0x6C, {-1, 1}, 1},
    {"unsigned comparison", 0x70, {-1, 1}, 0},
    {"logical exclusive or", 0x74, {2, 4}, 0},
    {"cast to int8", 0x55, {0x180}, -128},
    {"cast to uint16", 0x56, {-1}, 0xFFFF},
    {"abs of the lowest stays", 0x75, {kLowest}, kLowest},
    {"clamp", 0x78, {-5, 0, 10}, 0},
    {"clamp unsigned", 0x7B, {-5, 0, 10}, 10},
    {"lerp", 0x7C, {0, 100 * kOne, kOne / 4}, 25 * kOne},
    {"map", 0x7D, {5 * kOne, 0, 10 * kOne, -100 * kOne, 100 * kOne}, 0},
    {"map of an empty range", 0x7D, {5 * kOne, 3, 3, 7, 9}, 7},
    {"map with the widest ranges", 0x7D, {0x7FFFFFFF, kLowest, 0x7FFFFFFF, kLowest, 0x7FFFFFFF}, 0x7FFFFFFF},
    {"floor of a negative", 0x7E, {-kOne / 2}, -kOne},
    {"ceil", 0x7F, {1}, kOne},
    {"round half away", 0x80, {-kOne / 2}, -kOne},
    {"sqrt", 0x81, {2 * kOne}, 92681},
    {"sqrt of a negative", 0x81, {-kOne}, 0},
    {"pow", 0x82, {2 * kOne, 3 * kOne}, 8 * kOne},
    {"pow out of range", 0x82, {1000 * kOne, 10 * kOne}, 0x7FFFFFFF},
    {"pow undefined", 0x82, {-kOne, kOne / 2}, 0},
    {"irand of an empty range", 0x88, {9, 3}, 9},
};

TEST(ScriptMachineArithmetic, FollowsTheRules) {
    for (const Operation& operation : kOperations) {
        EXPECT_EQ(evaluate(operation.operands, operation.opcode),
                  static_cast<std::uint32_t>(operation.result))
            << operation.name;
    }
}

TEST(ScriptMachine, KnowsEveryInstruction) {
    // Whatever the bytes behind it, an instruction of the table never counts as an unknown one.
    for (const gpc::OpcodeInfo& info : gpc::kOpcodes) {
        ScriptMachine machine;
        ASSERT_TRUE(
            machine.load(program(Bytes{static_cast<std::uint8_t>(info.opcode), 0, 0, 0, 0, 0, 0, 0, 0})));
        machine.tick();
        EXPECT_EQ(machine.error().find("opcode"), std::string::npos) << info.name;
    }
}

TEST(ScriptMachine, PassesArgumentsAndReturnsAValue) {
    // One int32 in storage at 0x23FC; the function at 0x24 (int32 parameter at -4, uint8 at -5) returns their
    // difference.
    const Bytes caller{0x02, 0x00, 0x04, 0x01,       // storage, init ends
                       0x02, 0x00, 0x0C,             // frame 8 + 4
                       0x22, 0x03, 0xE8, 0x3A, 0x04, // 1000 into the int32 slot
                       0x22, 0x01, 0x07, 0x38, 0x03, // 0x107 into the uint8 slot: 7
                       0x1D, 0x00, 0x24, 0x08,       // call
                       0x3E, 0x23, 0xFC, 0x00};      // store, main ends
    const Bytes function{0x2C, 0xFF, 0xFC, 0x28, 0xFF, 0xFB, 0x5A, 0x1F};
    ScriptMachine machine;
    ASSERT_EQ(kCodeOffset + caller.size(), 0x24U);
    ASSERT_TRUE(machine.load(program(caller + function))) << machine.error();
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(machine.tick()) << machine.error();
        EXPECT_EQ(storageWord(machine, 0x23FC), 993U);
    }
}

TEST(ScriptMachine, TakesTheOperandOfASwitchAsHighestIndex) {
    const auto run = [](std::uint8_t selector) {
        const Bytes file{0x10, 0x00, 0x0F, 0, 0, 0, 0, 0, 0, 0, 0, 0x00, 0x1A, 0x00, 0x1F}; // table at 0x0B
        const Bytes code{0x02, 0x00, 0x04, 0x20, selector, 0x15, 0x00, 0x0B, 0x01, 0x00, 0x24, // 0x0F
                         0x20, 0x0A, 0x10, 0x00, 0x26,                                         // 0x1A
                         0x20, 0x0B, 0x10, 0x00, 0x26,                                         // 0x1F
                         0x20, 0x0C,                                                           // 0x24
                         0x3E, 0x23, 0xFC, 0x01, 0x00};                                        // 0x26
        ScriptMachine machine;
        EXPECT_TRUE(machine.load(file + code) && machine.tick()) << machine.error();
        return storageWord(machine, 0x23FC);
    };
    EXPECT_EQ(run(0), 10U);
    EXPECT_EQ(run(1), 11U);
    EXPECT_EQ(run(2), 12U);
}

TEST(ScriptMachine, KeepsTheStateOfAComboInItsSlot) {
    const Bytes file{0x10, 0x00, 0x0F, 0, 0, 0, 0, 0, 0, 0, 0, 0x00, 0x1D, 0x00, 0x29}; // wait table at 0x0B
    const Bytes code{0x02, 0x00, 0x04,                         // 0x0F: the state at 0x23FC
                     0x90, 0x23, 0xFC, 0x01,                   // 0x12: init runs the combo
                     0x16, 0x23, 0xFC, 0x00, 0x0B, 0x00, 0x31, // 0x16
                     0x20, 0x05, 0x20, 0x07, 0xA1,             // 0x1D: set_val(5, 7)
                     0x18, 0x23, 0xFC, 0x00, 0x19, 0x00, 0x31, // 0x22: wait(25)
                     0x20, 0x06, 0x20, 0x08, 0xA1,             // 0x29: set_val(6, 8)
                     0x17, 0x23, 0xFC,                         // 0x2E
                     0x00};                                    // 0x31
    struct Step {
        std::uint32_t state;
        std::int32_t fifth;
        std::int32_t sixth;
    };
    const std::vector<Step> steps{
        {0x40010019, 7, 0}, {0x4001000F, 0, 0}, {0x40010005, 0, 0}, {0, 0, 8}, {0, 0, 0}};
    ScriptMachine machine;
    ASSERT_TRUE(machine.load(file + code));
    for (const Step& step : steps) {
        ASSERT_TRUE(machine.tick()) << machine.error();
        EXPECT_EQ(storageWord(machine, 0x23FC), step.state);
        EXPECT_EQ(machine.device().outputs[5], step.fifth);
        EXPECT_EQ(machine.device().outputs[6], step.sixth);
    }
}

struct Fault {
    const char* expected;
    Bytes code;
};

TEST(ScriptMachineFaults, StopWrongBytecodeWithAReason) {
    const std::vector<Fault> faults{
        {"no instruction has this opcode", {0x26}},
        {"the file ends inside an instruction", {0x22, 0x01}},
        {"execution left the code", {0x20, 0x01}},
        {"jump outside the code", {0x10, 0x00, 0x0A}},
        {"jump outside the code", {0x10, 0x00, 0x0E}},
        {"jump outside the code", {0x10, 0xFF, 0xFF}},
        {"the step limit is reached", {0x10, 0x00, 0x0B}},
        {"stack underflow", {0x59}},
        {"stack underflow", {0x20, 0x01, 0x59}},
        {"stack overflow", {0x20, 0x01, 0x10, 0x00, 0x0B}},
        {"stack overflow", {0x02, 0x23, 0xF4}},
        {"stack overflow", {0x02, 0xFF, 0xFC}},
        {"write into the program", {0x20, 0x01, 0x3C, 0x00, 0x0B}},
        {"write outside the memory", {0x20, 0x01, 0x3E, 0x23, 0xFD}},
        {"read outside the memory", {0x2C, 0x24, 0x00}},
        {"read outside the memory", {0x22, 0x24, 0x00, 0x30}},
        {"read outside the memory", {0x21, 0xFF, 0x34}},
        {"frame variable outside a function", {0x2C, 0xFF, 0xFC}},
        {"write outside the memory", {0x1D, 0x00, 0x0B, 0x08}},
        {"return outside a function", {0x1E}},
        {"the stack is not balanced", {0x20, 0x01, 0x01}},
        {"end of a section in the wrong place", {0x00}},
        {"combo instruction outside its combo", {0x17, 0x23, 0xF0}},
        {"there is no input 42", {0x20, 0x2A, 0xA2}},
        {"there is no input -1", {0x21, 0xFF, 0xA5}},
        {"there is no LED 4", {0x20, 0x04, 0x20, 0x00, 0xB4}},
        {"access outside the persistent bytes", {0x20, 0x80, 0x20, 0x00, 0xE3, 0x00}},
        {"access outside the persistent bytes", {0x21, 0xFF, 0x20, 0x00, 0xE3, 0x04}},
        {"no such type code", {0x20, 0x00, 0x20, 0x00, 0xE3, 0x08}},
        {"write outside the memory", {0x20, 0x00, 0x22, 0x23, 0xFE, 0xE2, 0x05}},
        {"write outside the memory", {0x22, 0x20, 0x00, 0x20, 0x00, 0x22, 0xFF, 0xFF, 0xE4}},
        {"a text without an end", {0x22, 0x24, 0x00, 0xD0}},
        {"printed more than 64 KB", {0xD5, 0x00, 0x00, 0x00, 0x10, 0x00, 0x0B}},
    };
    for (const Fault& fault : faults) {
        ScriptMachine machine;
        ASSERT_TRUE(machine.load(program(fault.code))) << fault.expected;
        EXPECT_FALSE(machine.tick()) << fault.expected;
        EXPECT_NE(machine.error().find(fault.expected), std::string::npos)
            << machine.error() << " instead of " << fault.expected;
        const std::string first = machine.error();
        EXPECT_FALSE(machine.tick());
        EXPECT_EQ(machine.error(), first) << "the first reason stays";
    }
}

TEST(ScriptMachineFaults, EndlessRecursionEndsAtTheProgram) {
    ScriptMachine machine;
    ASSERT_TRUE(machine.load(program({0x02, 0x00, 0x04, 0x1D, 0x00, 0x0B, 0x00})));
    EXPECT_FALSE(machine.tick());
    EXPECT_NE(machine.error().find("stack overflow"), std::string::npos) << machine.error();
}

// A loop of few instructions that each move much must not run as long as a loop of cheap ones.
TEST(ScriptMachineFaults, MovingMuchCountsAsManySteps) {
    const std::vector<Bytes> loops{
        {0x22, 0x10, 0x00, 0x20, 0x01, 0x22, 0x10, 0x00, 0xE4, 0x10, 0x00, 0x0B},       // memset
        {0x22, 0x10, 0x00, 0x22, 0x10, 0x00, 0x22, 0x10, 0x00, 0xE5, 0x10, 0x00, 0x0B}, // memcpy
        {0x22, 0x10, 0x00, 0x20, 0x01, 0x22, 0x0F, 0xFF, 0xE4, 0x22, 0x10, 0x00, 0xD0, 0x10, 0x00,
         0x14}, // text
    };
    for (const Bytes& loop : loops) {
        ScriptMachine machine({.tickMs = 10, .stepLimit = 10'000});
        ASSERT_TRUE(machine.load(program(loop)));
        EXPECT_FALSE(machine.tick());
        EXPECT_NE(machine.error().find("the step limit is reached"), std::string::npos) << machine.error();
        EXPECT_LT(machine.steps(), 1000U) << "4 KB at a time";
        EXPECT_GT(machine.steps(), 100U);
    }
}

TEST(ScriptMachine, RefusesFilesItCannotStart) {
    const std::vector<std::pair<const char*, Bytes>> files{
        {"shorter than its seven-byte entry header", {}},
        {"shorter than its seven-byte entry header", {0x10, 0x00, 0x07, 0, 0, 0}},
        {"longer than 8192 bytes", Bytes(8193, 0x10)},
        {"does not begin with the entry jump", {0x11, 0x00, 0x07, 0, 0, 0, 0, 1}},
        {"the code offset lies outside the file", {0x10, 0x00, 0x06, 0, 0, 0, 0, 1}},
        {"the code offset lies outside the file", {0x10, 0x00, 0x08, 0, 0, 0, 0, 1}},
    };
    for (const auto& [expected, file] : files) {
        ScriptMachine machine;
        EXPECT_FALSE(machine.load(file));
        EXPECT_NE(machine.error().find(expected), std::string::npos) << machine.error();
        EXPECT_FALSE(machine.tick());
    }
}

TEST(ScriptMachine, SurvivesEveryMutationOfAProgram) {
    // Each byte of a program with calls, a switch and device access takes each value; nothing may escape the
    // memory (the sanitizer lane watches) and every run must end.
    const Bytes good =
        program({0x02, 0x00, 0x04, 0x01, 0x02, 0x00, 0x0C, 0x20, 0x05, 0x3A, 0x04, 0x1D, 0x00,
                 0x21, 0x08, 0x3E, 0x23, 0xFC, 0x20, 0x01, 0xA2, 0x00, 0x2C, 0xFF, 0xFC, 0x1F});
    ScriptMachine machine({.tickMs = 10, .stepLimit = 500, .seed = 1});
    for (std::size_t at = 0; at < good.size(); ++at) {
        for (unsigned value = 0; value < 256; ++value) {
            Bytes file = good;
            file[at] = static_cast<std::uint8_t>(value);
            const bool ran = machine.load(file) && machine.tick() && machine.tick();
            EXPECT_EQ(ran, machine.error().empty());
        }
    }
}

TEST(ScriptMachineTexts, FormatsAsInC) {
    struct Case {
        const char* format;
        std::vector<std::int64_t> arguments;
        const char* printed;
    };
    const std::vector<Case> cases{
        {"plain", {}, "plain"},
        {"%d|%u|%x|%c|%%", {-1, -1, 255, 'A'}, "-1|4294967295|ff|A|%"},
        {"%05d|%-4d|", {42, 7}, "00042|7   |"},
        {"%.2f", {-3 * kOne / 2}, "-1.50"},
        {"%d", {}, "%d"},
        {"%n%q%", {1}, "%n%q%"},
        {"%99999d", {1}, "%99999d"},
        {"%99999d|%5-d|%d", {1, 2, 3}, "%99999d|%5-d|3"},
    };
    for (const Case& c : cases) {
        Bytes file{0x10, 0x00, 0x00, 0, 0, 0, 0, 0, 0, 0, 0};
        for (const char* letter = c.format; *letter != '\0'; ++letter) {
            file.push_back(static_cast<std::uint8_t>(*letter));
        }
        file.push_back(0);
        file[2] = static_cast<std::uint8_t>(file.size());
        for (const std::int64_t argument : c.arguments) {
            file = file + push(argument);
        }
        file = file + Bytes{0xD5, 0x00, 0x0B, static_cast<std::uint8_t>(c.arguments.size()), 0x01, 0x00};
        ScriptMachine machine;
        ASSERT_TRUE(machine.load(file) && machine.tick()) << machine.error();
        EXPECT_EQ(machine.takeText(), c.printed);
        EXPECT_EQ(machine.takeText(), "");
    }
}

} // namespace
} // namespace Vantor::simulator
