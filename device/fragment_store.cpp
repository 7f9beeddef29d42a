#include "device/fragment_store.h"

#include <cstring>

namespace Vantor {

std::optional<ControllerStateType> FragmentStore::acceptOfOddLength(const std::uint8_t* report,
                                                                    int length) noexcept {
    constexpr int kMinBytes = 4;
    if (length < kMinBytes || length > static_cast<int>(kInputReportBytes) || !isStatePart(report))
        return std::nullopt;
    Area& area = areaOf(report[0]);
    const std::size_t part = report[3];
    const auto bytes = static_cast<std::size_t>(length);
    std::memcpy(area.received.data() + part * kInputReportBytes, report, bytes);
    return completedBy(area, part, bytes);
}

} // namespace Vantor
