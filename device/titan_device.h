// One adapter as enumeration found it.

#pragma once

#include <QList>
#include <QMetaType>
#include <QString>

namespace Vantor {

/// Stands for the serial number of an adapter that reports none.
inline constexpr char kUnknownSerialNumber[] = "Unknown";

struct TitanDevice {
    QString path;         ///< hidapi's path; what every other part of the program names an adapter by
    QString name;         ///< for people, numbered in enumeration order
    QString serialNumber; ///< kUnknownSerialNumber when the device reports none
    QString manufacturer; ///< "ConsoleTuner" when the device reports none
    bool isConnected = false;

    friend bool operator==(const TitanDevice&, const TitanDevice&) = default;
};

} // namespace Vantor

Q_DECLARE_METATYPE(Vantor::TitanDevice)
