#include "host/settings_manager.h"

#include "host/logging_service.h"

#include <QFile>
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

/// The next write drops the lines that could not be read, so what the file was is kept beside it.
void keepBrokenFile(const QString& path) {
    const QString copy = path + u".broken"_qs;
    QFile::remove(copy);
    const QString kept = QFile::copy(path, copy) ? u"; the file is kept as %1"_qs.arg(copy) : QString();
    LoggingService::instance().warning(
        u"Vantor"_qs,
        u"Some lines of the settings in %1 cannot be read and are left out%2."_qs.arg(path, kept));
}

} // namespace

SettingsManager::SettingsManager(const QString& filePath) : settings(openSettings(filePath)) {
    if (settings->status() == QSettings::FormatError)
        keepBrokenFile(settings->fileName());
    else if (settings->status() == QSettings::AccessError)
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
    if (settings->status() == QSettings::AccessError)
        LoggingService::instance().warning(
            u"Vantor"_qs,
            u"The settings in %1 cannot be written; \"%2\" is kept only while the host runs."_qs.arg(
                settings->fileName(), pathOf(group, key)));
}

} // namespace Vantor
