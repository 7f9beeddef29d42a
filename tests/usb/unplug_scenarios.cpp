// The cable is pulled while reports are on their way, and put back.

#include "usb_fixture.h"

#include <fcntl.h>
#include <unistd.h>

namespace Vantor {
namespace {

using simulator::AdapterStatistics;

constexpr int kReconnections = 100;

class Unplug : public UsbScenario {
protected:
    void startAndConnect(const QStringList& arguments) {
        ASSERT_TRUE(first.plug());
        waitForAdapters(1);
        host.start(arguments);
        ASSERT_TRUE(adapter.waitForCount(&AdapterStatistics::initialisations, 1)) << host.said().constData();
    }
    /// Out and in again, and waits for the adapter to be in use as before.
    void replug(std::uint64_t initialisations) {
        first.unplug();
        ASSERT_TRUE(adapter.waitForAttachment(false, kPatience));
        ASSERT_TRUE(first.plug());
        ASSERT_TRUE(adapter.waitForCount(&AdapterStatistics::initialisations, initialisations));
    }

    ServedAdapter adapter{first};
    UsbHost host;
};

TEST_F(Unplug, WhileReading) {
    startAndConnect(words({"--duration", "3600"}));
    ASSERT_TRUE(adapter.waitForCount(&AdapterStatistics::inputStates, 10));
    first.unplug();
    EXPECT_TRUE(host.waitUntilSaid("The device was disconnected. Waiting for it to come back."))
        << host.said().constData();
    ASSERT_TRUE(first.plug());
    ASSERT_TRUE(adapter.waitForCount(&AdapterStatistics::initialisations, 2));
    EXPECT_TRUE(adapter.waitForCount(&AdapterStatistics::inputStates,
                                     adapter.count(&AdapterStatistics::inputStates) + 10));
    EXPECT_EQ(host.interrupt(), 1) << "a run that was cut short did not do what it was told";
    EXPECT_EQ(host.number("disconnections"), 1);
    EXPECT_EQ(host.number("reconnections"), 1);
    adapter.expectNoErrors();
}

TEST_F(Unplug, WhileWriting) {
    startAndConnect(words({"--feed", "0", "--duration", "3600"})); // a write is under way at any time
    ASSERT_TRUE(adapter.waitForFrames(20));
    first.unplug();
    EXPECT_TRUE(host.waitUntilSaid("The device was disconnected. Waiting for it to come back."))
        << host.said().constData();
    ASSERT_TRUE(first.plug());
    ASSERT_TRUE(adapter.waitForCount(&AdapterStatistics::initialisations, 2));
    EXPECT_TRUE(adapter.waitForFrames(adapter.frames().intact + 20));
    host.interrupt();
    EXPECT_EQ(host.number("disconnections"), 1);
    EXPECT_EQ(host.number("reconnections"), 1);
    adapter.expectCleanFrames();
    adapter.expectNoErrors();
}

TEST_F(Unplug, WhoeverServedItLetsGoWhenItIsBack) {
    startAndConnect(words({"--duration", "3600"}));
    const int late = open(first.node.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(late, 0);
    replug(2);
    close(late);
    EXPECT_TRUE(adapter.waitForCount(&AdapterStatistics::inputStates,
                                     adapter.count(&AdapterStatistics::inputStates) + 10));
    host.interrupt();
    EXPECT_EQ(host.number("reconnections"), 1);
    adapter.expectNoErrors();
}

TEST_F(Unplug, AHundredTimesUnderLoad) {
    startAndConnect(words({"--feed", "50", "--duration", "3600"}));
    for (int round = 1; round <= kReconnections; ++round) {
        ASSERT_TRUE(adapter.waitForFrames(adapter.frames().intact + 2)) << "round " << round;
        ASSERT_NO_FATAL_FAILURE(replug(static_cast<std::uint64_t>(round) + 1)) << "round " << round;
    }
    EXPECT_TRUE(adapter.waitForFrames(adapter.frames().intact + 2));
    host.interrupt();
    EXPECT_EQ(host.number("disconnections"), kReconnections);
    EXPECT_EQ(host.number("reconnections"), kReconnections);
    adapter.expectCleanFrames();
    adapter.expectNoErrors();
}

} // namespace
} // namespace Vantor
