#include "simulator/capture_monitor.h"

#include <algorithm>

namespace Vantor::simulator {

namespace {

constexpr TransferKind kStartStream{.command = 0x51,
                                    .name = "capture start",
                                    .minBytes = 3,
                                    .maxBytes = 183,
                                    .wideLength = false,
                                    .forSlot = false};

constexpr std::array<std::uint8_t, 43> kKeyboardDescriptor{
    0x05, 0x01, 0x09, 0x06, 0xA1, 0x01, 0x05, 0x07, 0x19, 0xE0, 0x29, 0xE7, 0x15, 0x00, 0x25,
    0x01, 0x75, 0x01, 0x95, 0x08, 0x81, 0x02, 0x81, 0x03, 0x95, 0x06, 0x75, 0x08, 0x15, 0x00,
    0x26, 0xA4, 0x00, 0x05, 0x07, 0x19, 0x00, 0x2A, 0xA4, 0x00, 0x81, 0x00, 0xC0};
constexpr std::array<std::uint8_t, 68> kMouseDescriptor{
    0x05, 0x01, 0x09, 0x02, 0xA1, 0x01, 0x06, 0x00, 0xFF, 0x15, 0x00, 0x25, 0x01, 0x75, 0x08, 0x95, 0x01,
    0x09, 0x01, 0x81, 0x02, 0x05, 0x01, 0x16, 0x00, 0x80, 0x26, 0xFF, 0x7F, 0x75, 0x10, 0x95, 0x02, 0x09,
    0x30, 0x09, 0x31, 0x81, 0x06, 0x15, 0x81, 0x25, 0x7F, 0x75, 0x08, 0x95, 0x01, 0x09, 0x38, 0x81, 0x06,
    0x05, 0x09, 0x19, 0x01, 0x29, 0x10, 0x15, 0x00, 0x25, 0x01, 0x95, 0x10, 0x75, 0x01, 0x81, 0x02, 0xC0};
constexpr std::array<std::uint8_t, 69> kControllerDescriptor{
    0x05, 0x01, 0x09, 0x05, 0xA1, 0x01, 0x05, 0x09, 0x19, 0x01, 0x29, 0x0E, 0x15, 0x00,
    0x25, 0x01, 0x75, 0x01, 0x95, 0x14, 0x81, 0x02, 0x05, 0x01, 0x09, 0x39, 0x15, 0x01,
    0x25, 0x08, 0x35, 0x00, 0x46, 0x3B, 0x01, 0x65, 0x14, 0x75, 0x04, 0x95, 0x01, 0x81,
    0x42, 0x65, 0x00, 0x09, 0x30, 0x09, 0x31, 0x09, 0x32, 0x09, 0x35, 0x09, 0x33, 0x09,
    0x34, 0x15, 0x00, 0x26, 0xFF, 0x00, 0x75, 0x08, 0x95, 0x06, 0x81, 0x02, 0xC0};

struct Declaration {
    unsigned device;
    std::span<const std::uint8_t> descriptor;
    const char* wrongLength;
    const char* wrongBytes;
};
constexpr std::array<Declaration, 3> kDeclarations{{
    {kCaptureKeyboard, kKeyboardDescriptor, "the keyboard descriptor has the wrong length",
     "the keyboard descriptor is not the known one"},
    {kCaptureMouse, kMouseDescriptor, "the mouse descriptor has the wrong length",
     "the mouse descriptor is not the known one"},
    {kCaptureController, kControllerDescriptor, "the controller descriptor has the wrong length",
     "the controller descriptor is not the known one"},
}};

/// What the stream declares goes to `devices`.
const char* streamProblem(std::span<const std::uint8_t> stream, std::uint8_t& devices) noexcept {
    devices = 0;
    for (const Declaration& declaration : kDeclarations) {
        if (stream.empty())
            return "the stream ends before its third length";
        const std::size_t length = stream[0];
        stream = stream.subspan(1);
        if (length == 0)
            continue;
        if (length != declaration.descriptor.size() || length > stream.size())
            return declaration.wrongLength;
        if (!std::equal(declaration.descriptor.begin(), declaration.descriptor.end(), stream.begin()))
            return declaration.wrongBytes;
        devices |= static_cast<std::uint8_t>(declaration.device);
        stream = stream.subspan(length);
    }
    if (!stream.empty())
        return "bytes behind the third descriptor";
    return devices == 0 ? "no device is declared" : nullptr;
}

using Part = std::span<const std::uint8_t>;

bool isZero(Part bytes) noexcept {
    return std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t byte) { return byte == 0; });
}

// An input packet: 4 bytes of head, then 8 of keyboard, 8 of mouse, 9 of controller.
Part keyboardPart(Part packet) noexcept {
    return packet.subspan(4, 8);
}
Part mousePart(Part packet) noexcept {
    return packet.subspan(12, 8);
}
Part controllerPart(Part packet) noexcept {
    return packet.subspan(20, 9);
}

bool isNeutralController(Part part) noexcept {
    constexpr std::array<std::uint8_t, 9> kNeutral{0, 0, 0, 0x7F, 0x7F, 0x7F, 0x7F, 0, 0};
    return std::equal(part.begin(), part.end(), kNeutral.begin(), kNeutral.end());
}

const char* formatProblem(std::span<const std::uint8_t, 64> packet) noexcept {
    constexpr std::uint8_t kPayloadBytes = 25;
    constexpr std::uint8_t kHighestKeyUsage = 0xA4;
    constexpr unsigned kHats = 8;
    if (packet[1] != 0 || packet[2] != kPayloadBytes || packet[3] != 0)
        return "the head is not 52 00 19 00";
    const Part keyboard = keyboardPart(packet);
    if (keyboard[1] != 0)
        return "the keyboard's reserved byte is not zero";
    if (std::any_of(keyboard.begin() + 2, keyboard.end(),
                    [](std::uint8_t usage) { return usage > kHighestKeyUsage; }))
        return "a key usage above 0xA4";
    const Part mouse = mousePart(packet);
    if (mouse[0] > 1 || (mouse[0] == 0 && !isZero(mouse)))
        return "the mouse's first byte is not 1";
    const std::uint8_t lastButtons = controllerPart(packet)[2];
    if ((lastButtons & 0x0E) != 0 || lastButtons >> 4 > kHats)
        return "the controller's hat is above 8";
    return isZero(packet.subspan(29)) ? nullptr : "the padding is not zero";
}

} // namespace

const char* CaptureMonitor::takeStart(std::span<const std::uint8_t, 64> packet) noexcept {
    const TransferAssembler::Result result = stream.take(kStartStream, packet);
    if (result.problem != nullptr || !result.complete)
        return result.problem;
    std::uint8_t devices = 0;
    if (const char* problem = streamProblem(stream.payload(), devices))
        return problem;
    counts.devices = devices;
    ++counts.starts;
    return nullptr;
}

const char* CaptureMonitor::takeInput(std::span<const std::uint8_t, 64> packet) noexcept {
    if (const char* problem = formatProblem(packet))
        return problem;
    const bool keys = !isZero(keyboardPart(packet));
    const bool mouseMoves = !isZero(mousePart(packet).subspan(1));
    const bool controller = !isNeutralController(controllerPart(packet));
    const unsigned used = (keys ? kCaptureKeyboard : 0U) | (mouseMoves ? kCaptureMouse : 0U) |
                          (controller ? kCaptureController : 0U);
    if (counts.devices == 0)
        return "input before a start stream";
    if ((used & ~unsigned{counts.devices}) != 0)
        return "input of a device that was not declared";
    ++counts.packets;
    counts.neutralPackets += used == 0 && isZero(mousePart(packet)) ? 1 : 0;
    counts.keyboardPackets += keys ? 1 : 0;
    counts.mousePackets += mouseMoves ? 1 : 0;
    counts.controllerPackets += controller ? 1 : 0;
    std::copy(packet.begin(), packet.end(), counts.lastPacket.begin());
    return nullptr;
}

void CaptureMonitor::powerOff() noexcept {
    stream.drop();
    counts.devices = 0;
}

} // namespace Vantor::simulator
