// The gadget's front end as the program that people start.

#include "usb_fixture.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>

namespace Vantor {
namespace {

class Program : public UsbScenario {
protected:
    void start(const QStringList& arguments) {
        gadget.setProcessChannelMode(QProcess::MergedChannels);
        gadget.start(QCoreApplication::applicationDirPath() + QStringLiteral("/ferrylink-gadget"), arguments);
    }
    int waitForEnd() {
        return gadget.waitForFinished(static_cast<int>(kPatience.count())) ? gadget.exitCode() : -2;
    }

    QProcess gadget;
};

TEST_F(Program, ServesFromBeforeThePlugToTheInterrupt) {
    start({QString::fromStdString(first.node), QStringLiteral("--rate"), QStringLiteral("20")});
    ASSERT_TRUE(gadget.waitForStarted());
    ASSERT_TRUE(first.plug());
    waitForAdapters(1);
    for (int run = 0; run < 2; ++run) {
        UsbHost host;
        host.start(words({"--feed", "20", "--frames", "20"}));
        EXPECT_EQ(host.waitForEnd(), 0) << host.said().constData();
        first.unplug();
        waitForAdapters(0);
        ASSERT_TRUE(first.plug());
        waitForAdapters(1);
    }
    gadget.terminate();
    EXPECT_EQ(waitForEnd(), 0);
    const QByteArray said = gadget.readAll();
    const QJsonObject seen = QJsonDocument::fromJson(said).object();
    EXPECT_EQ(seen[QStringLiteral("initialisations")].toInt(), 2) << said.constData();
    EXPECT_EQ(seen[QStringLiteral("errors")].toInt(-1), 0) << said.constData();
    // Both runs' frames have the same numbers.
    const QJsonObject frames = seen[QStringLiteral("frames")].toObject();
    EXPECT_GT(frames[QStringLiteral("intact")].toInt() + frames[QStringLiteral("repeated")].toInt(), 20)
        << said.constData();
}

TEST_F(Program, SaysWhatItCannotServe) {
    start({QStringLiteral("/no/such/directory/hidg0")});
    EXPECT_EQ(waitForEnd(), 1);
    const QByteArray said = gadget.readAll();
    EXPECT_TRUE(
        said.contains("ferrylink-gadget: cannot watch /no/such/directory/: No such file or directory"))
        << said.constData();
}

} // namespace
} // namespace Vantor
