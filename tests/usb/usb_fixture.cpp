#include "usb_fixture.h"

#include "device/titan_device_manager.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QTest>

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <utility>

namespace Vantor {

namespace {

constexpr int kPatienceMs = static_cast<int>(kPatience.count());

} // namespace

// ---- Gadget ----

Gadget::Gadget(const std::string& gadgetName, std::string controllerName, std::string nodePath)
    : node(std::move(nodePath)),
      directory("/sys/kernel/config/usb_gadget/" + gadgetName + "/"),
      controller(std::move(controllerName)) {}

bool Gadget::writeAttribute(const std::string& attribute, const std::string& value) const {
    // Each write() is one setting, and an empty one has to be a line feed: so no buffered stream.
    const int file = open((directory + attribute).c_str(), O_WRONLY | O_CLOEXEC);
    const std::string line = value + '\n';
    const bool written =
        file >= 0 && write(file, line.data(), line.size()) == static_cast<ssize_t>(line.size());
    if (file >= 0)
        close(file);
    return written;
}

bool Gadget::plug() {
    plugged = plugged || (renewFunction() && writeAttribute("UDC", controller));
    return plugged;
}

bool Gadget::renewFunction() const {
    const std::string function = directory + "functions/hid.0";
    const std::string link = directory + "configs/c.1/hid.0";
    return ::unlink(link.c_str()) == 0 && symlink(function.c_str(), link.c_str()) == 0;
}

void Gadget::unplug() {
    if (std::exchange(plugged, false)) {
        EXPECT_TRUE(writeAttribute("UDC", ""));
    }
}

bool Gadget::setText(const char* which, const std::string& text) {
    return writeAttribute(std::string("strings/0x409/") + which, text);
}

// ---- ServedAdapter ----

ServedAdapter::ServedAdapter(const Gadget& gadget, unsigned statesHz) : GadgetAdapter(gadget.node) {
    setStreamRates(statesHz, statesHz);
    thread = std::thread([this] { serve(); });
}

ServedAdapter::~ServedAdapter() {
    stop();
    thread.join();
    EXPECT_EQ(errorText(), "");
}

void ServedAdapter::expectNoErrors() const {
    inspect([](const simulator::AdapterModel& model) {
        for (std::size_t index = 0; !model.errorText(index).empty(); ++index)
            ADD_FAILURE() << "the adapter received what it does not understand: " << model.errorText(index);
    });
}

void ServedAdapter::expectCleanFrames() const {
    const simulator::FrameStatistics counts = frames();
    EXPECT_EQ(counts.corrupt, 0U);
    EXPECT_EQ(counts.repeated, 0U);
    EXPECT_EQ(counts.outOfOrder, 0U);
}

// ---- UsbHost ----

UsbHost::UsbHost() {
    process.setProcessChannelMode(QProcess::MergedChannels);
    // Also for a host that another user runs.
    QFile::setPermissions(directory.path(), QFile::Permissions(0x7777));
}

void UsbHost::start(const QStringList& arguments, unsigned userId) {
    process.setChildProcessModifier([userId] {
        if (userId != 0 && (setgid(userId) != 0 || setuid(userId) != 0))
            _exit(127);
    });
    QStringList all = words({"--adapter", "usb", "--headless", "--settings"});
    all << directory.filePath(QStringLiteral("settings.ini")) << QStringLiteral("--report")
        << directory.filePath(QStringLiteral("report.json")) << arguments;
    const QDir programs(QCoreApplication::applicationDirPath());
    process.start(programs.filePath(QStringLiteral("ferrylink-host")), all);
}

int UsbHost::waitForEnd() {
    const bool ended = process.state() == QProcess::NotRunning || process.waitForFinished(kPatienceMs);
    drain();
    if (!ended)
        return -2;
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

int UsbHost::interrupt() {
    process.terminate();
    return waitForEnd();
}

bool UsbHost::waitUntilSaid(const char* text) {
    QElapsedTimer waited;
    waited.start();
    for (drain(); !output.contains(text); drain()) {
        const qint64 left = kPatienceMs - waited.elapsed();
        if (left <= 0 || !process.waitForReadyRead(static_cast<int>(left)))
            break;
    }
    return output.contains(text);
}

QJsonValue UsbHost::reported(const char* path) const {
    QFile file(directory.filePath(QStringLiteral("report.json")));
    if (!file.open(QIODevice::ReadOnly))
        return QJsonValue::Undefined;
    QJsonValue value = QJsonDocument::fromJson(file.readAll()).object();
    for (const QString& key : QString::fromLatin1(path).split(u'/'))
        value = value[key];
    return value;
}

// ---- The rest ----

QList<TitanDevice> UsbScenario::waitForAdapters(int count) {
    QList<TitanDevice> found;
    const bool reached = QTest::qWaitFor(
        [&] {
            found = TitanDeviceManager::enumerateDevices();
            return found.size() == count;
        },
        kPatienceMs);
    EXPECT_TRUE(reached) << found.size() << " adapters are listed instead of " << count;
    return found;
}

QStringList words(std::initializer_list<const char*> texts) {
    QStringList list;
    for (const char* const text : texts)
        list += QString::fromUtf8(text);
    return list;
}

void recordFigure(const std::string& name, double value) {
    testing::Test::RecordProperty(name, std::to_string(value));
}

} // namespace Vantor
