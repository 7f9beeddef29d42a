// Turns Ctrl+C and a request to end (SIGINT, SIGTERM) into a call on the GUI thread.

#pragma once

#include "platform/event.h"

#include <QObject>

#include <thread>

namespace Vantor::devhost {

/// At most one at a time. A second signal while the first is being worked off does nothing.
class Interrupt : public QObject {
    Q_OBJECT

public:
    explicit Interrupt(QObject* parent = nullptr);
    ~Interrupt() override; ///< gives the signals back

signals:
    void requested();

private:
    platform::Event signalled; ///< set by the signal handler, which may do no more than that
    platform::Event ended;
    std::thread waiter;
};

} // namespace Vantor::devhost
