// Through which other threads have the outbound thread write one packet at a time, and learn whether it did.
// Entry points: submit() for any thread, serve() and close() for the worker, reset() for the owner between
// runs.

#pragma once

#include "device/report.h"
#include "platform/event.h"

#include <atomic>
#include <cstdint>
#include <span>

namespace Vantor {

/// The slot's state goes round one way: 0 free, 1 claimed by a submitter, 2 submitted, 3 being written by the
/// worker, 4 written or 5 failed, and back to 0 by the submitter. Each step out of 0, and each out of 2, is a
/// compare-and-swap, so that one submission is pending at a time and exactly one side decides what becomes of
/// it.
///
/// No submission is ever left waiting for a worker that has gone. The submitter stores state 2 and then loads
/// `ready`; the worker, on its way out, stores `ready` = false and then looks for state 2. All four are
/// sequentially consistent, so they have one order. If the submitter's store comes before the worker's look,
/// the worker finds 2 and answers 5. If not, the worker's `ready` = false precedes its look, which precedes
/// the submitter's store, which precedes the submitter's load: it reads false and withdraws (2 -> 0). Where
/// both hold, the swaps out of 2 let one win. With weaker orders both could read the old value, and the
/// submitter would wait for ever.
class PacketMailbox {
public:
    /// Has the worker write `packet` (1..64 bytes) and waits until it did or refused: no time limit, but the
    /// worker answers at the latest when its run ends. False at once for a packet of another size, a mailbox
    /// that is not ready, or while another submission is pending. Any thread but the worker; does not
    /// allocate.
    bool submit(std::span<const std::uint8_t> packet) noexcept;

    /// Whether submissions are taken. The worker opens the mailbox; whoever ends the run may shut it.
    bool isReady() const noexcept { return ready.load(); }
    void setReady(bool nowReady) noexcept { ready.store(nowReady); }

    /// Set while a submission wants to be served; to be waited on by the worker.
    platform::EventHandle requestHandle() const noexcept { return requestEvent.handle(); }

    /// Worker, when the request event is set: writes what was submitted with `write(report) -> bool` and
    /// answers.
    template<typename Write>
    void serve(Write&& write) noexcept {
        // Reset first: a submission that comes in between is then seen by the swap or sets the event again.
        requestEvent.reset();
        if (!exchangeState(State::submitted, State::writing))
            return;
        requestState.store(write(requestReport) ? State::written : State::failed);
        requestDoneEvent.set();
    }

    /// Worker, at the end of a run: takes no more submissions and refuses the one that waits, if any.
    void close() noexcept {
        setReady(false);
        if (exchangeState(State::submitted, State::failed))
            requestDoneEvent.set();
    }

    /// Owner, between two runs: not ready, free, events reset. A submitter that is still on its way out of
    /// the last run keeps the slot and frees it itself; taking it away would leave it waiting for an event
    /// just reset.
    void reset() noexcept;

private:
    enum class State : std::uint8_t { free, claimed, submitted, writing, written, failed };

    bool exchangeState(State from, State to) noexcept {
        return requestState.compare_exchange_strong(from, to); // sequentially consistent, also when it fails
    }
    bool isAnswered() const noexcept {
        const State now = requestState.load();
        return now == State::written || now == State::failed;
    }

    std::atomic<bool> ready{false};
    std::atomic<State> requestState{State::free};
    platform::Event requestEvent;
    platform::Event requestDoneEvent;
    /// Written by the submitter in state 1, read by the worker in state 3.
    OutputReport requestReport{};
};

} // namespace Vantor
