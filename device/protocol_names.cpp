#include "device/protocol_names.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace Vantor {

namespace {

struct Protocol {
    std::uint8_t value;
    std::string_view name;
};
constexpr std::array<Protocol, 9> kProtocols{{
    {0, "Disconnected"},
    {2, "Playstation 3"},
    {3, "Playstation 4"},
    {4, "Xbox 360"},
    {5, "Xbox One"},
    {6, "Xbox Series X/S"},
    {9, "Nintendo Switch"},
    {10, "Multi Interface HID"},
    {13, "Playstation 5"},
}};

// "Disconnected", the first, is the absence of one.
constexpr auto kConsoleProtocols = [] {
    std::array<std::uint8_t, kProtocols.size() - 1> values{};
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = kProtocols[i + 1].value;
    return values;
}();
static_assert(kProtocols[0].value == 0);

} // namespace

QString protocolName(std::uint8_t protocol) {
    const auto found = std::find_if(kProtocols.begin(), kProtocols.end(),
                                    [protocol](const Protocol& each) { return each.value == protocol; });
    const std::string_view name = found == kProtocols.end() ? "Unknown" : found->name;
    return QString::fromLatin1(name.data(), static_cast<qsizetype>(name.size()));
}

std::span<const std::uint8_t> consoleProtocols() {
    return kConsoleProtocols;
}

} // namespace Vantor
