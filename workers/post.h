// How a worker says something in its owner's thread.

#pragma once

#include <QObject>

#include <atomic>
#include <new>
#include <utility>

namespace Vantor {

/// A call on its way from one thread to another. The event queue already orders the two threads; the flag
/// says the same in atomics, so that a race detector can follow it where Qt itself was built without one.
template<typename Call>
class PostedCall {
public:
    explicit PostedCall(Call toRun) : call(std::move(toRun)) { announce(); }
    PostedCall(PostedCall&& other) noexcept : call(std::move(other.call)) { announce(); }
    PostedCall(const PostedCall& other) : call(other.call) { announce(); }
    PostedCall& operator=(const PostedCall&) = delete;
    PostedCall& operator=(PostedCall&&) = delete;
    ~PostedCall() { isComplete.load(std::memory_order_acquire); }

    void operator()() {
        if (isComplete.load(std::memory_order_acquire))
            call();
    }

private:
    void announce() noexcept { isComplete.store(true, std::memory_order_release); }

    Call call;
    std::atomic<bool> isComplete{false};
};

/// Has `call` run by the event loop of the thread that `object` lives in. Posted calls go away with the
/// object, so none runs after its destruction. Allocates; without memory for the message there is none.
template<typename Call>
void postTo(QObject* object, Call call) noexcept {
    try {
        QMetaObject::invokeMethod(object, PostedCall<Call>(std::move(call)), Qt::QueuedConnection);
    } catch (const std::bad_alloc&) {
        return;
    }
}

} // namespace Vantor
