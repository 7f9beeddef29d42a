// The list of adapters to choose from, with a button that looks again. It lists what it is given; looking for
// adapters is the owner's business. GUI thread only.

#pragma once

#include "device/titan_device.h"

#include <QList>
#include <QWidget>

class QComboBox;

namespace Vantor {

class GlyphButton;

class DeviceSelector : public QWidget {
    Q_OBJECT

public:
    explicit DeviceSelector(QWidget* parent = nullptr);

    /// Replaces the list. The selection stays on the selected path; where that is gone it goes to the
    /// selected adapter's serial number, then to `rememberedSerial`, then to the first entry. Says nothing
    /// about that change: only the user selects.
    void setDevices(const QList<TitanDevice>& devices, const QString& rememberedSerial);
    /// Selects the entry with this path, without saying so; an unknown path changes nothing.
    void selectPath(const QString& path);

    /// Path of the selected adapter; empty when none is there.
    QString selectedPath() const;
    bool isEmpty() const { return listed.isEmpty(); }

signals:
    /// The user has chosen an adapter.
    void selectionChanged();
    void refreshRequested();

private:
    int indexFor(const QString& path, const QString& serial, const QString& rememberedSerial) const;

    QList<TitanDevice> listed;
    QComboBox* list = nullptr;
    GlyphButton* refresh = nullptr;
};

} // namespace Vantor
