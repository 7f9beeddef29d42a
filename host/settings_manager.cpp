// Settings in an INI file, written through at every change: a host that crashes loses none.

#include "host/settings_manager.h"

#include "host/logging_service.h"

#include <QFile>
#include <QSettings>

using namespace Qt::StringLiterals;

namespace Vantor {

namespace {

std::unique_ptr<QSettings> openSettings(const QString& filePath) {
    if (!filePath.isEmpty())
        return std::make_unique<QSettings>(filePath, QSettings::IniFormat);
    return std::make_unique<QSettings>(QSettings::IniFormat, QSettings::UserScope, u"Vantor"_s, u"Vantor"_s);
}

QString pathOf(const QString& group, const QString& key) {
    return group + u'/' + key;
}

/// The next write drops the lines that could not be read, so what the file was is kept beside it.
void keepBrokenFile(const QString& path) {
    const QString copy = path + u".broken"_s;
    QFile::remove(copy);
    const QString kept = QFile::copy(path, copy) ? u"; the file is kept as %1"_s.arg(copy) : QString();
    LoggingService::instance().warning(
        u"Vantor"_s,
        u"Some lines of the settings in %1 cannot be read and are left out%2."_s.arg(path, kept));
}

} // namespace

SettingsManager::SettingsManager(const QString& filePath) : settings(openSettings(filePath)) {
    if (settings->status() == QSettings::FormatError)
        keepBrokenFile(settings->fileName());
    else if (settings->status() == QSettings::AccessError)
        LoggingService::instance().warning(
            u"Vantor"_s,
            u"The settings in %1 cannot be read; defaults are used."_s.arg(settings->fileName()));
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
            u"Vantor"_s,
            u"The settings in %1 cannot be written; \"%2\" is kept only while the host runs."_s.arg(
                settings->fileName(), pathOf(group, key)));
}

} // namespace Vantor
