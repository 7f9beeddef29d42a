// Says at a glance how the connection stands: a coloured sign, the state, and what to do or expect. GUI
// thread only.

#pragma once

#include "ui/connection_state.h"

#include <QFrame>

class QLabel;

namespace Vantor {

class ElidedLabel;

class ConnectionBanner : public QFrame {
    Q_OBJECT

public:
    explicit ConnectionBanner(QWidget* parent = nullptr);

    void setState(ConnectionState state);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    ConnectionState shown = ConnectionState::disconnected;
    ElidedLabel* title = nullptr;
    ElidedLabel* advice = nullptr;
};

} // namespace Vantor
