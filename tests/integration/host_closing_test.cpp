// Closing the window, whatever is going on: it takes less than a second and leaves nothing open.

#include "window_fixture.h"

#include <QElapsedTimer>

#include <functional>
#include <vector>

namespace Vantor {
namespace {

constexpr qint64 kCloseLimitMs = 1000;

class HostCloses : public HostWindowTest {
protected:
    void connectToAdapter() {
        pressRun();
        ASSERT_TRUE(becomes("connected"));
        ASSERT_TRUE(ready());
    }
    /// Has a transfer stand still in its tenth report for a while, and returns in its midst.
    void beginSlowTransfer() {
        const QString large = write("large.gbc", QByteArray::fromHex("100007") + QByteArray(8189, '\0'));
        virtual_adapter_stall(adapter, VIRTUAL_ADAPTER_WRITE, 10, 30);
        ASSERT_TRUE(session->loadSlotFile(3, large));
        ASSERT_EQ(session->transfer()[QStringLiteral("state")].toString(), QStringLiteral("sending"));
    }
    qint64 timeToClose() {
        QElapsedTimer watch;
        watch.start();
        closeHost();
        return watch.elapsed();
    }

    int adapter = -1;
};

TEST_F(HostCloses, WithinASecondInEveryState) {
    struct State {
        const char* name;
        std::function<void()> reach;
    };
    const std::vector<State> states{
        {"never started", [] {}},
        {"started without an adapter",
         [this] {
             virtual_adapter_unplug(adapter);
             pressRun();
         }},
        {"right behind the start", [this] { pressRun(); }},
        {"initialising",
         [this] {
             pressRun();
             EXPECT_EQ(virtual_adapter_wait(adapter, VIRTUAL_ADAPTER_COUNT_WRITES, 3, kPatienceMs), 1);
         }},
        {"streaming",
         [this] {
             connectToAdapter();
             feed();
             const std::uint64_t writes = counts(adapter).writes;
             EXPECT_TRUE(eventually([&] { return counts(adapter).writes > writes + 20; }));
         }},
        {"transferring",
         [this] {
             connectToAdapter();
             beginSlowTransfer();
         }},
        {"about to load the slot",
         [this] {
             connectToAdapter();
             EXPECT_TRUE(session->loadSlotFile(1, QStringLiteral(FERRYLINK_EXAMPLES_FOLDER "/toggle.gpc")));
             EXPECT_TRUE(eventually([this] {
                 return session->transfer()[QStringLiteral("state")].toString() == QLatin1String("loading");
             }));
         }},
        {"capturing",
         [this] {
             connectToAdapter();
             EXPECT_TRUE(session->startCapture({.keyboard = true, .mouse = true, .controller = true}));
             EXPECT_TRUE(eventually([this] { return status()[QStringLiteral("capturing")].toBool(); }));
         }},
        {"beginning to capture",
         [this] {
             connectToAdapter();
             EXPECT_TRUE(session->startCapture({.keyboard = true, .mouse = true, .controller = true}));
         }},
        {"a message box open",
         [this] {
             connectToAdapter();
             EXPECT_FALSE(session->loadSlotFile(1, QStringLiteral("/no/such.gpc")));
             EXPECT_TRUE(eventually([this] { return box() != nullptr; }));
         }},
        {"a menu open",
         [this] {
             connectToAdapter();
             QContextMenuEvent wish(QContextMenuEvent::Keyboard, {}, {});
             QCoreApplication::sendEvent(slot(1), &wish);
             EXPECT_NE(slot(1)->findChild<QMenu*>(), nullptr);
         }},
        {"a file dialog open",
         [this] {
             connectToAdapter();
             chooseFromMenu(1, "Load GPC Script...");
             EXPECT_TRUE(eventually([this] { return window->findChild<QFileDialog*>() != nullptr; }));
         }},
        {"reconnecting",
         [this] {
             connectToAdapter();
             virtual_adapter_unplug(adapter);
             EXPECT_TRUE(becomes("reconnecting"));
         }},
        {"in the pause of a restart",
         [this] {
             connectToAdapter();
             QTest::mouseClick(find<QAbstractButton>("restartButton"), Qt::LeftButton);
         }},
    };
    for (const State& state : states) {
        SCOPED_TRACE(state.name);
        virtual_adapter_reset();
        adapter = virtual_adapter_add("bus:1", "A", nullptr);
        openHost();
        state.reach();
        EXPECT_LT(timeToClose(), kCloseLimitMs);
    }
}

TEST_F(HostCloses, BehindAStalledWriteAsSoonAsThatIsOver) {
    constexpr unsigned kStallMs = 1500;
    adapter = virtual_adapter_add("bus:1", "A", nullptr);
    openHost();
    connectToAdapter();
    virtual_adapter_stall(adapter, VIRTUAL_ADAPTER_WRITE, 1, kStallMs);
    feed();
    ASSERT_TRUE(eventually([this] { return counts(adapter).stalled > 0; }));
    EXPECT_LT(timeToClose(), kStallMs + kCloseLimitMs);
}

} // namespace
} // namespace Vantor
