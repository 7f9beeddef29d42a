#include "workers/worker_log.h"

#include "host/logging_service.h"
#include "platform/device_access.h"

namespace Vantor {

QString blockNotOffered() {
    return QStringLiteral("The host has not offered it.");
}

void warnOfMissingBlock(const char* blockName, const QString& reason, const char* consequence) {
    LoggingService::instance().warning(
        logSource(),
        QStringLiteral(
            "The shared-memory block \"%1\" is not available: %2 %3 until the host provides the block "
            "and the bridge is started again.")
            .arg(QLatin1String(blockName), reason, QLatin1String(consequence)));
}

void warnOfRefusedBlock(const char* blockName, const QString& reason) {
    LoggingService::instance().warning(
        logSource(),
        QStringLiteral("The shared-memory block \"%1\" cannot be written: %2 End the other writer and "
                       "start the bridge again.")
            .arg(QLatin1String(blockName), reason));
}

void adviseOnDeviceAccess(const QString& devicePath) {
    if (const char* const advice = platform::deviceAccessAdvice(devicePath.toLocal8Bit().constData()))
        LoggingService::instance().warning(
            logSource(),
            QStringLiteral("This user may not open %1. %2").arg(devicePath, QString::fromUtf8(advice)));
}

} // namespace Vantor
