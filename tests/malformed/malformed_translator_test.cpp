// An Input Translator of the largest size that a slot takes, damaged bit by bit and cut at every byte,
// through the parser and the transfer, and given to those who expect bytecode.

#include "device/transfers.h"
#include "fuzz/bytecode_check.h"
#include "gpc/input_translator.h"
#include "tests/malformed/damage.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace Vantor {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::string_view kTitle = "Keyboard, mouse and two sticks";
constexpr std::size_t kTitleBegin = 2;
constexpr std::size_t kSectionsBegin = kTitleBegin + kTitle.size() + 1;

/// Three small sections, and a fourth that makes the file as long as it may be.
std::vector<std::uint8_t> largestTranslator() {
    std::string file{'\x10', static_cast<char>(kTitle.size() + 1)};
    file += kTitle;
    file += std::string_view("\0\x21\x02\x07\x08\x30\0\x40\x01\x09\x51", 11);
    const std::size_t rest = kMaxInputTranslatorBytes - file.size() - 2;
    file += static_cast<char>(rest);
    for (std::size_t i = 0; i < rest; ++i)
        file += static_cast<char>(i);
    file += '\0';
    return {file.begin(), file.end()};
}

/// True when the parser takes the file.
bool judge(Bytes file, gpc::InputTranslator& translator) {
    std::string error;
    const bool isTaken = gpc::parseInputTranslator(file, translator, error);
    EXPECT_EQ(isTaken, error.empty());
    const TransferPlan plan = inputTranslatorTransfer(8, file);
    EXPECT_EQ(plan.error, "") << "the adapter judges the content";
    EXPECT_FALSE(plan.packets.empty());
    EXPECT_STREQ(fuzz::listingComplaint(gpc::disassemble(file), file), nullptr);
    simulator::ScriptMachine machine({.stepLimit = 1000});
    EXPECT_STREQ(fuzz::runComplaint(machine, file, 1), nullptr);
    return isTaken;
}

TEST(MalformedTranslator, TheSoundFileIsTaken) {
    const auto sound = largestTranslator();
    ASSERT_EQ(sound.size(), kMaxInputTranslatorBytes);
    gpc::InputTranslator translator;
    EXPECT_TRUE(judge(sound, translator));
    EXPECT_EQ(translator.title, kTitle);
    EXPECT_EQ(translator.sections.size(), 4U);
}

TEST(MalformedTranslator, EveryFlippedBitHasAnAnswer) {
    const auto sound = largestTranslator();
    const std::size_t dataBegin = kSectionsBegin + 11; // of the last section
    test::forEachFlip(sound, 1, [&](Bytes file, std::size_t position, std::size_t) {
        SCOPED_TRACE(position);
        gpc::InputTranslator translator;
        const bool isTaken = judge(file, translator);
        if (position == 0 || position + 1 == file.size()) {
            EXPECT_FALSE(isTaken) << "first and last byte have one value only";
        } else if (position >= kTitleBegin && position < kTitleBegin + kTitle.size()) {
            EXPECT_EQ(isTaken, file[position] != 0) << "a title may hold everything but a zero";
        } else if (position >= dataBegin && position + 1 < file.size()) {
            EXPECT_TRUE(isTaken && translator.sections[3].data[position - dataBegin] == file[position])
                << "a section may hold everything";
        }
    });
}

TEST(MalformedTranslator, NoTruncationIsATranslator) {
    test::forEachTruncation(largestTranslator(), 1, [](Bytes file) {
        SCOPED_TRACE(file.size());
        gpc::InputTranslator translator;
        EXPECT_FALSE(judge(file, translator));
    });
}

} // namespace
} // namespace Vantor
