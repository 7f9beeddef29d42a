// Combos and controller builtins of the script machine, told as scripts: what goes out, tick by tick.

#include "gpc/compiler.h"
#include "simulator/script_machine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

namespace Vantor::simulator {
namespace {

constexpr std::int32_t kFull = 6553600; // 100.0

/// A running script; each tick yields what it printed.
class Running {
public:
    explicit Running(std::string_view source) {
        const gpc::CompileResult result =
            gpc::compile(source, {.buildStamp = 1, .sourcePath = {}, .includeDirectories = {}});
        EXPECT_TRUE(result.diagnostics.empty()) << result.diagnostics.front().message;
        EXPECT_TRUE(machine.load(result.bytecode)) << machine.error();
    }

    std::string tick() {
        EXPECT_TRUE(machine.tick()) << machine.error();
        return machine.takeText();
    }
    /// The texts of several ticks, each closed by a bar.
    std::string ticks(unsigned count) {
        std::string text;
        for (unsigned i = 0; i < count; ++i) {
            text += tick() + "|";
        }
        return text;
    }

    ScriptMachine machine;
};

struct Sequence {
    const char* what;
    const char* script;
    const char* printed;
};

const Sequence kSequences[]{
    {"a script without storage may begin with a call",
     R"(int8 f(int8 a) { return a; } init { printf("%d", f(1)); } main { printf("%d", f(2)); })", "12|2|"},
    {"starts once, and again when it has ended",
     R"(main { combo_run(C); } combo C { printf("a"); wait(20); printf("b"); })", "a||b|a||b|"},
    {"a restart begins anew each time",
     R"(main { combo_restart(C); } combo C { printf("a"); wait(10); printf("b"); })", "a|a|a|"},
    {"wait(0) gives way until the next tick",
     R"(init { combo_run(C); } main { } combo C { printf("a"); wait(0); printf("b"); })", "a|b||"},
    {"a wait ends with the tick that reaches it",
     R"(init { combo_run(C); } main { } combo C { wait(25); printf("x"); })", "|||x|"},
    {"a computed duration below zero counts as zero",
     R"(int16 d = -5; init { combo_run(C); } main { } combo C { wait(d); printf("x"); wait(d + 25); printf("y"); })",
     "|x||y|"},
    {"a combo in front of main's text order runs with its own locals kept across waits",
     R"(init { combo_run(C); } main { } combo C { int8 i = 0; while (i < 3) { printf("%d", i); wait(10); i++; } })",
     "0|1|2||"},
    {"a wait in a branch resumes in the branch",
     R"(uint8 n; init { combo_run(C); } main { n++; } combo C { if (n > 9) { wait(10); printf("no"); } printf("a"); wait(10); printf("b"); })",
     "a|b|"},
    {"pausing keeps what is left of the wait",
     R"(uint8 n; init { combo_run(C); } main { n++; if (n == 3) combo_pause(C); if (n == 6) combo_run(C); } combo C { wait(40); printf("x"); })",
     "|||||||x|"},
    {"stopping forgets it",
     R"(uint8 n; init { combo_run(C); } main { n++; if (n == 2) combo_stop(C); if (n == 4) combo_run(C); } combo C { printf("a"); wait(40); printf("x"); })",
     "a|||a||||x|"},
    {"call waits for the end of the other one",
     R"(init { combo_run(A); } main { } combo A { printf("1"); call(B); printf("2"); } combo B { printf("a"); wait(20); printf("b"); })",
     "1a||b|2||"},
    {"a called combo in front of its caller begins in the next tick",
     R"(init { combo_run(A); } main { } combo B { printf("a"); wait(10); printf("b"); } combo A { printf("1"); call(B); printf("2"); })",
     "1|a|b2||"},
    {"stopping the caller stops the called one",
     R"(uint8 n; init { combo_run(A); } main { n++; if (n == 2) combo_stop(A); } combo A { call(B); } combo B { printf("a"); wait(30); printf("b"); })",
     "a||||||"},
    {"pausing the caller leaves the called one running",
     R"(uint8 n; init { combo_run(A); } main { n++; if (n == 2) combo_pause(A); if (n == 6) combo_run(A); } combo A { call(B); printf("2"); } combo B { printf("a"); wait(20); printf("b"); })",
     "a||b|||2|"},
    {"a stopped caller does not stop a combo whose call is over",
     R"(uint8 n; init { combo_run(A); } main { n++; if (n == 5) combo_run(B); if (n == 6) combo_stop(A); } combo B { printf("b"); wait(20); printf("e"); } combo A { call(B); wait(100); })",
     "|b||e|b||e|"},
    {"a combo that stops itself runs on to its next wait",
     R"(init { combo_run(C); } main { } combo C { printf("a"); combo_stop(C); printf("b"); wait(10); printf("c"); })",
     "ab|||"},
    {"a combo that restarts itself begins anew in the next tick",
     R"(init { combo_run(C); } main { } combo C { printf("a"); wait(10); printf("b"); combo_restart(C); })",
     "a|b|a|b|"},
    {"two combos that call each other end",
     R"(init { combo_run(A); } main { } combo A { printf("a"); call(B); printf("x"); } combo B { printf("b"); call(A); printf("y"); })",
     "ab|ab|ab|"},
};

TEST(ScriptMachineCombos, PlayAsDocumented) {
    for (const Sequence& sequence : kSequences) {
        Running script(sequence.script);
        const std::string_view expected = sequence.printed;
        const auto count = static_cast<unsigned>(std::count(expected.begin(), expected.end(), '|'));
        EXPECT_EQ(script.ticks(count), expected) << sequence.what;
    }
}

TEST(ScriptMachineController, ReportsEventsAndTimes) {
    Running script(R"(
        main {
            if (event_active(BUTTON_1)) printf("+");
            if (event_release(BUTTON_1)) printf("-");
            if (check_active(BUTTON_1, 20)) printf("c");
            if (check_release(BUTTON_1, 20)) printf("r");
            printf("%u,%u", time_active(BUTTON_1), time_release(BUTTON_1));
        })");
    EXPECT_EQ(script.ticks(3), "0,0|0,10|r0,20|");
    script.machine.setInput(0, kFull);
    EXPECT_EQ(script.ticks(4), "+0,0|10,0|c20,0|c30,0|");
    script.machine.setInput(0, 0);
    EXPECT_EQ(script.ticks(3), "-0,0|0,10|r0,20|");
}

TEST(ScriptMachineController, InhibitsAndRemapsOutputs) {
    Running script(R"(
        main {
            if (event_active(BUTTON_1)) inhibit(BUTTON_2, 30);
            if (event_active(BUTTON_3)) remapper_swap(BUTTON_2, STICK_1_X);
            if (is_active(BUTTON_4)) set_val(BUTTON_2, 50);
        })");
    const auto second = [&] {
        script.tick();
        return script.machine.device().outputs[1];
    };
    script.machine.setInput(1, kFull);
    EXPECT_EQ(second(), kFull);
    script.machine.setInput(0, kFull);
    script.machine.setInput(3, kFull);
    EXPECT_EQ(second(), 0) << "from the tick that inhibits on, whatever is set";
    EXPECT_EQ(second(), 0);
    EXPECT_EQ(second(), 0);
    EXPECT_EQ(second(), kFull / 2);
    script.machine.setInput(2, kFull);
    script.machine.setInput(3, 0);
    second();
    EXPECT_EQ(second(), 0);
    EXPECT_EQ(script.machine.device().outputs[21], kFull);
}

TEST(ScriptMachineDevice, RecordsRequestsInOrder) {
    Running script(R"(
        init { macro_run("dance"); mslot_load(3); port_usb_poweron(PORT_USB_B); display_overlay(7, 500); }
        main { })");
    script.tick();
    const auto& requests = script.machine.device().requests;
    ASSERT_EQ(requests.size(), 4U);
    EXPECT_EQ(requests[0].text, "dance");
    EXPECT_EQ(requests[1].name, "mslot_load");
    EXPECT_EQ(requests[1].arguments[0], 3);
    EXPECT_EQ(requests[2].arguments[0], 2);
    EXPECT_EQ(requests[3].arguments, (std::array<std::int32_t, 3>{7, 500, 0}));
}

TEST(ScriptMachineDevice, GivesTheSameRandomNumbersForTheSameSeed) {
    constexpr std::string_view kScript = R"(main { printf("%f %d ", rand(), irand(-3, 3)); })";
    Running first(kScript);
    Running second(kScript);
    const std::string drawn = first.ticks(50);
    EXPECT_EQ(drawn, second.ticks(50));
    EXPECT_NE(drawn, first.ticks(50));
    ASSERT_EQ(drawn.find("1.000000"), std::string::npos);
}

} // namespace
} // namespace Vantor::simulator
