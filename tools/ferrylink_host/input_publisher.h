// The host's input: publishes the keyboard's, the mouse's and the controller's record, from the user's own
// keys and mouse in a window, from a scripted pattern, or, for the controller, from what the adapter reports.
// Entry points: open(), then watch(), publishPattern() or followControllerInput(). GUI thread only.

#pragma once

#include "host/memory_block_info.h"
#include "host/shared_memory_accessor.h"
#include "tools/cvfeed_schedule.h"
#include "virtual_keys.h"

#include <QEvent>
#include <QHash>
#include <QKeyEvent>
#include <QList>
#include <QMouseEvent>
#include <QObject>
#include <QPointF>
#include <QPointer>
#include <QString>
#include <QTimer>
#include <QWheelEvent>
#include <QWindow>

#include <cstdint>
#include <memory>
#include <optional>

namespace Vantor::devhost {

class ControllerFollower;

class InputPublisher : public QObject {
    Q_OBJECT

public:
    static constexpr double kMaxPatternHz = 1000;

    explicit InputPublisher(QObject* parent = nullptr);
    ~InputPublisher() override; ///< releases what is held

    /// Attaches to the blocks "KeyboardRawInput", "MouseRawInput" and "ControllerOutput" as their writer.
    /// False, with errorString(), when one of them is not there.
    bool open(const QList<MemoryBlockInfo>& blocks);
    /// What went wrong last: in open(), or when a record was refused. Refusals are also logged, once in a
    /// row.
    QString errorString() const { return error; }

    /// From now on publishes the keys and the mouse that `window` receives, whatever has the focus in it, and
    /// instead of another window's. What is held is released when the window loses the focus. Null ends it.
    /// A widget's window is its QWidget::windowHandle(), which is there once the widget is shown.
    void watch(QWindow* window);

    /// Publishes `hz` steps of the pattern in a second, from step 0 on, each to all three blocks; a step that
    /// comes too late is skipped. Greater than 0, at most kMaxPatternHz; otherwise false.
    bool publishPattern(double hz);
    /// Ends it and releases what it held.
    void stopPattern();
    std::uint64_t publishedSteps() const { return steps; }

    /// Whether ControllerOutput repeats each record of ControllerInput, at once and in a thread of its own;
    /// the pattern then leaves the controller alone. False, with errorString(), when ControllerInput is not
    /// there.
    bool followControllerInput(bool follow);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool attach(std::unique_ptr<SharedMemoryAccessor>& target, const char* name);
    template<class Record>
    void publish(const std::unique_ptr<SharedMemoryAccessor>& block, Record& record);
    void publishKeyboard();
    void publishMouse(std::int32_t x, std::int32_t y, std::int32_t wheel, std::uint16_t buttons);
    void publishDueSteps();
    void publishStep();
    void releaseAll();

    void onKey(const QKeyEvent& event);
    void onMouse(const QMouseEvent& event);
    void onWheel(const QWheelEvent& event);

    QString error;
    bool isRefused = false; ///< and has been logged
    QList<MemoryBlockInfo> offered;
    std::unique_ptr<SharedMemoryAccessor> keyboardBlock;
    std::unique_ptr<SharedMemoryAccessor> mouseBlock;
    std::unique_ptr<SharedMemoryAccessor> controllerBlock;
    std::unique_ptr<SharedMemoryAccessor> controllerInput; ///< for the follower
    std::unique_ptr<ControllerFollower> follower;          ///< has the controller's blocks while it exists
    MouseData lastMouse;                                   ///< carries the totals

    QPointer<QWindow> watched;
    NativeKeys nativeKeys = NativeKeys::unknown;
    QHash<quint32, std::uint8_t> heldKeys; ///< virtual-key code by what tells the physical key
    std::optional<QPointF> pointer;        ///< where it was last seen in the window, global coordinates
    QPointF motionRest;                    ///< less than a count, not published yet
    int wheelRest = 0;                     ///< less than a notch, in QWheelEvent's units

    QTimer patternTimer{this};
    std::optional<FrameSchedule> schedule;
    std::uint64_t steps = 0;
};

} // namespace Vantor::devhost
