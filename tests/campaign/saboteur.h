// Pulls the adapter's plug in the very call that stalls. Entry point: waitToUnplug(). Made and asked on one
// thread, works on one of its own.

#pragma once

#include "simulator/virtual_adapter.h"

#include <atomic>
#include <thread>

namespace Vantor::campaign {

class Saboteur {
public:
    explicit Saboteur(int adapterNumber) : adapter(adapterNumber) {}
    ~Saboteur() { giveUp(); }
    Saboteur(const Saboteur&) = delete;
    Saboteur& operator=(const Saboteur&) = delete;

    /// From now on, unplugs the adapter as soon as one of its calls stalls.
    void waitToUnplug() {
        giveUp();
        enough = false;
        struck = false;
        worker = std::thread([this] {
            // Nothing but a stalled call wakes this wait, so it looks up now and then whether it is still
            // wanted.
            constexpr unsigned kLookUpMs = 20;
            while (!enough) {
                if (virtual_adapter_wait(adapter, VIRTUAL_ADAPTER_COUNT_STALLED, 1, kLookUpMs) != 1)
                    continue;
                struck = true;
                virtual_adapter_unplug(adapter);
                return;
            }
        });
    }
    /// Since the last waitToUnplug() or forget().
    bool hasStruck() const { return struck; }
    void forget() { struck = false; }
    void giveUp() {
        enough = true;
        if (worker.joinable())
            worker.join();
    }

private:
    int adapter;
    std::thread worker;
    std::atomic<bool> enough{false};
    std::atomic<bool> struck{false};
};

} // namespace Vantor::campaign
