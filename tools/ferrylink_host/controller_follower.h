// Repeats each record of one controller block in another, as soon as it comes. Runs a thread of its own from
// construction to destruction; both happen on the thread that owns the blocks, which leaves them alone
// meanwhile.

#pragma once

#include "host/shared_memory_accessor.h"
#include "platform/event.h"

#include <thread>

namespace Vantor::devhost {

class ControllerFollower {
public:
    /// Both are connected and outlive this object. Starts with the record that is there already.
    ControllerFollower(SharedMemoryAccessor& source, SharedMemoryAccessor& target);
    ~ControllerFollower();
    ControllerFollower(const ControllerFollower&) = delete;
    ControllerFollower& operator=(const ControllerFollower&) = delete;

private:
    void run() noexcept;

    SharedMemoryAccessor& source;
    SharedMemoryAccessor& target;
    platform::Event stopEvent;
    std::thread thread;
};

} // namespace Vantor::devhost
