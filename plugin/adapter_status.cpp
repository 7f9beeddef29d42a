#include "plugin/adapter_status.h"

#include "device/protocol_names.h"
#include "ui/ferry_link_widget.h"

#include <QJsonArray>

#include <array>

namespace Vantor {

namespace {

// In the order of ConnectionState.
constexpr std::array kConnectionKeys{"disconnected", "connecting", "connected", "reconnecting"};

template<typename Value, typename Convert>
QJsonValue jsonOrNull(const std::optional<Value>& value, Convert convert) {
    return value ? QJsonValue(convert(*value)) : QJsonValue(QJsonValue::Null);
}

QJsonObject portsToJson(const TitanUsbPortInfo& ports) {
    return {{QStringLiteral("input_a"), ports.inputA},
            {QStringLiteral("input_b"), ports.inputB},
            {QStringLiteral("output"), ports.output},
            {QStringLiteral("prog"), ports.prog}};
}

QJsonArray scriptsToJson(const QList<TitanScriptInfo>& scripts) {
    QJsonArray array;
    for (const TitanScriptInfo& script : scripts)
        array.append(QJsonObject{{QStringLiteral("slot"), script.slot},
                                 {QStringLiteral("name"), script.name},
                                 {QStringLiteral("version"), script.version},
                                 {QStringLiteral("author"), script.author},
                                 {QStringLiteral("input_translator"), script.inputTranslator}});
    return array;
}

} // namespace

QString outputProtocolName(int value) {
    return protocolName(static_cast<std::uint8_t>(value)); // one byte of a report
}

void AdapterStatus::clearReported() {
    firmwareVersion.reset();
    loadedSlot.reset();
    outputProtocol.reset();
    usbPorts.reset();
    scripts.reset();
    listings = 0;
}

void AdapterStatus::showIn(FerryLinkWidget& panel) const {
    panel.setConnectionState(connection);
    panel.setKmgCapturing(capturing);
    panel.clearStatus();
    if (firmwareVersion)
        panel.setFirmwareVersion(*firmwareVersion);
    if (outputProtocol)
        panel.setOutputProtocol(*outputProtocol, outputProtocolName(*outputProtocol));
    if (usbPorts)
        panel.setUsbPorts(*usbPorts);
    if (scripts)
        panel.setScripts(*scripts);
    if (loadedSlot)
        panel.setLoadedSlot(*loadedSlot);
}

QJsonObject AdapterStatus::toJson() const {
    const auto same = [](const auto& value) { return value; };
    return {{QStringLiteral("connection"),
             QString::fromLatin1(kConnectionKeys[static_cast<std::size_t>(connection)])},
            {QStringLiteral("device_serial"),
             deviceSerial.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(deviceSerial)},
            {QStringLiteral("accepts_commands"), acceptsCommands},
            {QStringLiteral("capturing"), capturing},
            {QStringLiteral("listings"), listings},
            {QStringLiteral("firmware"), jsonOrNull(firmwareVersion, same)},
            {QStringLiteral("loaded_slot"), jsonOrNull(loadedSlot, same)},
            {QStringLiteral("output_protocol"), jsonOrNull(outputProtocol, outputProtocolName)},
            {QStringLiteral("usb_ports"), jsonOrNull(usbPorts, portsToJson)},
            {QStringLiteral("slots"), jsonOrNull(scripts, scriptsToJson)}};
}

} // namespace Vantor
