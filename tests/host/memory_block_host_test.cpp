#include "block_fixture.h"
#include "host/memory_block_host.h"

#include <gmock/gmock.h>

#include <array>

using namespace Qt::StringLiterals;

namespace Vantor {
namespace {

using testing::HasSubstr;

TEST(Instances, NamesAndSizesOfTheBlocksAreFixed) {
    QString text;
    for (const MemoryBlockInfo& block : standardBlocks("lab-2"))
        text += u"%1 %2 %3\n"_s.arg(block.name, block.segmentName).arg(block.dataBytes);
    EXPECT_EQ(text.toStdString(), "ControllerInput vantor.lab-2.ControllerInput 256\n"
                                  "ControllerOutput vantor.lab-2.ControllerOutput 256\n"
                                  "ControllerReport vantor.lab-2.ControllerReport 256\n"
                                  "CVData vantor.lab-2.CVData 256\n"
                                  "KeyboardRawInput vantor.lab-2.KeyboardRawInput 512\n"
                                  "MouseRawInput vantor.lab-2.MouseRawInput 256\n");
    EXPECT_EQ(standardBlocks({})[3].segmentName, "vantor.CVData");
}

TEST(Instances, NamesThatCannotBeSegmentsAreInvalid) {
    for (const char* name : {"", "lab-2", "A_b", "12345678901234567890123456789012"})
        EXPECT_TRUE(isValidInstance(QString::fromUtf8(name))) << name;
    for (const char* name : {"a.b", "a/b", "a b", "ä", "\n", "123456789012345678901234567890123"})
        EXPECT_FALSE(isValidInstance(QString::fromUtf8(name))) << name;
}

class MemoryBlockHostTest : public test::BlockTest {
protected:
    bool isThere(const MemoryBlockInfo& block) {
        return platform::SharedMemory().open(block.segmentName.toStdString(), 0) !=
               platform::SharedMemory::Status::missing;
    }

    std::string createError() {
        MemoryBlockHost second;
        EXPECT_FALSE(second.create(blocks));
        EXPECT_TRUE(second.blocks().isEmpty());
        return second.errorString().toStdString();
    }
};

TEST_F(MemoryBlockHostTest, BlocksLiveAsLongAsTheirHost) {
    startHost();
    EXPECT_EQ(host->blocks().size(), blocks.size());
    SharedMemoryAccessor accessor(cvData);
    ASSERT_TRUE(accessor.connect());
    EXPECT_TRUE(accessor.isHostRunning());
    host.reset();
    EXPECT_FALSE(accessor.isHostRunning());
    for (const MemoryBlockInfo& block : blocks)
        EXPECT_FALSE(SharedMemoryAccessor(block).connect()) << block.name.toStdString();
}

TEST_F(MemoryBlockHostTest, ARunningHostKeepsItsBlocks) {
    ASSERT_EQ(startPeer("host"), "ready");
    EXPECT_EQ(createError(),
              "Another Vantor host (process " + std::to_string(peer.processId()) +
                  ") holds the block \"ControllerInput\". Close it, or start this one with another "
                  "instance name.");
    SharedMemoryAccessor accessor(cvData);
    EXPECT_TRUE(accessor.connect()) << "the second host took it away";
    EXPECT_TRUE(accessor.isHostRunning());
}

TEST_F(MemoryBlockHostTest, AllBlocksAreMadeOrNone) {
    MemoryBlockHost last;
    ASSERT_TRUE(last.create({blocks.last()}));
    EXPECT_THAT(createError(), HasSubstr("holds the block \"MouseRawInput\""));
    EXPECT_FALSE(isThere(blocks.first()));
    EXPECT_TRUE(isThere(blocks.last()));

    MemoryBlockInfo impossible = blocks.first();
    for (const std::size_t bytes : {std::size_t{0}, std::size_t{1} << 40}) {
        impossible.dataBytes = bytes;
        MemoryBlockHost second;
        EXPECT_FALSE(second.create({cvData, impossible}));
        EXPECT_THAT(second.errorString().toStdString(), HasSubstr("\"ControllerInput\" cannot have"));
        EXPECT_FALSE(isThere(cvData));
    }
}

TEST_F(MemoryBlockHostTest, ABlockOfADeadHostIsTakenOverWithWhoeverIsAttached) {
    ASSERT_EQ(startPeer("host"), "ready");
    SharedMemoryAccessor writer(cvData);
    SharedMemoryAccessor reader(cvData);
    const std::array<std::byte, 3> record{};
    std::array<std::byte, 3> copy{};
    std::int64_t sequence = 0;
    ASSERT_TRUE(writer.connect() && reader.connect());
    ASSERT_TRUE(writer.writeData(record.data(), record.size()));
    killPeer();
    EXPECT_FALSE(reader.isHostRunning());

    startHost();
    EXPECT_TRUE(reader.isHostRunning());
    // What the dead host's time left behind is no news.
    EXPECT_FALSE(reader.readData(copy.data(), copy.size(), sequence));
    const platform::EventHandle event = reader.getEventHandle();
    EXPECT_EQ(platform::waitAny({&event, 1}, 0).kind, platform::WaitResult::Kind::timeout);

    ASSERT_TRUE(writer.writeData(record.data(), record.size()));
    ASSERT_TRUE(reader.readData(copy.data(), copy.size(), sequence));
    EXPECT_EQ(sequence, 2);
}

// An object without the finishing mark, and one whose size belongs to another version of the host.
TEST_F(MemoryBlockHostTest, WhatAHostLeftUnfinishedIsReplaced) {
    for (const std::size_t bytes : {std::size_t{1}, std::size_t{512}, std::size_t{4096}}) {
        platform::SharedMemory leftOver;
        ASSERT_EQ(leftOver.create(cvData.segmentName.toStdString(), bytes),
                  platform::SharedMemory::Status::ok);
        leftOver.close();
        startHost();
        SharedMemoryAccessor accessor(cvData);
        EXPECT_TRUE(accessor.connect()) << bytes << qPrintable(accessor.errorString());
        host.reset();
    }
}

TEST_F(MemoryBlockHostTest, ABlockOfADeadHostWithAnotherSizeIsReplaced) {
    ASSERT_EQ(startPeer("host"), "ready");
    killPeer();
    MemoryBlockInfo larger = cvData;
    larger.dataBytes = 10'001;
    MemoryBlockHost other;
    ASSERT_TRUE(other.create({larger})) << qPrintable(other.errorString());
    SharedMemoryAccessor accessor(larger);
    EXPECT_TRUE(accessor.connect()) << qPrintable(accessor.errorString());
}

} // namespace
} // namespace Vantor
