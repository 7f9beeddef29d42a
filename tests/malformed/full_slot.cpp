// Units of code until the slot is nearly full, then a table for the rest: constant tables cost one byte per
// element and nothing else.

#include "tests/malformed/full_slot.h"

#include "gpc/compiler.h"
#include "gpc/gbc.h"

#include <string>
#include <string_view>

namespace Vantor::test {

namespace {

constexpr int kUnits = 26;

constexpr std::string_view kHead = R"(#pragma METAINFO("A full slot", 1, 5, "FerryLink")
int32 total = 7;
uint8 bytes[4] = {1, 2, 3, 4};
fix32 level = 0.5;
char text[8];
const int16 curve[] = {3, 1, 4, 1, 5, 9, 2, 6};
const uint8 mapping[] = {1, 2, 3, 4, 5, 6, 7, 8};

init {
    pmem_load();
    remapper(mapping);
    combo_run(Outer);
}

combo Inner {
    set_val(BUTTON_1, 100);
    wait(20);
    wait(total & 63);
}

combo Outer {
    uint8 rounds = 2;
    call(Inner);
    set_val(STICK_1_X, level);
    wait(10);
}

void poke(uint8 *target, int16 value) {
    *target = value;
    target[1] += value >> 2;
}
)";

constexpr std::string_view kUnit = R"(
int32 step@(int32 value, int16 by) {
    static uint16 calls = @;
    int32 i, sum = calls++;
    for (i = 0; i < 2; i++) {
        if (value > by * i && curve[i] != @ % 7 || value == -@)
            sum += value * curve[i] - (by << 2);
        else
            sum -= curve[(i + @) & 7] / (i - 1);
    }
    switch (value & 7) {
        case 0: sum = -sum; break;
        case 1:
        case 2: sum ^= 0x5A5A@; break;
        case 4: return by;
        default: do { sum--; } while (i++ < 4);
    }
    return sum ? sum : value;
}
)";

constexpr std::string_view kMainBegin = R"(
main {
    level = sqrt(abs(get_val(STICK_1_X))) + (fix32)total / 3.25;
    poke(&bytes[1], total);
    if (event_active(BUTTON_2))
        combo_restart(Outer);
    if (gcv_ready())
        printf("%d %f %s\n", total, level, text);
)";

std::string numbered(std::string_view text, int number) {
    std::string result;
    for (const char letter : text)
        letter == '@' ? result += std::to_string(number) : result += letter;
    return result;
}

std::vector<std::uint8_t> compileWithPadding(std::size_t bytes) {
    std::string source(kHead);
    source += "const uint8 padding[" + std::to_string(bytes) + "] = {1};\n";
    for (int unit = 0; unit < kUnits; ++unit)
        source += numbered(kUnit, unit);
    source += kMainBegin;
    for (int unit = 0; unit < kUnits; ++unit)
        source += numbered("    total = total + step@(total, @) * 3;\n", unit);
    return gpc::compile(source + "}\n", {.buildStamp = 1, .sourcePath = {}, .includeDirectories = {}})
        .bytecode;
}

} // namespace

std::vector<std::uint8_t> fullSlotBytecode() {
    const std::size_t unpadded = compileWithPadding(1).size();
    if (unpadded == 0 || unpadded > gpc::kMaxSlotBytes)
        return {};
    return compileWithPadding(1 + gpc::kMaxSlotBytes - unpadded);
}

} // namespace Vantor::test
