// Slots, transfers into them, and the commands that change something.

#include "tests/simulator/adapter_fixture.h"

#include <functional>

namespace {

using namespace Vantor::simulator;
using namespace Vantor::test;

/// A file of `size` bytes whose head a slot accepts; its bytes differ from their neighbours'.
Bytes scriptFile(std::size_t size) {
    Bytes file(size);
    for (std::size_t index = 0; index < size; ++index)
        file[index] = static_cast<std::uint8_t>(index * 7 + 1);
    const Bytes head = bytes("10 00 07");
    std::copy(head.begin(), head.end(), file.begin());
    return file;
}

class Slots : public AdapterTest {
protected:
    Bytes held(unsigned slot, SlotPart part = SlotPart::script) const {
        const auto file = model.memorySlots().file(slot, part);
        return {file.begin(), file.end()};
    }
};

TEST_F(Slots, KeepTransfersOfEveryLength) {
    for (const std::size_t size : {8U, 58U, 59U, 60U, 119U, 120U, 255U, 256U, 4096U, 8191U, 8192U}) {
        const unsigned slot = 1 + size % 9;
        const auto reports = transfer(0x30, slot, scriptFile(size));
        EXPECT_EQ(reports.size(), (size + 60) / 60);
        send(reports);
        EXPECT_EQ(held(slot), scriptFile(size));
    }
    for (const std::size_t size : {1U, 4U, 59U, 60U, 253U, 254U}) {
        send(transfer(0x31, 9, Bytes(size, 0xAB)));
        EXPECT_EQ(held(9, SlotPart::translator), Bytes(size, 0xAB))
            << "the translator's format is not looked at";
    }
    EXPECT_EQ(counts().scriptTransfers, 11U);
    EXPECT_EQ(counts().translatorTransfers, 6U);
    EXPECT_EQ(counts().errors, 0U) << model.errorText(0);
}

TEST_F(Slots, DropBrokenTransfersAndSayWhy) {
    using Reports = std::vector<Bytes>;
    const auto withHead = [](const char* head) {
        Bytes file = scriptFile(190);
        const Bytes start = bytes(head);
        std::copy(start.begin(), start.end(), file.begin());
        return transfer(0x30, 3, file);
    };
    const struct {
        const char* text;
        std::function<void(Reports&)> damage; ///< of a transfer of 200 bytes into slot 3
    } cases[] = {
        {"a piece left out (length 201, chunk 2)", [](Reports& r) { r.erase(r.begin() + 1); }},
        {"a piece whose transfer has not begun (length 201, chunk 1)",
         [](Reports& r) { r.erase(r.begin()); }},
        {"a piece repeated (length 201, chunk 1)", [](Reports& r) { r.insert(r.begin() + 1, r[1]); }},
        {"a piece left out (length 201, chunk 2)", [](Reports& r) { std::swap(r[1], r[2]); }},
        {"a piece left out (length 201, chunk 200)", [](Reports& r) { r[3][4] = 200; }},
        {"the length changes between the pieces (length 200, chunk 2)", [](Reports& r) { --r[2][3]; }},
        {"the padding is not zero (length 201, chunk 3)", [](Reports& r) { r[3][64] = 1; }},
        {"there is no such slot (length 201, chunk 0)", [](Reports& r) { r[0][5] = 0; }},
        {"there is no such slot (length 201, chunk 0)", [](Reports& r) { r[0][5] = 10; }},
        {"the length is out of range (length 8194, chunk 0)",
         [](Reports& r) { r = transfer(0x30, 3, scriptFile(8193)); }},
        {"the length is out of range (length 1, chunk 0)", [](Reports& r) { r = transfer(0x30, 3, {}); }},
        {"the file is shorter than its entry header (length 7, chunk 0)",
         [](Reports& r) { r = transfer(0x30, 3, scriptFile(6)); }},
        {"the file does not begin with the jump opcode (length 191, chunk 3)",
         [&](Reports& r) { r = withHead("11 00 07"); }},
        {"the code offset lies outside the file (length 191, chunk 3)",
         [&](Reports& r) { r = withHead("10 00 06"); }},
        {"the code offset lies outside the file (length 191, chunk 3)",
         [&](Reports& r) { r = withHead("10 00 BE"); }},
    };
    const Bytes before = scriptFile(20);
    for (const auto& [text, damage] : cases) {
        model = AdapterModel(AdapterContent{});
        send(transfer(0x30, 3, before));
        auto reports = transfer(0x30, 3, scriptFile(200));
        damage(reports);
        send(reports);
        EXPECT_EQ(model.errorText(0), "bytecode transfer: " + std::string(text));
        EXPECT_EQ(counts().errors, 1U) << text << ": one broken transfer is one error";
        EXPECT_EQ(counts().transfersFailed, 1U) << text;
        EXPECT_EQ(held(3), before) << text;
        send(transfer(0x30, 3, scriptFile(200)));
        EXPECT_EQ(held(3), scriptFile(200)) << text << ": the next one is fine again";
    }
}

TEST_F(Slots, RefuseWhatNoTranslatorTransferLooksLike) {
    auto wide = transfer(0x31, 3, Bytes(254, 1));
    wide[2][2] = 1;
    send(wide);
    EXPECT_EQ(model.errorText(0), "translator transfer: byte 1 is not zero (length 255, chunk 2)");
    send(transfer(0x31, 3, {}));
    EXPECT_EQ(model.errorText(1), "translator transfer: the length is out of range (length 1, chunk 0)");
    EXPECT_TRUE(held(3, SlotPart::translator).empty());
}

TEST_F(Slots, TellAnInterleavedTransferFromAnAbandonedOne) {
    const auto script = transfer(0x30, 5, scriptFile(200));
    const auto translator = transfer(0x31, 5, Bytes(100, 1));
    send(
        {script[0], script[1]}); // its sender's next write failed; all that is left to it is another transfer
    send(translator);
    EXPECT_EQ(counts().transfersAbandoned, 1U);
    EXPECT_EQ(counts().errors, 0U);
    EXPECT_FALSE(held(5, SlotPart::translator).empty());

    send({script[0], script[1], translator[0], script[2], translator[1], script[3]});
    EXPECT_EQ(model.errorText(0),
              "bytecode transfer: a piece in the middle of another transfer (length 201, chunk 2)");
    EXPECT_EQ(counts().errors, 1U);
    EXPECT_TRUE(held(5).empty());

    // What comes between the pieces and is no transfer does them no harm.
    send(bytes("00 60 00 03 00 01 02 03", 65));
    send({script[0], bytes("00 60 00 03 00 01 02 03", 65), script[1], loadSlotReport(1), script[2],
          script[3]});
    EXPECT_EQ(held(5), scriptFile(200));
    send(script[0]);
    model.powerOff();
    EXPECT_EQ(counts().transfersAbandoned, 3U);
    EXPECT_EQ(counts().errors, 1U) << model.errorText(1);
}

TEST_F(Slots, AnswerEachCommandWithWhatChanged) {
    initialise();
    drain();
    model.setStreamRates(0, 0, now);
    now += 1000 * kMsNs;
    // The answer, and then a fresh listing of as many reports as it takes.
    const auto answerTo = [this](const Bytes& command, std::size_t listingReports) {
        const auto listingsBefore = counts().listings;
        send(command);
        const auto heads = drainHeads();
        EXPECT_EQ(heads.size(), 1 + listingReports);
        EXPECT_EQ(counts().listings, listingsBefore + 1);
        now += 1000 * kMsNs;
        return heads.at(0);
    };
    EXPECT_EQ(answerTo(loadSlotReport(2), 3), bytes("11 00 01 00 02"));
    EXPECT_EQ(answerTo(loadSlotReport(7), 3), bytes("11 00 01 00 02")) << "an empty slot is not loaded";
    EXPECT_EQ(counts().slotLoads, 1U);
    EXPECT_EQ(counts().slotLoadsRefused, 1U);
    EXPECT_EQ(answerTo(outputProtocolReport(13), 3), bytes("02 02 00 00 0D"));

    send(clearReport(0x40, 1));
    const auto listing = drain();
    ASSERT_EQ(listing.size(), 2U);
    EXPECT_EQ(Bytes(listing[0].begin() + 4, listing[0].begin() + 16), bytes("01 00 06 'Desk.git' 00"))
        << "the translator stays";
    now += 1000 * kMsNs;
    send(clearReport(0x40, 2));
    EXPECT_EQ(drainHeads()[0], bytes("11 00 01 00 00")) << "the loaded slot holds nothing any more";
    now += 1000 * kMsNs;
    send(clearReport(0x41, 1));
    EXPECT_TRUE(model.memorySlots().isEmpty(1));
    EXPECT_EQ(counts().clears, 3U);
    EXPECT_EQ(counts().errors, 0U) << model.errorText(0);
}

TEST_F(Slots, NoByteOfACommandMayDiffer) {
    const struct {
        Bytes report;
        std::size_t choice; ///< the byte that is free, behind the report id
    } commands[] = {{loadSlotReport(1), 5}, {outputProtocolReport(3), 6}, {clearReport(0x41, 2), 4}};
    for (const auto& [report, choice] : commands) {
        for (std::size_t place = 1; place < 64; ++place) {
            AdapterModel fresh;
            Bytes wrong = report;
            wrong[place + 1] ^= 0x80;
            fresh.receiveWithId(wrong, now);
            const bool anyProtocol = place == choice && report[1] == 0x02;
            EXPECT_EQ(fresh.statistics().errors, anyProtocol ? 0U : 1U) << place;
        }
    }
    for (const unsigned slot : {0U, 10U, 255U}) {
        AdapterModel fresh;
        fresh.receiveWithId(loadSlotReport(slot), now);
        EXPECT_EQ(fresh.errorText(0), "load slot packet: there is no slot " + std::to_string(slot));
    }
}

// A host takes parts that come soon after a listing for more of it, so that there must be a pause.
TEST_F(Slots, ListingsAreKeptApart) {
    initialise();
    drain();
    model.setStreamRates(0, 0, now);
    now += kMsNs;
    send(clearReport(0x40, 1));
    send(transfer(0x31, 3, bytes("10 02 'x' 00 00")));
    EXPECT_TRUE(drain().empty());
    EXPECT_EQ(model.nextDueNs(), now + 99 * kMsNs);
    now += 99 * kMsNs;
    EXPECT_EQ(drain().size(), 2U);
    EXPECT_EQ(counts().listings, 2U) << "one with the initialisation, one for both changes";
    EXPECT_EQ(model.nextDueNs(), AdapterModel::kNeverNs);
}

TEST_F(Slots, NineFullSlotsFitAListing) {
    Bytes file(8000, 'A');
    const Bytes head = bytes("10 1F 00");
    std::copy(head.begin(), head.end(), file.begin());
    file[4000] = file[7000] = 0; // two long texts
    Bytes translator(254, 'B');
    translator[0] = 0x10;
    translator[1] = 250;
    translator[251] = 0;
    for (unsigned slot = 1; slot <= kMemorySlots; ++slot) {
        send(transfer(0x30, slot, file));
        send(transfer(0x31, slot, translator));
    }
    drain();
    send(bytes(kInitialisation[0]));
    send(bytes(kInitialisation[1]));
    send(bytes(kInitialisation[2]));
    const auto reports = drain();
    ASSERT_EQ(reports.size(), 2U + 31U);
    EXPECT_EQ(counts().answersDropped, 0U);
    EXPECT_EQ(counts().errors, 0U) << model.errorText(0);
}

TEST_F(Slots, SettingsOutliveThePower) {
    initialise();
    send(transfer(0x30, 6, scriptFile(100)));
    send(loadSlotReport(6));
    send(outputProtocolReport(9));
    model.powerOff();
    EXPECT_TRUE(drain().empty());
    initialise();
    const auto heads = drainHeads();
    EXPECT_EQ(heads[1], bytes("02 02 00 00 09"));
    EXPECT_EQ(heads.back(), bytes("11 00 01 00 06"));
    EXPECT_EQ(held(6), scriptFile(100));
}

} // namespace
