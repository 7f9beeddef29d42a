// What the adapter has said of itself since the bridge was last started, for
// the panel and for hosts that know none of our types. Plain values, GUI thread
// only.

#pragma once

#include "device/titan_script_info.h"
#include "ui/connection_state.h"

#include <QJsonObject>
#include <QList>
#include <QString>

#include <optional>

namespace Vantor {

class FerryLinkWidget;

/// The name of a protocol value as the adapter reports it.
QString outputProtocolName(int value);

/// A value that has not been reported yet is not there.
struct AdapterStatus {
    ConnectionState connection = ConnectionState::disconnected;
    QString deviceSerial;         ///< of the adapter that the bridge was started for;
                                  ///< empty when not known
    bool acceptsCommands = false; ///< slots can be loaded and cleared
    bool capturing = false;       ///< keyboard, mouse or controller go to the adapter
    std::optional<QString> firmwareVersion;
    std::optional<int> loadedSlot;
    std::optional<int> outputProtocol;
    std::optional<TitanUsbPortInfo> usbPorts;
    std::optional<QList<TitanScriptInfo>> scripts;
    int listings = 0; ///< how often the adapter has listed its scripts

    /// Forgets what was reported; what stands before it stays.
    void clearReported();
    /// Shows all of it in the panel.
    void showIn(FerryLinkWidget& panel) const;
    /// Keys: connection, device_serial, accepts_commands, capturing, listings, firmware, loaded_slot,
    /// output_protocol (its name), usb_ports {input_a, input_b, output, prog}, slots [{slot, name, version,
    /// author, input_translator}]; null for what is not known.
    QJsonObject toJson() const;
};

} // namespace Vantor
