// What the adapter says of itself, and the protocol that it speaks to the console, which can be chosen here.
// GUI thread only.

#pragma once

#include "device/titan_script_info.h"

#include <QString>
#include <QWidget>

#include <array>

class QComboBox;

namespace Vantor {

class ElidedLabel;

class AdapterView : public QWidget {
    Q_OBJECT

public:
    explicit AdapterView(QWidget* parent = nullptr);

    void setFirmwareVersion(const QString& version);
    /// 1..9; 0 = no slot is loaded.
    void setLoadedSlot(int slot);
    /// As the adapter reports it. Selects the entry with that value and asks for nothing; without such an
    /// entry the selection stays.
    void setOutputProtocol(int value, const QString& name);
    void setUsbPorts(const TitanUsbPortInfo& ports);
    /// Whether a protocol can be chosen: that takes a connection.
    void setAvailable(bool isAvailable);
    /// Selects what the adapter reported last: a choice was not carried out.
    void revertOutputProtocol();
    /// Forgets what the adapter said.
    void clear();

signals:
    /// The user has chosen a protocol.
    void outputProtocolChosen(int value, const QString& name);

private:
    QWidget* buildAdapter();
    QWidget* buildUsbPorts();
    void buildProtocols(QWidget* parent);
    void describeProtocols();
    void select(int index);

    QComboBox* protocols = nullptr;
    int reportedIndex = -1; ///< in `protocols`; -1 = not reported, or no entry for it
    ElidedLabel* firmware = nullptr;
    ElidedLabel* loadedSlot = nullptr;
    std::array<ElidedLabel*, 4> ports{}; ///< IN A, IN B, OUT, PROG
};

} // namespace Vantor
