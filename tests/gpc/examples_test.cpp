// Every example compiles, fits a memory slot, runs, and does what its first lines say.

#include "gpc/compiler.h"
#include "simulator/script_machine.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace Vantor::gpc {
namespace {

constexpr std::int32_t kOne = 65536; // fix32
constexpr std::int32_t kFull = 100 * kOne;
constexpr unsigned kStick1X = 21;
constexpr unsigned kStick2X = 23;
constexpr unsigned kStick2Y = 24;

constexpr unsigned button(unsigned number) {
    return number - 1;
}

std::vector<std::uint8_t> compileExample(const std::string& name) {
    const std::string path = std::string(FERRYLINK_EXAMPLES_DIR) + "/" + name + ".gpc";
    std::ifstream in(path, std::ios::binary);
    std::ostringstream source;
    source << in.rdbuf();
    const CompileResult result =
        compile(source.str(), {.buildStamp = 1, .sourcePath = path, .includeDirectories = {}});
    for (const Diagnostic& diagnostic : result.diagnostics) {
        ADD_FAILURE() << name << ":" << diagnostic.line << ":" << diagnostic.column << ": "
                      << diagnostic.message;
    }
    EXPECT_LE(result.bytecode.size(), 8192U);
    return result.bytecode;
}

/// A running example with verbs for what a player does.
class Player {
public:
    explicit Player(const std::string& name) {
        EXPECT_TRUE(machine.load(compileExample(name))) << machine.error();
    }

    void press(unsigned index, std::int32_t value = kFull) { machine.setInput(index, value); }
    void release(unsigned index) { machine.setInput(index, 0); }
    void tick() { ASSERT_TRUE(machine.tick()) << machine.error(); }
    void wait(unsigned ms) {
        for (unsigned passed = 0; passed < ms; passed += 10) {
            tick();
        }
    }
    void tap(unsigned index) {
        press(index);
        tick();
        release(index);
        tick();
    }
    [[nodiscard]] std::int32_t output(unsigned index) const { return machine.device().outputs[index]; }
    /// One letter for each tick: '#' while the output is on.
    std::string record(unsigned index, unsigned ticks) {
        std::string picture;
        for (unsigned i = 0; i < ticks; ++i) {
            tick();
            picture += output(index) != 0 ? '#' : '.';
        }
        return picture;
    }

    simulator::ScriptMachine machine;
};

TEST(Examples, AllOfThemAreTested) {
    unsigned count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(FERRYLINK_EXAMPLES_DIR)) {
        count += entry.path().extension() == ".gpc" ? 1 : 0;
    }
    EXPECT_EQ(count, 9U) << "an example was added or removed: test what it does below";
}

TEST(Examples, RapidFirePressesTheTriggerAgainAndAgain) {
    Player player("rapid_fire");
    player.press(button(8));
    EXPECT_EQ(player.record(button(8), 16), ".####....####...");
    player.release(button(8));
    EXPECT_EQ(player.record(button(8), 4), "....");
}

TEST(Examples, ToggleHoldsSprintUntilThePlayerStands) {
    Player player("toggle");
    player.press(kStick1X, kFull);
    player.tap(button(11));
    EXPECT_EQ(player.record(button(11), 50), std::string(50, '#'));
    player.tap(button(11));
    EXPECT_EQ(player.record(button(11), 5), ".....");
    player.tap(button(11));
    player.release(kStick1X);
    player.wait(200);
    EXPECT_EQ(player.output(button(11)), kFull);
    player.wait(100);
    EXPECT_EQ(player.output(button(11)), 0);
}

TEST(Examples, RecoilFollowsTheCurve) {
    Player player("recoil_curve");
    player.press(button(8));
    const std::array<std::int32_t, 4> atHundreds{30, 26, 22, 20};
    for (const std::int32_t percent : atHundreds) {
        player.tick();
        EXPECT_EQ(player.output(kStick2Y), percent * kOne);
        player.wait(40);
        player.tick();
        const std::int32_t between = player.output(kStick2Y);
        EXPECT_LT(between, percent * kOne);
        player.wait(40);
    }
    player.wait(2000);
    EXPECT_EQ(player.output(kStick2Y), 16 * kOne);
    player.press(kStick2Y, 95 * kOne);
    player.tick();
    EXPECT_EQ(player.output(kStick2Y), kFull);
    player.release(button(8));
    player.tick();
    EXPECT_EQ(player.output(kStick2Y), 95 * kOne);
}

TEST(Examples, ComboSequencePlaysAndBreaksOff) {
    Player player("combo_sequence");
    player.press(button(12));
    std::string jump;
    std::string crouch;
    std::string reload;
    for (int i = 0; i < 48; ++i) {
        player.tick();
        EXPECT_EQ(player.output(button(12)), 0);
        jump += player.output(button(1)) != 0 ? '#' : '.';
        crouch += player.output(button(2)) != 0 ? '#' : '.';
        reload += player.output(button(3)) != 0 ? '#' : '.';
    }
    EXPECT_EQ(jump, "." + std::string(6, '#') + std::string(41, '.'));
    EXPECT_EQ(crouch, std::string(7, '.') + std::string(20, '#') + std::string(21, '.'));
    EXPECT_EQ(reload, std::string(27, '.') + "####....." + "####" + std::string(8, '.'));
    player.release(button(12));
    player.tick();
    player.tap(button(12));
    player.tap(button(12)); // breaks off
    EXPECT_EQ(player.record(button(1), 20), std::string(20, '.'));
    EXPECT_EQ(player.record(button(3), 60), std::string(60, '.'));
}

TEST(Examples, RemapExchangesAndRestores) {
    Player player("remap");
    player.press(kStick1X, 40 * kOne);
    player.press(button(21));
    player.wait(20);
    EXPECT_EQ(player.output(kStick2X), 40 * kOne);
    EXPECT_EQ(player.output(kStick1X), 0);
    EXPECT_EQ(player.output(button(21)), 0);
    player.press(button(9));
    player.wait(2500); // held much longer than needed switches once
    EXPECT_EQ(player.output(kStick1X), 40 * kOne);
    EXPECT_EQ(player.output(button(21)), kFull);
}

TEST(Examples, SettingsSurviveARestart) {
    Player player("persistent_settings");
    player.press(kStick2X, 40 * kOne);
    player.tick();
    EXPECT_EQ(player.output(kStick2X), 40 * kOne);
    player.press(button(12));
    player.tick();
    for (int i = 0; i < 4; ++i) {
        player.tap(button(14));
    }
    EXPECT_EQ(player.output(kStick2X), 60 * kOne);
    player.release(button(12));
    player.tick();
    EXPECT_EQ(player.machine.takeText(), "sensitivity 1.500\n");
    ASSERT_TRUE(player.machine.load(compileExample("persistent_settings")));
    player.press(kStick2X, 40 * kOne);
    player.tick();
    EXPECT_EQ(player.output(kStick2X), 60 * kOne);
}

TEST(Examples, MouseMovesTheStickPastTheDeadZone) {
    Player player("mouse_to_stick");
    player.tick();
    EXPECT_EQ(player.output(kStick2X), 0);
    player.machine.device().mouseMoves[0] = -1;
    player.machine.device().mouseMoves[1] = 1000;
    player.wait(300);
    EXPECT_NEAR(player.output(kStick2X), -12.17 * kOne, 0.1 * kOne);
    EXPECT_NEAR(player.output(kStick2Y), kFull, 16);
    player.machine.device().mouseMoves.fill(0);
    player.wait(400);
    EXPECT_NEAR(player.output(kStick2X), 0, 16);
}

TEST(Examples, LedsShowTheMode) {
    Player player("led_status");
    const auto leds = [&] { return player.machine.device().leds; };
    player.tick();
    EXPECT_EQ(leds(), (std::array<std::int32_t, 4>{0, 0, 0, 0}));
    player.tap(button(9));
    player.tap(button(9));
    EXPECT_EQ(leds(), (std::array<std::int32_t, 4>{60 * kOne, 60 * kOne, 0, 0}));
    player.tap(button(9));
    bool all = false;
    bool three = false;
    for (int i = 0; i < 25; ++i) {
        player.tick();
        all = all || leds()[3] != 0;
        three = three || leds()[3] == 0;
    }
    EXPECT_TRUE(all && three) << "blinks";
    player.tap(button(9));
    EXPECT_EQ(leds()[0], 0);
    EXPECT_EQ(player.machine.takeText(), "soft\nnormal\nhard\noff\n");
}

TEST(Examples, FramesMoveTheStickWhileTheyCome) {
    Player player("frame_aim");
    player.press(kStick2X, 10 * kOne);
    player.wait(200);
    EXPECT_EQ(player.output(kStick2X), 10 * kOne);
    const std::array<std::uint8_t, 10> frame{1, 50, 0, 20, 0, 0, 0xFF, 0xD8, 0, 0}; // 50 % of 20.0 and -40.0
    player.machine.setFrameData(frame);
    player.tick();
    EXPECT_EQ(player.output(kStick2X), 20 * kOne);
    EXPECT_EQ(player.output(kStick2Y), -20 * kOne);
    player.wait(100);
    EXPECT_EQ(player.output(kStick2X), 20 * kOne);
    player.tick();
    EXPECT_EQ(player.output(kStick2X), 10 * kOne);
}

} // namespace
} // namespace Vantor::gpc
