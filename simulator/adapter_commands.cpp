// The half of the adapter that changes something: slots, transfers into them, output protocol, capture.

#include "simulator/adapter_model.h"

#include <algorithm>
#include <bit>

namespace Vantor::simulator {

namespace {

// A host takes what arrives within some 50 ms of a listing for more of it. Two of them are kept apart.
constexpr std::int64_t kListingSpacingNs = 100'000'000;
constexpr std::size_t kListingPartBytes = 60;

constexpr TransferKind kScriptTransfer{.command = 0x30,
                                       .name = "bytecode transfer",
                                       .minBytes = 2,
                                       .maxBytes = MemorySlots::kMaxScriptBytes + 1,
                                       .wideLength = true,
                                       .forSlot = true};
constexpr TransferKind kTranslatorTransfer{.command = 0x31,
                                           .name = "translator transfer",
                                           .minBytes = 2,
                                           .maxBytes = MemorySlots::kMaxTranslatorBytes + 1,
                                           .wideLength = false,
                                           .forSlot = true};

constexpr std::uint8_t kClearScriptCommand = 0x40;

std::int16_t littleEndian16(std::uint8_t low, std::uint8_t high) noexcept {
    return static_cast<std::int16_t>(low | high << 8);
}

} // namespace

// ---- Fixed packets with one byte to choose ----

bool AdapterModel::isTemplate(Packet packet, const Report& expected, std::size_t place,
                              const char* name) noexcept {
    for (std::size_t index = 0; index < packet.size(); ++index) {
        if (index != place && packet[index] != expected[index]) {
            reportError("%s packet: byte %u is 0x%02X instead of 0x%02X", name, static_cast<unsigned>(index),
                        packet[index], expected[index]);
            return false;
        }
    }
    return true;
}

void AdapterModel::takeLoadSlot(Packet packet, std::int64_t nowNs) noexcept {
    if (!isTemplate(packet, kLoadSlotPacket, kLoadSlotPlace, "load slot"))
        return;
    const unsigned slot = packet[kLoadSlotPlace];
    if (slot == 0 || slot > kMemorySlots)
        reportError("load slot packet: there is no slot %u", slot);
    else
        loadSlot(slot, nowNs);
    requestListing(nowNs);
}

void AdapterModel::takeClear(Packet packet, std::int64_t nowNs) noexcept {
    constexpr std::size_t kSlotPlace = 4;
    const Report expected{packet[0], 0x00, 0x01};
    if (!isTemplate(packet, expected, kSlotPlace, "clear"))
        return;
    const unsigned slot = packet[kSlotPlace];
    if (slot == 0 || slot > kMemorySlots) {
        reportError("clear packet: there is no slot %u", slot);
        return;
    }
    ++counts.clears;
    setSlotFile(slot, packet[0] == kClearScriptCommand ? SlotPart::script : SlotPart::translator, {}, nowNs);
}

void AdapterModel::takeOutputProtocol(Packet packet, std::int64_t nowNs) noexcept {
    if (!isTemplate(packet, kOutputProtocolPacket, kOutputProtocolPlace, "output protocol"))
        return;
    setOutputProtocol(packet[kOutputProtocolPlace]);
    requestListing(nowNs);
}

void AdapterModel::setOutputProtocol(std::uint8_t protocol) noexcept {
    ++counts.protocolChanges;
    content.outputProtocol = protocol;
    queueAnswer(outputProtocolReport(content));
}

// ---- Slots ----

void AdapterModel::takeTransfer(Packet packet, std::int64_t nowNs) noexcept {
    const bool isScript = packet[0] == kScriptTransfer.command;
    const TransferKind& kind = isScript ? kScriptTransfer : kTranslatorTransfer;
    const TransferAssembler::Result result = transfer.take(kind, packet);
    counts.transfersAbandoned += result.abandoned ? 1 : 0;
    const char* problem = result.problem;
    if (result.complete) {
        const auto payload = transfer.payload();
        const unsigned slot = payload[0];
        const SlotPart part = isScript ? SlotPart::script : SlotPart::translator;
        problem = memory.keep(slot, part, payload.subspan(1));
        if (problem == nullptr) {
            ++(isScript ? counts.scriptTransfers : counts.translatorTransfers);
            slotChanged(slot, nowNs);
        }
    }
    if (problem == nullptr)
        return;
    ++counts.transfersFailed;
    const unsigned length = (kind.wideLength ? unsigned{packet[1]} << 8 : 0U) | packet[2];
    reportError("%s: %s (length %u, chunk %u)", kind.name, problem, length, unsigned{packet[3]});
}

bool AdapterModel::setSlotFile(unsigned slot, SlotPart part, std::span<const std::uint8_t> file,
                               std::int64_t nowNs) noexcept {
    if (slot == 0 || slot > kMemorySlots)
        return false;
    if (file.empty())
        memory.clear(slot, part);
    else if (memory.keep(slot, part, file) != nullptr)
        return false;
    slotChanged(slot, nowNs);
    return true;
}

// A script that runs goes on when its slot gets another one: it has been copied, and whoever transfers loads
// the slot as well. When its slot loses it, it ends.
void AdapterModel::slotChanged(unsigned slot, std::int64_t nowNs) noexcept {
    runner.setOccupiedSlots(occupiedSlots());
    if (slot == content.loadedSlot) {
        if (memory.file(slot, SlotPart::script).empty())
            runner.unload();
        if (memory.isEmpty(slot)) {
            content.loadedSlot = 0;
            queueAnswer(loadedSlotReport(content));
        }
    }
    requestListing(nowNs);
}

void AdapterModel::requestListing(std::int64_t nowNs) noexcept {
    listingDueNs = std::max(nowNs, listingSpacedNs);
}

bool AdapterModel::loadSlot(unsigned slot, std::int64_t nowNs) noexcept {
    const bool loads = slot >= 1 && slot <= kMemorySlots && !memory.isEmpty(slot);
    if (loads) {
        content.loadedSlot = static_cast<std::uint8_t>(slot);
        startScript(nowNs);
    }
    ++(loads ? counts.slotLoads : counts.slotLoadsRefused);
    queueAnswer(loadedSlotReport(content));
    return loads;
}

void AdapterModel::startScript(std::int64_t nowNs) noexcept {
    scriptWanted = false;
    runner.unload();
    runner.setOccupiedSlots(occupiedSlots());
    const auto script = memory.file(content.loadedSlot, SlotPart::script);
    if (!script.empty())
        runner.load(content.loadedSlot, script, nowNs);
}

unsigned AdapterModel::occupiedSlots() const noexcept {
    unsigned occupied = 0;
    for (unsigned slot = 1; slot <= kMemorySlots; ++slot)
        occupied |= memory.file(slot, SlotPart::script).empty() ? 0U : 1U << slot;
    return occupied;
}

void AdapterModel::queueListing(std::int64_t nowNs) noexcept {
    std::array<std::uint8_t, MemorySlots::kListingBytes> stream{};
    const std::size_t length = memory.writeListing(stream);
    for (std::size_t begin = 0; begin < length; begin += kListingPartBytes) {
        Report part{0x03, 0x00, static_cast<std::uint8_t>(length),
                    static_cast<std::uint8_t>(begin / kListingPartBytes)};
        std::copy_n(stream.begin() + static_cast<std::ptrdiff_t>(begin),
                    std::min(kListingPartBytes, length - begin), part.begin() + 4);
        queueAnswer(part);
    }
    ++counts.listings;
    listingDueNs = kNeverNs;
    listingSpacedNs = nowNs + kListingSpacingNs;
}

// ---- Capture ----

void AdapterModel::takeCaptureStart(Packet packet, std::int64_t /*nowNs*/) noexcept {
    reportCaptureProblem("capture start", capture.takeStart(packet));
}

void AdapterModel::takeCaptureInput(Packet packet, std::int64_t /*nowNs*/) noexcept {
    const char* problem = capture.takeInput(packet);
    reportCaptureProblem("capture input", problem);
    if (problem != nullptr)
        return;
    // The script sees keyboard and mouse; the controller stays the one whose states are streamed.
    runner.setKeys(packet.subspan<4, 8>());
    runner.addMouseMotion(littleEndian16(packet[13], packet[14]), littleEndian16(packet[15], packet[16]),
                          std::bit_cast<std::int8_t>(packet[17]));
}

void AdapterModel::reportCaptureProblem(const char* what, const char* problem) noexcept {
    if (problem != nullptr)
        reportError("%s: %s", what, problem);
}

} // namespace Vantor::simulator
