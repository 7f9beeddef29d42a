// Once a script is loaded, the adapter takes no memory for a state, a tick or a report, transfers included.

#include "gpc/compiler.h"
#include "tests/simulator/adapter_fixture.h"

#include <cstdlib>
#include <new>

namespace {
std::size_t allocations = 0;
}

// Never inlined, or the compiler takes the pair for a mismatch.
[[gnu::noinline]] void* operator new(std::size_t size) {
    ++allocations;
    if (void* memory = std::malloc(size == 0 ? 1 : size))
        return memory;
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace {

using namespace Vantor::simulator;
using namespace Vantor::test;

// Prints, asks the device for something and calls a combo from a combo, tick after tick.
const char* const kBusyScript = R"(
uint32 n;
main {
    n++;
    printf("%s: %5u ticks, %.3f per cent of what there is\n", "a text that is longer than a short one", n, get_actual(STICK_1_X));
    remapper_mask(1);
    combo_run(Outer);
    set_val(BUTTON_1, 42.0);
}
combo Outer { call(Inner); wait(10); call(Inner); }
combo Inner { wait(10); }
)";

class AdapterAllocations : public AdapterTest {};

TEST_F(AdapterAllocations, NoneForATickOrAReport) {
    const auto script =
        Vantor::gpc::compile(kBusyScript, {.buildStamp = 1, .sourcePath = {}, .includeDirectories = {}});
    ASSERT_TRUE(script.diagnostics.empty()) << script.diagnostics[0].message;
    initialise();
    send(transfer(0x30, 3, script.bytecode));
    send(loadSlotReport(3));
    drain();
    const auto again = transfer(0x30, 4, Bytes(script.bytecode));
    const Bytes frame = bytes("00 60 00 03 00 01 02 03", 65);
    const Bytes clear = clearReport(0x40, 4);
    std::uint64_t states = 0;
    const auto work = [&] {
        for (const Bytes& report : again)
            model.receiveWithId(report, now);
        model.receiveWithId(frame, now);
        model.receiveWithId(clear, now);
        now += 4 * kMsNs;
        for (Report report; model.nextInputReport(now, report);)
            ++states;
    };
    for (int warm = 0; warm < 20; ++warm)
        work();
    const std::size_t before = allocations;
    for (int round = 0; round < 1000; ++round)
        work();
    const std::size_t during = allocations - before;
    EXPECT_EQ(during, 0U);
    EXPECT_GT(states, 6000U);
    EXPECT_EQ(model.script().ticks(), 1020U);
    EXPECT_EQ(counts().errors, 0U) << model.errorText(0);
    EXPECT_EQ(model.script().error(), "");
}

} // namespace
