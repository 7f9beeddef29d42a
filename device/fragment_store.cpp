#include "device/fragment_store.h"

#include <cstring>

namespace Vantor {

std::optional<ControllerStateType> FragmentStore::accept(const std::uint8_t* report, int length) noexcept {
    constexpr int kMinBytes = 4;
    constexpr std::uint8_t kAllArrived = 0b111;
    if (report == nullptr || length < kMinBytes || length > static_cast<int>(kInputReportBytes))
        return std::nullopt;
    const std::size_t part = report[3];
    if (report[1] != 0x00 || report[2] != 0xAC || part >= kStateParts)
        return std::nullopt;
    const auto type = static_cast<ControllerStateType>(report[0]);
    if (type != ControllerStateType::input && type != ControllerStateType::report)
        return std::nullopt;

    Area& area = areas[type == ControllerStateType::input ? 0 : 1];
    const auto bytes = static_cast<std::size_t>(length);
    std::uint8_t* place = area.received.data() + part * kInputReportBytes;
    if (bytes == kPacketBytes)
        std::memcpy(place, report,
                    kPacketBytes); // what adapters send; of known length, it is a few instructions
    else
        std::memcpy(place, report, bytes);
    area.lengths[part] = bytes;
    area.arrived = static_cast<std::uint8_t>(area.arrived | 1U << part);
    if (area.arrived != kAllArrived)
        return std::nullopt;
    staging = &area;
    area.arrived = 0;
    return type;
}

} // namespace Vantor
