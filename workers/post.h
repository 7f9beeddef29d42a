// How a worker says something in its owner's thread.

#pragma once

#include <QObject>

#include <new>
#include <utility>

namespace Vantor {

/// Has `call` run by the event loop of the thread that `object` lives in. Posted calls go away with the
/// object, so none runs after its destruction. Allocates; without memory for the message there is none.
template<typename Call>
void postTo(QObject* object, Call&& call) noexcept {
    try {
        QMetaObject::invokeMethod(object, std::forward<Call>(call), Qt::QueuedConnection);
    } catch (const std::bad_alloc&) {
        return;
    }
}

} // namespace Vantor
