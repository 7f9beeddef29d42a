#include "interrupt.h"

#include <array>
#include <atomic>
#include <csignal>

namespace Vantor::devhost {

namespace {

std::atomic<platform::Event*> signalEvent{nullptr};
static_assert(std::atomic<platform::Event*>::is_always_lock_free, "used in a signal handler");

void onSignal(int /*signal*/) {
    if (platform::Event* const event = signalEvent.load())
        event->set();
}

} // namespace

Interrupt::Interrupt(QObject* parent) : QObject(parent) {
    waiter = std::thread([this] {
        const std::array handles{ended.handle(), signalled.handle()};
        const platform::WaitResult result = platform::waitAny(handles, platform::kWaitForever);
        if (result.kind == platform::WaitResult::Kind::signalled && result.index == 1)
            QMetaObject::invokeMethod(this, &Interrupt::requested, Qt::QueuedConnection);
    });
    signalEvent = &signalled;
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
}

Interrupt::~Interrupt() {
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    signalEvent = nullptr;
    ended.set();
    waiter.join();
}

} // namespace Vantor::devhost
