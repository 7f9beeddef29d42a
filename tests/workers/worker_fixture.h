// What tests of the worker threads share: simulated adapters, and the signals of a worker as its owner sees
// them.

#pragma once

#include "device/report.h"
#include "simulator/virtual_adapter.h"
#include "tests/workers/blocks.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QStringList>
#include <QThread>
#include <QTimer>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <vector>

namespace Vantor::test {

inline constexpr unsigned kPatienceMs = 20'000; ///< only ever used up by a fault

/// Texts in the order in which the owner's event loop delivered them.
class SignalLog : public QObject {
public:
    void add(const QString& text) {
        EXPECT_EQ(QThread::currentThread(), thread()) << qPrintable(text) << " came in a foreign thread";
        texts.append(text);
        if (isEnough && isEnough())
            loop.quit();
    }

    /// Lets events happen until `text` has arrived.
    void waitFor(const QString& text) {
        waitUntil([this, text] { return texts.contains(text); });
        EXPECT_TRUE(texts.contains(text)) << qPrintable(text) << " never came";
    }
    void waitUntil(const std::function<bool()>& condition) {
        if (condition())
            return;
        isEnough = condition;
        QTimer::singleShot(static_cast<int>(kPatienceMs), &loop, &QEventLoop::quit);
        loop.exec();
        isEnough = nullptr;
    }
    /// What a worker has said so far arrives, as it would before a person presses a button.
    static void deliver() { QCoreApplication::sendPostedEvents(); }
    /// Everything so far, posted events included; starts afresh.
    std::vector<std::string> take() {
        deliver();
        std::vector<std::string> taken;
        for (const QString& text : std::exchange(texts, {}))
            taken.push_back(text.toStdString());
        return taken;
    }

private:
    QStringList texts;
    std::function<bool()> isEnough;
    QEventLoop loop;
};

/// One simulated adapter, silent unless told otherwise. Nothing may be left open behind a test.
class Adapter {
public:
    static constexpr char kPath[] = "virtual/first";
    static constexpr char kSerial[] = "2508-0001";

    Adapter() {
        virtual_adapter_reset();
        number = virtual_adapter_add(kPath, kSerial, "ConsoleTuner");
        virtual_adapter_set_rates(number, 0, 0);
    }
    ~Adapter() {
        virtual_adapter_library_statistics library{};
        library.size = sizeof library;
        virtual_adapter_get_library_statistics(&library);
        EXPECT_EQ(library.open_handles, 0U);
        EXPECT_EQ(library.misuses, 0U);
    }
    Adapter(const Adapter&) = delete;
    Adapter& operator=(const Adapter&) = delete;

    /// The k-th next `operation` fails, and the `count` - 1 behind it.
    void fail(virtual_adapter_operation operation, unsigned kth = 1, unsigned count = 1) const {
        EXPECT_EQ(virtual_adapter_fail(number, operation, kth, count), 0);
    }
    void stall(virtual_adapter_operation operation, unsigned kth = 1) const {
        EXPECT_EQ(virtual_adapter_stall(number, operation, kth, VIRTUAL_ADAPTER_FOREVER), 0);
    }
    void release() const { virtual_adapter_release(number); }
    void await(virtual_adapter_counter counter, std::uint64_t atLeast) const {
        EXPECT_EQ(virtual_adapter_wait(number, counter, atLeast, kPatienceMs), 1)
            << "counter " << counter << " did not reach " << atLeast;
    }
    /// Until the reader has asked for a report `times` more times.
    void awaitReads(std::uint64_t times) const {
        await(VIRTUAL_ADAPTER_COUNT_READ_CALLS, statistics().read_calls + times);
    }
    /// Until a read has run into its time-out: all that the adapter had to say has then been read.
    void awaitTimeOut() const {
        const auto timeOuts = [](const virtual_adapter_statistics& values) {
            return values.read_calls - values.reads - values.read_failures;
        };
        // One that is still going on counts too, now and at the end.
        const std::uint64_t before = timeOuts(statistics());
        for (int call = 0; timeOuts(statistics()) < before + 2; ++call) {
            ASSERT_LT(call, 10'000) << "the reader is not kept waiting";
            awaitReads(1);
        }
    }
    void inject(const std::vector<std::uint8_t>& report) const {
        EXPECT_EQ(virtual_adapter_inject(number, report.data(), report.size()), 0);
    }
    virtual_adapter_statistics statistics() const {
        virtual_adapter_statistics values{};
        values.size = sizeof values;
        EXPECT_EQ(virtual_adapter_get_statistics(number, &values), 0);
        return values;
    }
    /// Output reports that arrived so far, from the given one on.
    std::vector<OutputReport> received(std::uint64_t from = 0) const {
        std::vector<OutputReport> reports;
        OutputReport report{};
        for (std::uint64_t i = from; i < virtual_adapter_captured_count(number); ++i) {
            EXPECT_EQ(virtual_adapter_captured(number, i, report.data(), report.size(), nullptr), 65);
            reports.push_back(report);
        }
        return reports;
    }

    int number = -1;
};

/// Whether the host's log has a warning of ours that contains `text`.
bool hasWarning(const QString& text);
void clearLog();

} // namespace Vantor::test
