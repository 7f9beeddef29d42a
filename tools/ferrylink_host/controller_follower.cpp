#include "controller_follower.h"

#include "host/records.h"

#include <array>
#include <cstdint>

namespace Vantor::devhost {

ControllerFollower::ControllerFollower(SharedMemoryAccessor& from, SharedMemoryAccessor& to)
    : source(from), target(to), thread([this] { run(); }) {}

ControllerFollower::~ControllerFollower() {
    stopEvent.set();
    thread.join();
}

void ControllerFollower::run() noexcept {
    const std::array events{stopEvent.handle(), source.getEventHandle()};
    std::int64_t lastSequence = 0;
    for (;;) {
        // Reset before looking: a record that comes after the look sets the event again.
        source.resetEvent();
        ControllerData record;
        if (source.hasNewData(lastSequence) && source.readData(&record, sizeof record, lastSequence))
            target.writeData(&record, sizeof record);
        const auto woken = platform::waitAny(events, platform::kWaitForever);
        if (woken.kind != platform::WaitResult::Kind::signalled || woken.index == 0)
            return;
    }
}

} // namespace Vantor::devhost
