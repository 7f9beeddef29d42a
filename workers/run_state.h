// Where a worker thread's run stands, and whether it is asked to end: the few words that owner and worker
// share. The owner calls prepare(), requestStop() and settle(); the worker calls begin() and end(); anybody
// may look.

#pragma once

#include <atomic>
#include <cstdint>

namespace Vantor {

/// The run is "startable" until the worker's first statement. A thread that has been started but has not got
/// that far is told from one that is over, so that a stop right behind a start is not lost and one behind the
/// end does nothing.
class RunState {
public:
    /// Owner, before start(): a new run may begin, and nobody has asked it to end. A run never clears the
    /// stop flag itself, since a stop may come before its first statement.
    void prepare() noexcept {
        stopFlag.store(false);
        phase.store(Phase::startable);
    }
    /// Worker, first statement of the run.
    void begin() noexcept { phase.exchange(Phase::running); }
    /// Worker, last statement of the run; and the owner, when it has waited for the thread, before it touches
    /// what was the worker's. An exchange rather than a store: the owner's then comes visibly behind the
    /// worker's.
    void end() noexcept { phase.exchange(Phase::over); }

    void requestStop() noexcept { stopFlag.store(true); }
    bool stopRequested() const noexcept { return stopFlag.load(std::memory_order_relaxed); }

    bool isRunning() const noexcept { return phase.load() == Phase::running; }
    /// Whether there is anything to stop; `threadStarted` is what QThread knows of a run that has not begun
    /// yet.
    bool isUnderWay(bool threadStarted) const noexcept {
        const Phase now = phase.load();
        return now == Phase::running || (now == Phase::startable && threadStarted);
    }

private:
    enum class Phase : std::uint8_t { startable, running, over };
    std::atomic<Phase> phase{Phase::startable};
    std::atomic<bool> stopFlag{false};
};

} // namespace Vantor
