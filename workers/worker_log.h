// What worker threads tell the user through the host's log. Any thread; allocates, so not for the loops.

#pragma once

#include <QString>

namespace Vantor {

/// Source name of the plug-in's log entries, and writer name of the blocks that it writes.
inline QString logSource() {
    return QStringLiteral("FerryLink");
}

/// Says that a block cannot be used, why (a sentence), what follows from that and what to do.
void warnOfMissingBlock(const char* blockName, const QString& reason, const char* consequence);
/// The reason when the host has never offered the block.
QString blockNotOffered();
/// Says that a block's record could not be written, and why (a sentence).
void warnOfRefusedBlock(const char* blockName, const QString& reason);
/// To be called when the adapter at `devicePath` could not be opened: says so and names the cure, if it is
/// the system that keeps this user out; else says nothing.
void adviseOnDeviceAccess(const QString& devicePath);

} // namespace Vantor
