// Puts the panel's restart action where the host's dock keeps such actions. GUI
// thread only.

#pragma once

namespace Vantor {

class FerryLinkWidget;

/// Looks up the panel's parents for the host's dock widget and hands it the
/// action, which belongs to the panel. Without such a dock nothing happens.
void addRestartActionToDock(FerryLinkWidget& panel);

} // namespace Vantor
