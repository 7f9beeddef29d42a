// What is known of the connection and of the adapter: state, firmware, loaded slot, output protocol, USB
// ports. GUI thread only.

#pragma once

#include "device/titan_script_info.h"
#include "ui/connection_state.h"

#include <QWidget>

#include <array>

class QLabel;

namespace Vantor {

class ElidedLabel;

class StatusView : public QWidget {
    Q_OBJECT

public:
    explicit StatusView(QWidget* parent = nullptr);

    void setConnectionState(ConnectionState state);
    void setFirmwareVersion(const QString& version);
    /// 1..9; 0 = no slot is loaded.
    void setLoadedSlot(int slot);
    void setOutputProtocol(const QString& name);
    void setUsbPorts(const TitanUsbPortInfo& ports);
    /// Forgets what the adapter said; the connection state stays.
    void clear();

private:
    QWidget* buildConnection();
    QWidget* buildUsbPorts();

    QLabel* stateDot = nullptr;
    ElidedLabel* stateText = nullptr;
    ElidedLabel* firmware = nullptr;
    ElidedLabel* loadedSlot = nullptr;
    ElidedLabel* outputProtocol = nullptr;
    std::array<ElidedLabel*, 4> ports{}; ///< IN A, IN B, OUT, PROG
};

} // namespace Vantor
