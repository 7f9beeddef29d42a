// Every diagnostic that the toolchain can give is given by a case, or its exemption says why none can.
// The texts are collected from the sources themselves: every string literal that reads like a sentence.

#include "case_files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string_view>

namespace Vantor::gpc {
namespace {

/// Files whose texts are no diagnostics of a compilation.
const std::set<std::string> kOtherTexts{"disassembler.cpp", "disassembler.h", "opcode_table.inc",
                                        "opcodes.h"};

struct Message {
    std::string text;
    bool isPrefix = false; ///< something is appended to it
    std::string file;
};

std::string contentOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

/// Goes through a C++ source and hands out its string literals, adjacent ones joined, with the code around
/// them.
class LiteralReader {
public:
    LiteralReader(std::string_view cppSource, std::string fileName)
        : source(cppSource), file(std::move(fileName)) {}

    std::vector<Message> read() {
        while (at < source.size()) {
            if (source.substr(at, 2) == "//")
                at = std::min(source.find('\n', at), source.size());
            else if (source.substr(at, 2) == "/*")
                at = std::min(source.find("*/", at), source.size() - 2) + 2;
            else if (source[at] == '\'' && !isDigitSeparator())
                skipLiteral('\'');
            else if (source[at] == '"')
                takeString();
            else if (source.substr(at, kAssertion.size()) == kAssertion)
                at = std::min(source.find(';', at), source.size());
            else if (std::isspace(static_cast<unsigned char>(source[at])))
                ++at;
            else
                before = source[at++];
        }
        return messages;
    }

private:
    static constexpr std::string_view kAssertion = "static_assert";

    bool isDigitSeparator() const {
        return at > 0 && std::isalnum(static_cast<unsigned char>(source[at - 1]));
    }

    std::string skipLiteral(char quote) {
        std::string text;
        for (++at; at < source.size() && source[at] != quote; ++at) {
            if (source[at] == '\\')
                ++at;
            text += source[at];
        }
        ++at;
        return text;
    }

    void takeString() {
        std::string text;
        const char left = before;
        do {
            text += skipLiteral('"');
            while (at < source.size() && std::isspace(static_cast<unsigned char>(source[at])))
                ++at;
        } while (at < source.size() && source[at] == '"');
        before = '"';
        // What continues a message is not one of its own: " expects ", "', found".
        const bool isFragment = left == '+' || text.empty() || text.front() == ' ' || text.front() == ',';
        const auto isLetter = [](unsigned char byte) { return std::isalpha(byte) != 0; };
        const bool readsLikeOne = text.find(' ') != std::string::npos && text.size() >= 12 &&
                                  std::count_if(text.begin(), text.end(), isLetter) >= 8;
        if (isFragment || !readsLikeOne)
            return;
        const bool openQuote = std::count(text.begin(), text.end(), '\'') % 2 == 1;
        const bool appended = at < source.size() && source[at] == '+';
        messages.push_back({text, appended || openQuote || text.back() == ' ', file});
    }

    std::string_view source;
    std::string file;
    std::size_t at = 0;
    char before = 0; ///< the last byte of code before the current one
    std::vector<Message> messages;
};

std::vector<Message> messagesOfTheSources() {
    std::vector<Message> all;
    std::set<std::string> seen;
    for (const auto& entry : std::filesystem::directory_iterator(FERRYLINK_GPC_DIR)) {
        const std::string name = entry.path().filename().string();
        if (entry.path().extension() == ".txt" || kOtherTexts.count(name) > 0)
            continue;
        const std::string content = contentOf(entry.path());
        for (Message& message : LiteralReader(content, name).read()) {
            if (seen.insert(message.text).second)
                all.push_back(std::move(message));
        }
    }
    return all;
}

/// What the cases expect, and each of them once more without a prefix that stands before another message.
std::set<std::string> expectedMessages(const std::vector<Message>& messages) {
    std::set<std::string> expected;
    for (const Case& c : readCases()) {
        for (const ExpectedDiagnostic& d : c.diagnostics)
            expected.insert(d.message);
    }
    const std::set<std::string> whole = expected;
    for (const Message& message : messages) {
        for (const std::string& text : whole) {
            if (message.isPrefix && text.rfind(message.text, 0) == 0)
                expected.insert(text.substr(message.text.size()));
        }
    }
    return expected;
}

bool isExpected(const Message& message, const std::set<std::string>& expected) {
    if (!message.isPrefix)
        return expected.count(message.text) > 0;
    const auto next = expected.lower_bound(message.text);
    return next != expected.end() && next->rfind(message.text, 0) == 0;
}

std::map<std::string, std::string> exemptions() {
    std::map<std::string, std::string> all;
    for (const std::string& line :
         splitLines(contentOf(std::string(FERRYLINK_CASES_DIR) + "/exemptions.txt"))) {
        const std::size_t tab = line.find('\t');
        all[line.substr(0, tab)] = tab == std::string::npos ? "" : line.substr(tab + 1);
    }
    return all;
}

TEST(Messages, EachHasACaseOrAnExemptionWithAReason) {
    const std::vector<Message> messages = messagesOfTheSources();
    ASSERT_GT(messages.size(), 40u) << "the sources were not found";
    const std::set<std::string> expected = expectedMessages(messages);
    const std::map<std::string, std::string> exempt = exemptions();
    for (const Message& message : messages) {
        const bool covered = isExpected(message, expected);
        const bool exempted = exempt.count(message.text) > 0;
        EXPECT_TRUE(covered || exempted) << message.file << ": no case expects \"" << message.text << '"';
        EXPECT_FALSE(covered && exempted) << "a case exists, the exemption can go: " << message.text;
    }
}

TEST(Messages, ExemptionsNameRealTextsAndGiveReasons) {
    std::set<std::string> texts;
    for (const Message& message : messagesOfTheSources())
        texts.insert(message.text);
    for (const auto& [text, reason] : exemptions()) {
        EXPECT_TRUE(texts.count(text) > 0) << "no source has this text any more: " << text;
        EXPECT_GE(reason.size(), 10u) << "no reason is given for: " << text;
    }
}

TEST(Messages, TheCollectorSeesWhatItShould) {
    const std::string source = R"--(
        fail("first message here"); // fail("not in a comment")
        fail("a message in "
             "two pieces");
        fail("takes a name: " + name + ", and more of it");
        const char quote = '"'; fail("behind a quote character");
        x = cond ? "one of two texts" : "the other of the two";
        fail("found '" "something odd '"  , x); int n = 1'000; fail("behind a separator");
        "short"; "onelongwordonly"; static_assert(a == b, "for ourselves only");
    )--";
    std::vector<std::string> texts;
    for (const Message& message : LiteralReader(source, "x.cpp").read())
        texts.push_back((message.isPrefix ? "*" : "") + message.text);
    EXPECT_EQ(texts, (std::vector<std::string>{"first message here", "a message in two pieces",
                                               "*takes a name: ", "behind a quote character",
                                               "one of two texts", "the other of the two",
                                               "found 'something odd '", "behind a separator"}));
}

} // namespace
} // namespace Vantor::gpc
