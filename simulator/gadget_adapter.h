// The simulated adapter on a real USB: serves the device node of a HID gadget (/dev/hidg0), so that whoever
// opens the other end of the cable finds the adapter model behind a real USB stack. Entry point:
// GadgetAdapter::serve(), which blocks and runs the model on the calling thread; everything else may be
// called from any thread. Making the gadget and binding it to a controller is left to the system.

#pragma once

#include "simulator/adapter_model.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace Vantor::simulator {

class GadgetAdapter {
public:
    /// Reports that captured() keeps; the oldest give way.
    static constexpr std::size_t kCapturedReports = 4096;

    explicit GadgetAdapter(std::string devicePath);
    ~GadgetAdapter();
    GadgetAdapter(const GadgetAdapter&) = delete;
    GadgetAdapter& operator=(const GadgetAdapter&) = delete;

    /// Serves the node until stop(). While the node is missing, which is how an unbound gadget looks, the
    /// adapter has no power, and this waits for the node to appear. Returns false when it cannot go on;
    /// errorText() then says why.
    bool serve();
    /// Makes serve() return, also one that has not begun. Safe in a signal handler.
    void stop() noexcept;
    /// To be read when serve() has returned.
    const std::string& errorText() const noexcept { return error; }

    /// Whether the node is open, as the gadget's being bound.
    bool isAttached() const;
    /// Calls `look` with the model; the adapter stands still meanwhile.
    template<typename Look>
    auto inspect(Look look) const {
        const std::lock_guard lock(mutex);
        return look(servedModel);
    }
    /// Waits until `reached`, called with the model after each report, holds. False: not within `limit`.
    template<typename Reached>
    bool waitFor(Reached reached, std::chrono::milliseconds limit) const {
        std::unique_lock lock(mutex);
        return changed.wait_for(lock, limit, [&] { return reached(servedModel); });
    }
    bool waitForAttachment(bool wanted, std::chrono::milliseconds limit) const;
    /// States per second of each kind, from the next time that the adapter is started.
    void setStreamRates(unsigned inputHz, unsigned reportHz);
    /// Output reports received so far, the oldest first.
    std::vector<Report> captured() const;

private:
    struct Descriptor {
        int number = -1;
        Descriptor() = default;
        ~Descriptor();
        Descriptor(const Descriptor&) = delete;
        Descriptor& operator=(const Descriptor&) = delete;
        bool isOpen() const noexcept { return number >= 0; }
        void close() noexcept;
    };

    bool watchDirectory();
    bool attach();
    void detach();
    bool followNode();
    void exchange();
    bool readReports();
    bool writeReports();
    bool waitForWork();
    bool fail(std::string_view what);

    const std::string path;
    std::string directory;
    std::string nodeName;
    std::string error;

    // The serving thread's own.
    Descriptor node;
    Descriptor watch;
    Descriptor wake; ///< an eventfd that stop() writes
    Report outgoing{};
    bool outgoingWaits = false; ///< `outgoing` was made, and the bus has not taken it yet

    mutable std::mutex mutex;
    mutable std::condition_variable changed;
    AdapterModel servedModel;
    bool attached = false;
    std::vector<Report> ring;
    std::uint64_t received = 0;
};

} // namespace Vantor::simulator
