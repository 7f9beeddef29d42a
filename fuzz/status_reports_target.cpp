// A sequence of input reports through the parser of status reports: {milliseconds since the last one, length,
// bytes}. A length of 0 is a null report.

#include "device/titan_script_info_parser.h"
#include "fuzz/target.h"

namespace Vantor::fuzz {

namespace {

constexpr std::int64_t kMillisecondNs = 1'000'000;
constexpr int kMaxSlot = 9;

void checkListing(const QList<TitanScriptInfo>& scripts) {
    int last = 0;
    for (const TitanScriptInfo& script : scripts) {
        check(script.slot > last && script.slot <= kMaxSlot, "slots come in rising order, 1 to 9");
        last = script.slot;
        check(!script.name.isEmpty() || !script.inputTranslator.isEmpty(),
              "an occupied slot shows something");
        constexpr qsizetype kAllParts = TitanScriptInfoParser::kMaxListingParts * 60;
        check(script.name.size() <= kAllParts && script.author.size() <= kAllParts, "texts are bounded");
    }
}

void connectChecks(TitanScriptInfoParser& parser) {
    using Parser = TitanScriptInfoParser;
    QObject::connect(&parser, &Parser::scriptInfoUpdated, &parser, &checkListing);
    QObject::connect(&parser, &Parser::loadedSlotChanged, &parser,
                     [](int slot) { check(slot >= 0 && slot <= kMaxSlot, "a loaded slot is 0 to 9"); });
    QObject::connect(&parser, &Parser::outputProtocolReceived, &parser,
                     [](int value) { check(value >= 0 && value <= 255, "a protocol is one byte"); });
    QObject::connect(&parser, &Parser::usbPortInfoUpdated, &parser, [](const TitanUsbPortInfo& info) {
        check(!info.inputA.isEmpty() && !info.inputB.isEmpty() && !info.output.isEmpty(),
              "every port has a name");
    });
    QObject::connect(&parser, &Parser::firmwareVersionReceived, &parser, [](const QString& version) {
        check(version.count(QLatin1Char('.')) == 3, "a version has four numbers");
    });
}

} // namespace

void takeInput(Bytes input) {
    // One parser for all inputs saves most of the time; the report at the end takes its state back to the
    // beginning.
    static TitanScriptInfoParser& parser = [&]() -> TitanScriptInfoParser& {
        static TitanScriptInfoParser made;
        connectChecks(made);
        return made;
    }();
    InputReader reader(input);
    std::int64_t nowNs = 0;
    while (!reader.atEnd()) {
        nowNs += reader.number<std::uint8_t>() * kMillisecondNs;
        const auto report = reader.takePiece();
        parser.parse(report.empty() ? nullptr : report.data(), static_cast<int>(report.size()), nowNs);
    }
    constexpr std::uint8_t kNothing[] = {0xFF};
    parser.parse(kNothing, 1, nowNs + TitanScriptInfoParser::kListingQuietNs);
}

} // namespace Vantor::fuzz
