#include "plugin/plugin_description.h"

#include "host/records.h"
#include "plugin/ferry_link_plugin.h"

#include <QJsonArray>

namespace Vantor {

QJsonObject runTimeMetadata() {
    return {{QStringLiteral("type"), QStringLiteral("communication_bridge")},
            {QStringLiteral("displayName"), FerryLinkPlugin::tr("Ferry Link")},
            {QStringLiteral("description"), FerryLinkPlugin::tr("Simple bridge for Titan Two devices")},
            {QStringLiteral("author"), QStringLiteral("Vantor Project")},
            {QStringLiteral("version"), QStringLiteral("1.0.0")},
            {QStringLiteral("features"),
             QJsonArray{QStringLiteral("titan_two"), QStringLiteral("usb_communication")}},
            {QStringLiteral("platform"), QStringLiteral("windows")}};
}

QStringList requiredBlocks() {
    return {
        QString::fromLatin1(BlockName::kControllerInput),  QString::fromLatin1(BlockName::kControllerOutput),
        QString::fromLatin1(BlockName::kControllerReport), QString::fromLatin1(BlockName::kCVData),
        QString::fromLatin1(BlockName::kKeyboardRawInput), QString::fromLatin1(BlockName::kMouseRawInput)};
}

} // namespace Vantor
