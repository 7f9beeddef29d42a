// Settings of plug-ins, kept between runs of the host. GUI thread only.

#pragma once

#include "host/vantor_core_export.h"

#include <QString>
#include <QVariant>

#include <memory>

class QSettings;

namespace Vantor {

class VANTOR_CORE_EXPORT SettingsManager {
public:
    /// Keeps the settings in the given INI file; with an empty path, in the user's own place for them.
    explicit SettingsManager(const QString& filePath = {});
    ~SettingsManager();
    SettingsManager(const SettingsManager&) = delete;
    SettingsManager& operator=(const SettingsManager&) = delete;

    QVariant getPluginValue(const QString& group, const QString& key,
                            const QVariant& defaultValue = {}) const;
    /// Stored at once, and on disk before the host ends.
    void setPluginValue(const QString& group, const QString& key, const QVariant& value);

private:
    std::unique_ptr<QSettings> settings;
};

} // namespace Vantor
