// The simulated adapter's library, loaded in the place of hidapi before the plug-in is, and its control
// functions. Entry point: load(). It stays loaded to the end of the program, since the plug-in calls into it.

#pragma once

#include "simulator/virtual_adapter.h"

#include <QString>
#include <QStringList>

namespace Vantor::devhost {

class VirtualAdapterLibrary {
public:
    VirtualAdapterLibrary() = default;
    ~VirtualAdapterLibrary(); ///< removes the adapter
    VirtualAdapterLibrary(const VirtualAdapterLibrary&) = delete;
    VirtualAdapterLibrary& operator=(const VirtualAdapterLibrary&) = delete;

    /// Loads the library, finds its functions and plugs in one adapter with this serial number. Once, and
    /// before anything that is linked to hidapi is loaded. False: errorString() says why.
    bool load(const QString& serial);
    QString errorString() const { return error; }

    /// Controller states of each kind a second, 0 to 10000.
    bool setStateRate(unsigned hz);
    bool unplug();
    /// Plugs the adapter in again, on a path that it has not had before.
    bool replug();

    /// Counts since load(); all zero when they cannot be had.
    virtual_adapter_statistics statistics() const;
    /// The first few protocol errors that the adapter has seen.
    QStringList protocolErrors() const;

private:
    template<typename Function>
    bool resolve(Function& function, const char* name);
    QByteArray nextPath();

    QString error;
    int adapter = -1;
    int pathNumber = 0;
    decltype(&virtual_adapter_add) add = nullptr;
    decltype(&virtual_adapter_remove) remove = nullptr;
    decltype(&virtual_adapter_unplug) unplugAdapter = nullptr;
    decltype(&virtual_adapter_replug) replugAdapter = nullptr;
    decltype(&virtual_adapter_set_rates) setRates = nullptr;
    decltype(&virtual_adapter_get_statistics) getStatistics = nullptr;
    decltype(&virtual_adapter_error_text) getErrorText = nullptr;
};

} // namespace Vantor::devhost
