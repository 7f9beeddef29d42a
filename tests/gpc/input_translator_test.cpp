// Each check of the format on both of its sides, in literal bytes.

#include "gpc/input_translator.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

namespace Vantor::gpc {
namespace {

using Bytes = std::vector<std::uint8_t>;
using testing::ElementsAre;

TEST(InputTranslator, KeepsTitleAndSectionsInFileOrder) {
    const Bytes file{0x10, 3, 'P', 'S', 0, 0x51, 1, 9, 0x22, 0, 0x40, 2, 0, 0x30, 0x30, 3, 1, 2, 255, 0};
    InputTranslator result;
    result.title = "old";
    result.sections.resize(7);
    std::string error = "old";
    ASSERT_TRUE(parseInputTranslator(file, result, error));
    EXPECT_EQ(error, "");
    EXPECT_EQ(result.title, "PS");
    ASSERT_EQ(result.sections.size(), 4u);
    EXPECT_EQ(result.sections[0].tag, 0x51);
    EXPECT_THAT(result.sections[0].data, ElementsAre(9));
    EXPECT_EQ(result.sections[1].tag, 0x22);
    EXPECT_THAT(result.sections[1].data, ElementsAre());
    EXPECT_THAT(result.sections[2].data, ElementsAre(0, 0x30));
    EXPECT_THAT(result.sections[3].data, ElementsAre(1, 2, 255));
}

TEST(InputTranslator, SmallestAndLargestPartsParse) {
    InputTranslator result;
    std::string error;
    EXPECT_TRUE(parseInputTranslator(Bytes{0x10, 1, 0, 0}, result, error));
    EXPECT_EQ(result.title, "");
    EXPECT_TRUE(result.sections.empty());

    Bytes file{0x10, 255};
    file.insert(file.end(), 254, 'x');
    file.insert(file.end(), {0, 0x21, 255});
    file.insert(file.end(), 255, 7);
    file.push_back(0);
    EXPECT_TRUE(parseInputTranslator(file, result, error));
    EXPECT_EQ(result.title, std::string(254, 'x'));
    EXPECT_EQ(result.sections[0].data, Bytes(255, 7));
}

TEST(InputTranslator, EveryFaultHasItsMessageAndLeavesTheResultAlone) {
    struct Faulty {
        Bytes file;
        std::string_view message;
    };
    const Faulty cases[] = {
        {{}, "invalid GPC2 Input Translator header"},
        {{0x10, 1, 0}, "invalid GPC2 Input Translator header"},
        {{0x11, 1, 0, 0}, "invalid GPC2 Input Translator header"},
        {{0x10, 0, 0, 0}, "invalid GPC2 Input Translator title"},
        {{0x10, 3, 'A', 0, 0}, "invalid GPC2 Input Translator title"},
        {{0x10, 2, 'A', 'A', 0}, "invalid GPC2 Input Translator title"},
        {{0x10, 255, 'A', 0, 0}, "invalid GPC2 Input Translator title"},
        {{0x10, 3, 'A', 0, 0, 0}, "GPC2 Input Translator title contains an embedded null byte"},
        {{0x10, 1, 0, 0x20, 0, 0}, "unknown GPC2 Input Translator section tag"},
        {{0x10, 1, 0, 0x21, 0, 0x22, 0, 0}, "duplicate GPC2 Input Translator section"},
        {{0x10, 1, 0, 0x30, 0, 0x30}, "duplicate GPC2 Input Translator section"},
        {{0x10, 1, 0, 0x30}, "GPC2 Input Translator section is missing its size"},
        {{0x10, 1, 0, 0x30, 2, 5}, "truncated GPC2 Input Translator section"},
        {{0x10, 1, 0, 0x30, 1, 5}, "GPC2 Input Translator is missing its end marker"},
        {{0x10, 1, 0, 0x30, 0}, "GPC2 Input Translator is missing its end marker"},
        {{0x10, 1, 0, 0, 0}, "unexpected bytes after GPC2 Input Translator end marker"},
    };
    for (const Faulty& c : cases) {
        InputTranslator result{"kept", {{0x30, {1}}}};
        std::string error;
        EXPECT_FALSE(parseInputTranslator(c.file, result, error)) << c.message;
        EXPECT_EQ(error, c.message);
        EXPECT_EQ(result.title, "kept");
        EXPECT_EQ(result.sections.size(), 1u);
    }
}

TEST(InputTranslator, EveryCutAndEveryFlippedByteIsSurvived) {
    const Bytes file{0x10, 3, 'P', 'S', 0, 0x51, 1, 9, 0x22, 0, 0x40, 2, 0, 0x30, 0x30, 3, 1, 2, 255, 0};
    InputTranslator result;
    std::string error;
    for (std::size_t length = 0; length < file.size(); ++length)
        EXPECT_FALSE(parseInputTranslator(std::span(file).first(length), result, error)) << length;
    for (std::size_t at = 0; at < file.size(); ++at) {
        for (int value = 0; value < 256; ++value) {
            Bytes changed = file;
            changed[at] = static_cast<std::uint8_t>(value);
            const bool parsed = parseInputTranslator(changed, result, error);
            EXPECT_EQ(parsed, error.empty()) << at << ' ' << value;
        }
    }
}

} // namespace
} // namespace Vantor::gpc
