// The other process in tests of shared events: event_peer NAME COUNT. Answers the first event of the object
// NAME with the second, COUNT times. Exit: 0 every hand-off came, 1 one did not, 2 wrong usage.
#include "event_pair.h"

#include <cstdlib>

int main(int argc, char** argv) {
    if (argc != 3)
        return 2;
    Vantor::platform::SharedMemory memory;
    if (memory.open(argv[1], Vantor::test::kEventPairBytes) != Vantor::platform::SharedMemory::Status::ok)
        return 2;
    Vantor::test::EventPair events(argv[1], memory.data());
    const long count = std::strtol(argv[2], nullptr, 10);
    for (long round = 0; round < count; ++round) {
        if (!Vantor::test::take(events.ping))
            return 1;
        events.pong.set();
    }
    return 0;
}
