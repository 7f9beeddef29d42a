// Finds the adapters on the bus, returns them to idle at the end, and can hold one open for itself. The
// real-time traffic does not go through here: each worker opens the adapter on its own. GUI thread only.

#pragma once

#include "device/report.h"
#include "device/titan_device.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QTimer>
#include <hidapi/hidapi.h>

namespace Vantor {

class TitanDeviceManager : public QObject {
    Q_OBJECT

public:
    static constexpr unsigned short kVendorId = 0x2508;
    static constexpr unsigned short kProductId = 0x0032;

    explicit TitanDeviceManager(QObject* parent = nullptr);
    ~TitanDeviceManager() override; ///< disconnects, with its signals

    /// The adapters that are plugged in now, one entry for each of their HID interfaces. May take
    /// milliseconds.
    static QList<TitanDevice> enumerateDevices();
    /// Enumerates, keeps the list and announces it.
    void refreshDevices();

    /// Opens the adapter and reads from it by a timer; a connected one is disconnected first. False after
    /// deviceError.
    bool connectDevice(const QString& path);
    /// Closes whatever is open. Emits nothing when nothing was.
    void disconnectDevice();
    bool isDeviceConnected() const { return connected; }
    /// Empty when not connected.
    QString currentDevicePath() const { return connectedDevicePath; }
    /// Writes a packet of 1..64 bytes to the connected adapter. False after deviceError.
    bool sendPacket(const QByteArray& packet);

    /// Opens the adapter, writes the stop packet, closes it. False when the path is empty, or opening or
    /// writing fails.
    static bool sendStopPacket(const QString& path);
    /// Sends the stop packet to the connected adapter, then to every adapter that is plugged in, and
    /// disconnects.
    void shutDown();

signals:
    // The order is part of the interface: it fixes the methods' indices.
    void deviceListChanged(const QList<TitanDevice>& devices);
    void deviceConnected(const QString& devicePath);
    void deviceDisconnected();
    void deviceError(const QString& error);
    void packetSent(int packetSize);
    void packetReceived(const QByteArray& packet);
    void inboundReadingStarted();
    void inboundReadingStopped();

public slots:
    /// Does nothing: the workers' failing reads and writes tell that an adapter has gone.
    void checkDeviceConnection();
    void processInboundData();

private:
    QList<TitanDevice> devices; ///< the last announced list
    QTimer connectionCheckTimer;
    QTimer inboundTimer;
    QByteArray readBuffer;
    hid_device* handle = nullptr;
    QString connectedDevicePath;
    bool connected = false;
    bool inboundReading = false;
};

} // namespace Vantor
