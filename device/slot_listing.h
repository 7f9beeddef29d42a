// Reads the adapter's listing of its memory slots out of the reports that carried it. Entry point:
// decodeSlotListing(). Pure function, any thread. Cost is linear in the listing's length, whatever its
// content.

#pragma once

#include "device/report.h"
#include "device/titan_script_info.h"

#include <array>
#include <cstdint>
#include <span>

namespace Vantor {

/// One report of a listing as read; bytes behind what was read are zero. Byte 3 is its place, bytes 4..63 its
/// share.
using SlotListingPart = std::array<std::uint8_t, kInputReportBytes>;

/// The occupied slots in rising order; sorts `parts` by their place. What is cut off or unreadable is left
/// out.
QList<TitanScriptInfo> decodeSlotListing(std::span<SlotListingPart> parts);

} // namespace Vantor
