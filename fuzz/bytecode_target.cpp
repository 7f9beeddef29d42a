// Foreign bytecode through the disassembler and, for a bounded number of steps, through the machine.

#include "fuzz/bytecode_check.h"

namespace Vantor::fuzz {

void takeInput(Bytes input) {
    checkListing(input);
    constexpr int kTicks = 3;
    simulator::ScriptMachine machine({.stepLimit = 2000});
    runTicks(machine, input, kTicks);
}

} // namespace Vantor::fuzz
