// Ending a host from outside while everything runs. Only systems with signals can ask a process without a
// window to end.

#include "host_fixture.h"

namespace Vantor {
namespace {

class HostSignals : public HostProcesses {};

TEST_F(HostSignals, EndsCleanlyWithEverythingRunning) {
    QProcess host;
    startHost(host, words({"--frames", "100000"}));
    ASSERT_TRUE(framesPublished(host, 500));
    host.terminate();
    EXPECT_EQ(waitForEnd(host), 1) << "a run that was cut short did not do what it was told";
    EXPECT_EQ(reported("failures").toArray().size(), 1);
    EXPECT_GE(number("frames/published"), 500) << "the producer was not asked for its report";
    EXPECT_EQ(number("frames/forwarded") + number("frames/overwritten"), number("frames/published"));
    for (const char* const name :
         {BlockName::kCVData, BlockName::kControllerInput, BlockName::kMouseRawInput})
        EXPECT_FALSE(blockExists(name)) << name;
}

TEST_F(HostSignals, EndsWhileItLooksForALostAdapter) {
    QProcess host;
    host.setReadChannel(QProcess::StandardError);
    startHost(host, words({"--duration", "60", "--unplug-after", "300"}));
    QByteArray said;
    while (!said.contains("Waiting for it") && host.waitForReadyRead(kRunPatienceMs))
        said += host.readAllStandardError();
    ASSERT_TRUE(said.contains("Waiting for it")) << said.constData();
    host.terminate();
    EXPECT_EQ(waitForEnd(host), 1);
    EXPECT_EQ(number("disconnections"), 1);
    EXPECT_EQ(number("reconnections"), 0);
}

} // namespace
} // namespace Vantor
