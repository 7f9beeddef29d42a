// What the adapter says of its memory slots and USB ports, in words for people.

#pragma once

#include <QList>
#include <QMetaType>
#include <QString>

namespace Vantor {

/// One occupied memory slot.
struct TitanScriptInfo {
    int slot = 0;            ///< 1..9
    QString name;            ///< of the script; "Occupied slot" when it cannot be read
    QString version;         ///< "1.05"; empty when unknown
    QString author;          ///< may be empty
    QString inputTranslator; ///< with its tag, for example "[RK] name"; empty without one

    friend bool operator==(const TitanScriptInfo&, const TitanScriptInfo&) = default;
};

/// Which protocol each port speaks.
struct TitanUsbPortInfo {
    QString inputA;
    QString inputB;
    QString output;
    QString prog; ///< always "Vantor": that port leads to this computer

    friend bool operator==(const TitanUsbPortInfo&, const TitanUsbPortInfo&) = default;
};

} // namespace Vantor

Q_DECLARE_METATYPE(Vantor::TitanScriptInfo)
Q_DECLARE_METATYPE(Vantor::TitanUsbPortInfo)
