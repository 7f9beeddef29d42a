// What may come of a fault: how the plug-in stands afterwards, and what it says. Entry point:
// expectationOf(). Pure data; any thread.

#pragma once

#include "case.h"

#include <QStringList>

namespace Vantor::campaign {

// The ways in which an act may end.
inline constexpr unsigned kUnharmed = 1;  ///< as without the fault, and nothing is said
inline constexpr unsigned kFailed = 2;    ///< the run controls are back at "stopped", a text is in the panel
inline constexpr unsigned kSearching = 4; ///< reconnecting, with a text or the one of a lost adapter
inline constexpr unsigned kRefused = 8;   ///< the capture has ended alone, a text is in the panel
inline constexpr unsigned kBoxed = 16;    ///< the transfer has ended alone, a text is in a box

inline constexpr char kLostText[] = "The device was disconnected. Waiting for it to come back.";

struct Expectation {
    unsigned endings = 0; ///< those that may be
    QStringList texts;    ///< that the panel or a box may show, and the log repeat
    QStringList logTexts; ///< that only the log may have
};

Expectation expectationOf(const Case& tried);
/// Whether the panel shows a box for what a transfer says of its failure; the log has a line for the rest.
bool hasBox(const QString& transferError);

} // namespace Vantor::campaign
