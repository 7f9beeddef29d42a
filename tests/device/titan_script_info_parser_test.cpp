#include "device/titan_script_info_parser.h"
#include "tests/support/bytes.h"

#include <QMetaMethod>
#include <QStringList>
#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace Vantor {
void PrintTo(const TitanScriptInfo& info, std::ostream* out) {
    *out << info.slot << ": " << info.name.toStdString() << " | " << info.version.toStdString() << " | "
         << info.author.toStdString() << " | " << info.inputTranslator.toStdString();
}
} // namespace Vantor

namespace {

using namespace Vantor;
using test::bytes;
using Bytes = std::vector<std::uint8_t>;
constexpr std::int64_t kQuietNs = 51'000'000;

class Parser : public testing::Test {
protected:
    Parser() {
        QObject::connect(&parser, &TitanScriptInfoParser::loadedSlotChanged,
                         [this](int slot) { log << QStringLiteral("slot %1").arg(slot); });
        QObject::connect(&parser, &TitanScriptInfoParser::usbPortInfoUpdated,
                         [this](const TitanUsbPortInfo& info) {
                             log << QStringList{info.inputA, info.inputB, info.output, info.prog}.join(", ");
                         });
        QObject::connect(&parser, &TitanScriptInfoParser::outputProtocolReceived,
                         [this](int value) { log << QStringLiteral("protocol %1").arg(value); });
        QObject::connect(&parser, &TitanScriptInfoParser::firmwareVersionReceived,
                         [this](const QString& version) { log << "firmware " + version; });
        QObject::connect(&parser, &TitanScriptInfoParser::scriptInfoUpdated,
                         [this](const QList<TitanScriptInfo>& found) {
                             scripts = found;
                             log << QStringLiteral("scripts %1").arg(found.size());
                         });
    }

    void parse(const std::string& wire, std::size_t length = 64) {
        const Bytes report = bytes(wire, length);
        parser.parse(report.data(), static_cast<int>(length), now);
    }

    /// Sends a slot stream, cut into parts that go out in `order`, and what closes the listing.
    QList<TitanScriptInfo> list(Bytes stream, std::vector<std::size_t> order = {}) {
        stream.resize((stream.size() + 59) / 60 * 60);
        if (order.empty())
            for (std::size_t part = 0; part < stream.size() / 60; ++part)
                order.push_back(part);
        for (const std::size_t part : order) {
            Bytes report = bytes("03 00 00 00", 64);
            report[3] = static_cast<std::uint8_t>(part);
            std::copy_n(stream.begin() + static_cast<std::ptrdiff_t>(60 * part), 60, report.begin() + 4);
            parser.parse(report.data(), 64, now);
        }
        now += kQuietNs;
        scripts = {};
        parse("13 00 AC 00");
        return scripts;
    }

    TitanScriptInfoParser parser;
    QStringList log;
    QList<TitanScriptInfo> scripts;
    std::int64_t now = 1;
};

TEST_F(Parser, RecognisesStatusReports) {
    const struct {
        const char* wire;
        std::size_t length;
        const char* says; ///< null: nothing
    } cases[] = {
        {"11 00 00 00 09", 5, "slot 9"},
        {"11 00 77 77 00", 64, "slot 0"},
        {"11 00 00 00 0A", 64, nullptr},
        {"11 00 00 00", 4, nullptr},
        {"11 01 00 00 01", 64, nullptr},
        {"12 00 18 00 00 0D FF FF 03 FF FF 05", 13, "Playstation 4, Xbox One, Playstation 5, Vantor"},
        {"12 00 18 00 00 00 00 00 02 00 00 04", 64, "Playstation 3, Xbox 360, Disconnected, Vantor"},
        {"12 00 18 00 00 06 00 00 09 00 00 0A", 64,
         "Nintendo Switch, Multi Interface HID, Xbox Series X/S, Vantor"},
        {"12 00 18 00 00 07 00 00 08 00 00 0B", 64, "Unknown, Unknown, Unknown, Vantor"},
        {"12 00 18 00 00 0C 00 00 01 00 00 FF", 64, "Unknown, Unknown, Unknown, Vantor"},
        {"12 00 18 00 00 00 00 00 00 00 00 00", 12, nullptr},
        {"02 02 00 00 FE", 5, "protocol 254"},
        {"02 02 00 01 FE", 64, nullptr},
        {"02 02 00 00", 4, nullptr},
        {"01 00 22 00 01 02 03 04", 8, "firmware 1.2.3.4"},
        {"01 00 22 00 FF 00 0A 63", 65, "firmware 255.0.10.99"},
        {"01 00 22 00 01 02 03", 7, nullptr},
        {"01 00 23 00 01 02 03 04", 64, nullptr},
    };
    for (const auto& each : cases) {
        log.clear();
        parse(each.wire, each.length);
        EXPECT_EQ(log, each.says == nullptr ? QStringList{} : QStringList{each.says}) << each.wire;
    }
}

TEST_F(Parser, PublishesAListingOnceItHasBeenQuiet) {
    const auto part = [this] { parse("03 00 00 00 01 01 00 00*4 'A' 00 01 05 00"); };
    parse("13 00 AC 00");
    part();
    now += kQuietNs - 1;
    parse("13 00 AC 00");
    EXPECT_EQ(log, QStringList{});
    part(); // the time counts from the latest part
    now += kQuietNs - 1;
    parse("99");
    now += 1;
    parse("11 00 00 00 03"); // a status report says its own and does not close the listing
    EXPECT_EQ(log, QStringList{"slot 3"});
    parse("99", 1);
    EXPECT_EQ(log, (QStringList{"slot 3", "scripts 1"}));
    now += kQuietNs;
    parse("99");
    EXPECT_EQ(log.size(), 2) << "once";
    parse("03 00", 63); // too short for a part
    now += kQuietNs;
    parse("99");
    EXPECT_EQ(log.size(), 2);
    part();
    log.clear();
    now += kQuietNs;
    parse("99");
    EXPECT_EQ(log, QStringList{"scripts 1"}) << "nothing is left of the listing before";
}

TEST_F(Parser, AnEmptyListingIsPublishedToo) {
    EXPECT_TRUE(list(bytes("01 00 00 02 00 00 03 00 00")).isEmpty());
    EXPECT_EQ(log, QStringList{"scripts 0"});
}

TEST_F(Parser, ReadsSlotRecords) {
    const struct {
        const char* name;
        const char* stream;
        QList<TitanScriptInfo> expected;
    } cases[] = {
        {"script with translator",
         "01 01 06 00*4 'Test' 00 01 05 'Me' 00 'x.git' 00",
         {{1, "Test", "1.05", "Me", "[RK] x"}}},
        {"lone translator without a name", "01 00 08 00", {{1, "", "", "", "[M]"}}},
        {"lone translator with a name", "01 00 12 'pad.git' 00", {{1, "", "", "", "[RC] pad"}}},
        {"flags without a letter", "01 00 01 'pad' 00", {{1, "", "", "", "pad"}}},
        {"nothing in a kind-0 record", "01 00 01 00", {{1, "Occupied slot", "", "", ""}}},
        {"a tag that is there is kept", "01 00 1E '[AB]' 20 'thing' 00", {{1, "", "", "", "[AB] thing"}}},
        {"a tag may stand alone", "01 00 02 '[AB]' 00", {{1, "", "", "", "[AB]"}}},
        {"any white space behind it", "01 00 02 '[AB]' 09 0A 'x' 00", {{1, "", "", "", "[AB]\t\nx"}}},
        {"no white space behind it", "01 00 02 '[AB]x' 00", {{1, "", "", "", "[R] [AB]x"}}},
        {"a name of two lines", "01 00 02 '[AB]' 20 'x' 0A 'y' 00", {{1, "", "", "", "[R] [AB] x\ny"}}},
        {"nothing in the brackets", "01 00 02 '[]' 00", {{1, "", "", "", "[R] []"}}},
        {"an open bracket", "01 00 02 '[AB' 00", {{1, "", "", "", "[R] [AB"}}},
        {"lower case is no tag", "01 00 02 '[ab]' 00", {{1, "", "", "", "[R] [ab]"}}},
        {"only .git", "01 00 04 '.git' 00", {{1, "", "", "", "[K]"}}},
        {"upper case .GIT stays", "01 00 04 'a.GIT' 00", {{1, "", "", "", "[K] a.GIT"}}},
        {"percent sign before a tagged name",
         "01 01 02 00*4 25 20 '[RK]' 20 'desk.git' 00",
         {{1, "", "", "", "[RK] desk"}}},
        {"percent sign before a name", "01 01 00 00*4 '%Name' 00 0A 63 00", {{1, "Name", "10.99", "", ""}}},
        {"no name", "01 01 00 00*4 00 01 05 'Me' 00", {{1, "Occupied slot", "", "", ""}}},
        {"no author, but a translator",
         "01 01 02 00*4 'N' 00 0A 0B 00 '[K]' 20 'y' 00",
         {{1, "N", "10.11", "", "[K] y"}}},
        {"big version", "01 01 00 00*4 'N' 00 FF 80 'Me' 00", {{1, "N", "255.128", "Me", ""}}},
        {"Latin-1 and spaces",
         "01 01 00 00*4 20 'N' E4 20 00 0A 0A 09 'Me' 20 00",
         {{1, "N\u00e4", "10.10", "Me", ""}}},
        {"short data before the next header",
         "01 01 00 00*2 02 01 00 00*4 'B' 00 0A 0A 00",
         {{1, "Occupied slot", "", "", ""}, {2, "B", "10.10", "", ""}}},
        {"name up to the next header",
         "01 01 00 00*4 'A' 02 00 08 00",
         {{1, "A", "", "", ""}, {2, "", "", "", "[M]"}}},
        {"garbage before the first header", "EE*5 01 00 02 00", {{1, "", "", "", "[R]"}}},
        {"no first slot", "02 01 00 00*4 'B' 00 0A 0A 00", {}},
        {"a slot left out ends it", "01 00 02 00 03 00 02 00", {{1, "", "", "", "[R]"}}},
        {"all but the last are empty",
         "01 00 00 02 00 00 03 00 00 04 00 00 05 00 00 06 00 00 07 00 00 08 00 00 09 01 00 00*4 'Z' 00 0A 0A "
         "'Me' 00",
         {{9, "Z", "10.10", "Me", ""}}},
    };
    for (const auto& each : cases)
        EXPECT_EQ(list(bytes(each.stream)), each.expected) << each.name;
}

TEST_F(Parser, PutsPartsInOrder) {
    Bytes stream = bytes("01 01 00 00*4");
    stream.insert(stream.end(), 130, 'n');
    const Bytes rest = bytes("00 0A 0B 'Me' 00");
    stream.insert(stream.end(), rest.begin(), rest.end());
    const QList<TitanScriptInfo> expected{{1, QString(130, 'n'), "10.11", "Me", ""}};
    EXPECT_EQ(list(stream, {2, 0, 1}), expected);
}

TEST_F(Parser, AListingThatEndsWithItsLastByteIsRead) {
    Bytes stream = bytes("01 01 00 00*4");
    stream.insert(stream.end(), 53, 'n');
    EXPECT_EQ(list(stream), (QList<TitanScriptInfo>{{1, QString(53, 'n'), "", "", ""}}))
        << "no zero byte behind the name";
    stream[59] = 0;
    EXPECT_EQ(list(stream), (QList<TitanScriptInfo>{{1, QString(52, 'n'), "", "", ""}}))
        << "no version behind the name";
}

TEST_F(Parser, SurvivesHostileLengthsAndFloods) {
    const Bytes report = bytes("03 00", 65);
    for (const int length : {0, -1, std::numeric_limits<int>::min()})
        parser.parse(report.data(), length, now);
    parser.parse(nullptr, 64, now);
    parser.parse(report.data(), std::numeric_limits<int>::max(), now);
    for (int count = 0; count < 100'000; ++count)
        parser.parse(report.data(), 65, now);
    now += kQuietNs;
    parse("99");
    EXPECT_EQ(log, QStringList{"scripts 0"});

    // Streams full of what looks like headers.
    for (unsigned seed = 0; seed < 3000; ++seed) {
        Bytes stream(240);
        for (std::size_t index = 0; index < stream.size(); ++index)
            stream[index] = static_cast<std::uint8_t>((seed * 2654435761U >> (index % 24)) % 11);
        int last = 0;
        for (const TitanScriptInfo& info : list(stream)) {
            EXPECT_GT(info.slot, last);
            EXPECT_LE(info.slot, 9);
            last = info.slot;
        }
    }
}

TEST(ParserInterface, ItsSignalsStandInTheOrderThatOthersRelyOn) {
    const QMetaObject& meta = TitanScriptInfoParser::staticMetaObject;
    QStringList names;
    for (int index = meta.methodOffset(); index < meta.methodCount(); ++index)
        names << meta.method(index).name();
    EXPECT_EQ(names, (QStringList{"scriptInfoUpdated", "loadedSlotChanged", "usbPortInfoUpdated",
                                  "outputProtocolReceived", "firmwareVersionReceived"}));
    const TitanScriptInfoParser parser;
    EXPECT_TRUE(QMetaType::fromName("QList<TitanScriptInfo>").isValid());
}

} // namespace
