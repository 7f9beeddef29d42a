#include "host/settings_manager.h"

#include "host/logging_service.h"

#include <QSettings>

namespace Vantor {

namespace {

std::unique_ptr<QSettings> openSettings(const QString& filePath) {
    if (!filePath.isEmpty())
        return std::make_unique<QSettings>(filePath, QSettings::IniFormat);
    return std::make_unique<QSettings>(QSettings::IniFormat, QSettings::UserScope, u"Vantor"_qs,
                                       u"Vantor"_qs);
}

QString pathOf(const QString& group, const QString& key) {
    return group + u'/' + key;
}

} // namespace

SettingsManager::SettingsManager(const QString& filePath) : settings(openSettings(filePath)) {
    if (settings->status() != QSettings::NoError)
        LoggingService::instance().warning(
            u"Vantor"_qs,
            u"The settings in %1 cannot be read; defaults are used."_qs.arg(settings->fileName()));
}

SettingsManager::~SettingsManager() = default;

QVariant SettingsManager::getPluginValue(const QString& group, const QString& key,
                                         const QVariant& defaultValue) const {
    return settings->value(pathOf(group, key), defaultValue);
}

void SettingsManager::setPluginValue(const QString& group, const QString& key, const QVariant& value) {
    settings->setValue(pathOf(group, key), value);
    settings->sync();
    if (settings->status() != QSettings::NoError)
        LoggingService::instance().warning(
            u"Vantor"_qs,
            u"The settings in %1 cannot be written; \"%2\" is kept only while the host runs."_qs.arg(
                settings->fileName(), pathOf(group, key)));
}

} // namespace Vantor
