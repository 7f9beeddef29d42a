// Which adapter is meant: the one that the user chose, kept in the host's settings, and the one that the
// bridge was last started on, which is the one to come back to. It looks through lists that it is given and
// opens nothing. GUI thread only.

#pragma once

#include "device/titan_device.h"

#include <QList>
#include <QString>

namespace Vantor {

class SettingsManager;

/// Null when no adapter of the list has this path.
const TitanDevice* findDevice(const QList<TitanDevice>& devices, const QString& path);
/// The serial number that an opened adapter must report; empty, so that any will do, for an adapter that
/// reports none and is listed under a stand-in, and for null.
QString requiredSerial(const TitanDevice* device);

class AdapterChoice {
public:
    /// Reads what the user chose in an earlier run. `settings` is not owned; null keeps choices in memory
    /// only.
    void setSettings(SettingsManager* settings);

    /// The user has chosen this adapter: stored at once. An adapter with an empty serial number changes
    /// nothing.
    void choose(const TitanDevice& device);
    const QString& chosenSerial() const { return chosen; }
    /// The chosen adapter if it is there, else the first one; empty for an empty list.
    QString pathToStartOn(const QList<TitanDevice>& devices) const;

    /// The bridge is being started on this path; `device` is what is known of it, or null. Null, as from a
    /// list that could not be had, takes nothing away from what is known of the same path.
    void remember(const QString& path, const TitanDevice* device);
    void rememberPath(const QString& path) { lastPath = path; }
    const QString& rememberedPath() const { return lastPath; }
    /// The user would rather have the chosen adapter than wait for the lost one.
    void lookForChosen() { lastSerial = chosen; }
    /// Whether there is anything to look for.
    bool isSearchable() const { return !lastPath.isEmpty() || !lastSerial.isEmpty() || !chosen.isEmpty(); }
    /// The remembered adapter, on its path or by its serial number on another; else the chosen one, which was
    /// not there when the bridge was started on another. Null when neither is there.
    const TitanDevice* findAgain(const QList<TitanDevice>& devices) const;

private:
    SettingsManager* settingsManager = nullptr; ///< not owned
    QString chosen;                             ///< serial number, as the settings hold it
    QString lastPath;
    QString lastSerial; ///< of the same adapter, so that it is known again on another path
};

} // namespace Vantor
