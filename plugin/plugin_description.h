// What the plug-in says of itself once it is loaded, and what it asks of its host. Any thread.

#pragma once

#include <QJsonObject>
#include <QStringList>

namespace Vantor {

/// Shorter than the metadata in the plug-in's file, on purpose: a host shows this one, and chooses by the
/// other.
QJsonObject runTimeMetadata();
/// Names of the shared-memory blocks that must be there, those that are read and those that are written.
QStringList requiredBlocks();

} // namespace Vantor
