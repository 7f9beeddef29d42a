// The packets that begin and end the adapter's work. Their bytes never vary and are ready to be written as
// they stand.

#pragma once

#include "device/report.h"

#include <array>
#include <cstddef>

namespace Vantor {

/// Sent in this order after opening, with a pause between them. The first kFirstPhaseReports are the first
/// phase.
extern const std::array<OutputReport, 5> kInitialisationReports;
inline constexpr std::size_t kFirstPhaseReports = 2;

/// What the reader of the adapter sends before it closes.
extern const OutputReport kClosingReport;

/// Sends an adapter back to its idle state when everything is over. Not the closing packet: one byte stands
/// elsewhere.
extern const OutputReport kStopReport;

} // namespace Vantor
