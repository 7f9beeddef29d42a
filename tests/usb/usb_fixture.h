// What the scenarios of the usb lane are told with: gadgets that are plugged in and out, the adapter model
// that serves them, and programs started as a user does. Runs as root inside the lane's guest, nowhere else:
// it binds USB gadgets. Every wait ends at kPatience.

#pragma once

#include "device/titan_device.h"
#include "simulator/gadget_adapter.h"

#include <QJsonObject>
#include <QList>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>

namespace Vantor {

/// The guest runs in software, on a machine that may be busy.
inline constexpr std::chrono::milliseconds kPatience{60'000};

/// One of the guest's two gadgets and the controller that it is plugged into.
class Gadget {
public:
    Gadget(const std::string& gadgetName, std::string controllerName, std::string nodePath);
    ~Gadget() { unplug(); }
    Gadget(const Gadget&) = delete;
    Gadget& operator=(const Gadget&) = delete;

    bool plug();
    void unplug();
    /// Between unplugging and plugging; empty is a device that does not say.
    bool setText(const char* which, const std::string& text);

    const std::string node; ///< what the adapter's side opens

private:
    bool writeAttribute(const std::string& attribute, const std::string& value) const;
    /// Has the kernel make the HID function anew. Linux 6.1 initialises a function's character device again
    /// at each binding, also while whoever served it before has it open still, and falls over its own lists
    /// when they close it.
    bool renewFunction() const;

    std::string directory;
    std::string controller;
    bool plugged = false;
};

/// The adapter model on a gadget, serving on a thread of its own for as long as it lives.
class ServedAdapter : public simulator::GadgetAdapter {
public:
    /// As many states as a bus that carries 250 reports a second can take beside everything else.
    static constexpr unsigned kStatesHz = 20;

    explicit ServedAdapter(const Gadget& gadget, unsigned statesHz = kStatesHz);
    ~ServedAdapter();

    std::uint64_t count(std::uint64_t simulator::AdapterStatistics::*counter) const {
        return inspect(
            [counter](const simulator::AdapterModel& model) { return model.statistics().*counter; });
    }
    bool waitForCount(std::uint64_t simulator::AdapterStatistics::*counter, std::uint64_t atLeast) const {
        return waitFor(
            [=](const simulator::AdapterModel& model) { return model.statistics().*counter >= atLeast; },
            kPatience);
    }
    simulator::FrameStatistics frames() const {
        return inspect([](const simulator::AdapterModel& model) { return model.frames().statistics(); });
    }
    bool waitForFrames(std::uint64_t atLeast) const {
        return waitFor(
            [=](const simulator::AdapterModel& model) {
                return model.frames().statistics().intact >= atLeast;
            },
            kPatience);
    }
    /// Fails the scenario for every report that the adapter did not understand.
    void expectNoErrors() const;
    void expectCleanFrames() const;

private:
    std::thread thread;
};

/// ferrylink-host on real hidapi, without a window.
class UsbHost {
public:
    UsbHost();
    void start(const QStringList& arguments, unsigned userId = 0);
    /// Exit code, -1 for a crash, -2 for no end within kPatience.
    int waitForEnd();
    /// Asks it to end as Ctrl+C does.
    int interrupt();
    /// Waits until it has said `text`; false when it ends or time is up before.
    bool waitUntilSaid(const char* text);
    const QByteArray& said() { return output; }
    /// From the report of a run that has ended, under a path such as "frames/published".
    QJsonValue reported(const char* path) const;
    qint64 number(const char* path) const { return reported(path).toInteger(-1); }

private:
    void drain() { output += process.readAll(); }

    QProcess process;
    QByteArray output;
    QTemporaryDir directory;
};

class UsbScenario : public testing::Test {
protected:
    /// Waits until exactly so many adapters are listed; what was listed last.
    static QList<TitanDevice> waitForAdapters(int count);

    Gadget first{"first", "dummy_udc.0", "/dev/hidg0"};
    Gadget second{"second", "dummy_udc.1", "/dev/hidg1"};
};

inline constexpr char kFirstSerial[] = "12345678";
inline constexpr char kSecondSerial[] = "87654321";

QStringList words(std::initializer_list<const char*> texts);

/// Goes into the lane's results, beside the scenarios'.
void recordFigure(const std::string& name, double value);

} // namespace Vantor
