#include "workers/packet_mailbox.h"

#include <array>

namespace Vantor {

bool PacketMailbox::submit(std::span<const std::uint8_t> packet) noexcept {
    if (packet.empty() || packet.size() > kPacketBytes || !requestDoneEvent.valid())
        return false;
    if (!isReady() || !exchangeState(State::free, State::claimed))
        return false;

    fillReport(requestReport, packet);
    requestDoneEvent.reset();
    requestState.store(State::submitted);
    const bool isSignalled = requestEvent.set();
    // Withdrawing fails when the worker has the packet in its hands; then there is an answer to wait for.
    if ((!isSignalled || !isReady()) && exchangeState(State::submitted, State::free))
        return false;

    const std::array<platform::EventHandle, 1> done{requestDoneEvent.handle()};
    while (!isAnswered()) // leaving earlier, on a wait that fails, would free a report that is being written
        platform::waitAny(done, platform::kWaitForever);
    const bool isWritten = requestState.load() == State::written;
    requestState.store(State::free);
    return isWritten;
}

void PacketMailbox::reset() noexcept {
    setReady(false);
    if (!exchangeState(State::free, State::claimed))
        return;
    requestEvent.reset();
    requestDoneEvent.reset();
    requestState.store(State::free);
}

} // namespace Vantor
