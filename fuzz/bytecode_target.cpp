// Foreign bytecode through the disassembler and, for a bounded number of steps, through the machine.

#include "fuzz/bytecode_check.h"
#include "fuzz/target.h"

namespace Vantor::fuzz {

void takeInput(Bytes input) {
    const gpc::Listing listing = gpc::disassemble(input);
    checkNothing(listingComplaint(listing, input));
    if (listing.error.empty())
        check(!gpc::printListing(listing).empty(), "a listing can be printed");
    constexpr int kTicks = 3;
    simulator::ScriptMachine machine({.stepLimit = 2000});
    checkNothing(runComplaint(machine, input, kTicks));
}

} // namespace Vantor::fuzz
