#include "device/titan_device_manager.h"

#include "device/fixed_packets.h"
#include "device/hid_library_lock.h"

#include <utility>

namespace Vantor {

namespace {

constexpr int kConnectionCheckIntervalMs = 500;
constexpr int kInboundIntervalMs = 1;
constexpr int kInboundTimeoutMs = 1;

// hidapi gives null or, on some systems, an empty text for what a device does not report.
QString textOr(const wchar_t* text, const QString& otherwise) {
    return text == nullptr || *text == L'\0' ? otherwise : QString::fromWCharArray(text);
}

hid_device_info* listAdapters() {
    const HidLibraryLock lock;
    return hid_enumerate(TitanDeviceManager::kVendorId, TitanDeviceManager::kProductId);
}

hid_device* openAdapter(const QString& path) {
    const HidLibraryLock lock;
    return hid_open_path(path.toLocal8Bit().constData());
}

} // namespace

TitanDeviceManager::TitanDeviceManager(QObject* parent)
    : QObject(parent), readBuffer(static_cast<qsizetype>(kPacketBytes), '\0') {
    qRegisterMetaType<QList<TitanDevice>>("QList<TitanDevice>");
    connectionCheckTimer.setInterval(kConnectionCheckIntervalMs);
    inboundTimer.setInterval(kInboundIntervalMs);
    connect(&connectionCheckTimer, &QTimer::timeout, this, &TitanDeviceManager::checkDeviceConnection);
    connect(&inboundTimer, &QTimer::timeout, this, &TitanDeviceManager::processInboundData);
}

TitanDeviceManager::~TitanDeviceManager() {
    disconnectDevice();
}

QList<TitanDevice> TitanDeviceManager::enumerateDevices() {
    QList<TitanDevice> found;
    hid_device_info* const list = listAdapters();
    for (const hid_device_info* entry = list; entry != nullptr; entry = entry->next) {
        if (entry->vendor_id != kVendorId || entry->product_id != kProductId)
            continue;
        found.append({.path = QString::fromLocal8Bit(entry->path), // empty for null
                      .name = QStringLiteral("Titan Two Device %1").arg(found.size() + 1),
                      .serialNumber = textOr(entry->serial_number, QString::fromLatin1(kUnknownSerialNumber)),
                      .manufacturer = textOr(entry->manufacturer_string, QStringLiteral("ConsoleTuner")),
                      .isConnected = false});
    }
    hid_free_enumeration(list);
    return found;
}

void TitanDeviceManager::refreshDevices() {
    devices = enumerateDevices();
    emit deviceListChanged(devices);
}

bool TitanDeviceManager::connectDevice(const QString& path) {
    disconnectDevice();
    if (!path.isEmpty())
        handle = openAdapter(path);
    if (handle == nullptr) {
        emit deviceError(tr("Failed to open Titan Two device"));
        return false;
    }
    connectedDevicePath = path;
    connected = true;
    inboundReading = true;
    connectionCheckTimer.start();
    inboundTimer.start();
    emit deviceConnected(path);
    emit inboundReadingStarted();
    return true;
}

void TitanDeviceManager::disconnectDevice() {
    if (std::exchange(inboundReading, false)) {
        inboundTimer.stop();
        emit inboundReadingStopped();
    }
    connectionCheckTimer.stop();
    if (hid_device* const open = std::exchange(handle, nullptr))
        hid_close(open);
    if (std::exchange(connected, false)) {
        connectedDevicePath.clear();
        emit deviceDisconnected();
    }
}

bool TitanDeviceManager::sendPacket(const QByteArray& packet) {
    OutputReport report;
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(packet.constData());
    const bool sent = fillReport(report, {bytes, static_cast<std::size_t>(packet.size())}) &&
                      handle != nullptr && hid_write(handle, report.data(), report.size()) >= 0;
    if (sent)
        emit packetSent(static_cast<int>(packet.size()));
    else
        emit deviceError(tr("Failed to send a packet to the Titan Two device"));
    return sent;
}

bool TitanDeviceManager::sendStopPacket(const QString& path) {
    if (path.isEmpty())
        return false;
    hid_device* const device = openAdapter(path);
    if (device == nullptr)
        return false;
    const bool sent = hid_write(device, kStopReport.data(), kStopReport.size()) >= 0;
    hid_close(device);
    return sent;
}

void TitanDeviceManager::shutDown() {
    if (connected && !connectedDevicePath.isEmpty())
        sendStopPacket(connectedDevicePath);
    for (const TitanDevice& device : enumerateDevices())
        sendStopPacket(device.path);
    disconnectDevice();
}

void TitanDeviceManager::checkDeviceConnection() {}

void TitanDeviceManager::processInboundData() {
    if (!connected || handle == nullptr)
        return;
    const int count = hid_read_timeout(handle, reinterpret_cast<unsigned char*>(readBuffer.data()),
                                       kPacketBytes, kInboundTimeoutMs);
    if (count > 0)
        emit packetReceived(readBuffer.first(count));
}

} // namespace Vantor
