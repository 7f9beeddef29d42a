// Describes one named shared-memory block to whoever wants to attach to it.

#pragma once

#include <QList>
#include <QString>

#include <cstddef>

namespace Vantor {

struct MemoryBlockInfo {
    QString name;              ///< what plug-ins know it by, for example "CVData"
    QString segmentName;       ///< what the operating system knows it by
    std::size_t dataBytes = 0; ///< size of the data area, without the header
};

} // namespace Vantor
