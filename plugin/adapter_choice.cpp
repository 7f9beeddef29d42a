#include "plugin/adapter_choice.h"

#include "host/settings_manager.h"

#include <algorithm>

namespace Vantor {

namespace {

QString settingsGroup() {
    return QStringLiteral("ferry_link");
}

QString serialKey() {
    return QStringLiteral("selected_device_serial");
}

const TitanDevice* findBySerial(const QList<TitanDevice>& devices, const QString& serial) {
    if (serial.isEmpty())
        return nullptr;
    const auto found = std::find_if(devices.begin(), devices.end(),
                                    [&](const TitanDevice& device) { return device.serialNumber == serial; });
    return found == devices.end() ? nullptr : &*found;
}

} // namespace

const TitanDevice* findDevice(const QList<TitanDevice>& devices, const QString& path) {
    const auto found = std::find_if(devices.begin(), devices.end(),
                                    [&](const TitanDevice& device) { return device.path == path; });
    return found == devices.end() ? nullptr : &*found;
}

QString requiredSerial(const TitanDevice* device) {
    return device == nullptr || device->serialNumber == QLatin1String(kUnknownSerialNumber)
               ? QString()
               : device->serialNumber;
}

void AdapterChoice::setSettings(SettingsManager* settings) {
    settingsManager = settings;
    if (settingsManager != nullptr)
        chosen = settingsManager->getPluginValue(settingsGroup(), serialKey(), QString()).toString();
}

void AdapterChoice::choose(const TitanDevice& device) {
    if (device.serialNumber.isEmpty())
        return;
    chosen = device.serialNumber;
    if (settingsManager != nullptr)
        settingsManager->setPluginValue(settingsGroup(), serialKey(), chosen);
}

QString AdapterChoice::pathToStartOn(const QList<TitanDevice>& devices) const {
    if (const TitanDevice* const remembered = findBySerial(devices, chosen))
        return remembered->path;
    return devices.isEmpty() ? QString() : devices.first().path;
}

void AdapterChoice::remember(const QString& path, const TitanDevice* device) {
    if (device != nullptr)
        lastSerial = device->serialNumber;
    else if (path != lastPath)
        lastSerial.clear();
    lastPath = path;
}

const TitanDevice* AdapterChoice::findAgain(const QList<TitanDevice>& devices) const {
    if (const TitanDevice* const samePath = findDevice(devices, lastPath))
        return samePath;
    const TitanDevice* const same = findBySerial(devices, lastSerial);
    return same != nullptr ? same : findBySerial(devices, chosen);
}

} // namespace Vantor
