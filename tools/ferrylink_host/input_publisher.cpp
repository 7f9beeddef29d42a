#include "input_publisher.h"

#include "controller_follower.h"
#include "host/logging_service.h"
#include "input_pattern.h"
#include "platform/clock.h"

#include <QGuiApplication>

#include <algorithm>
#include <cmath>
#include <system_error>

namespace Vantor::devhost {

namespace {

/// Distinguishes keys without a scan code; above every scan code.
constexpr quint32 kWithoutScanCode = 0x8000'0000;

quint32 physicalKey(const QKeyEvent& event) {
    return event.nativeScanCode() != 0 ? event.nativeScanCode()
                                       : kWithoutScanCode | static_cast<quint32>(event.key());
}

/// Qt numbers its buttons as the record does.
std::uint16_t buttonBits(Qt::MouseButtons buttons) {
    return static_cast<std::uint16_t>(buttons.toInt());
}

/// Takes the whole part out of `value` and leaves the rest.
std::int32_t takeWhole(qreal& value) {
    const qreal whole = std::trunc(value);
    value -= whole;
    return static_cast<std::int32_t>(whole);
}

} // namespace

InputPublisher::InputPublisher(QObject* parent) : QObject(parent) {
    patternTimer.setSingleShot(true);
    patternTimer.setTimerType(Qt::PreciseTimer);
    connect(&patternTimer, &QTimer::timeout, this, &InputPublisher::publishDueSteps);
}

InputPublisher::~InputPublisher() {
    watch(nullptr);
    stopPattern();
}

bool InputPublisher::open(const QList<MemoryBlockInfo>& blocks) {
    follower.reset();
    offered = blocks;
    lastMouse = {};
    lastMouse.totalsStartNs = static_cast<std::uint64_t>(platform::monotonicNowNs());
    return attach(keyboardBlock, BlockName::kKeyboardRawInput) &&
           attach(mouseBlock, BlockName::kMouseRawInput) &&
           attach(controllerBlock, BlockName::kControllerOutput);
}

bool InputPublisher::attach(std::unique_ptr<SharedMemoryAccessor>& target, const char* name) {
    target.reset();
    for (const MemoryBlockInfo& block : offered) {
        if (block.name != QLatin1String(name))
            continue;
        auto accessor = std::make_unique<SharedMemoryAccessor>(block);
        accessor->setWriterName(QStringLiteral("ferrylink-host"));
        if (!accessor->connect()) {
            error = accessor->errorString();
            return false;
        }
        target = std::move(accessor);
        return true;
    }
    error = tr("No block \"%1\" was given.").arg(QLatin1String(name));
    return false;
}

// ---- The user's own input ----

void InputPublisher::watch(QWindow* window) {
    if (watched != nullptr)
        watched->removeEventFilter(this);
    releaseAll();
    watched = window;
    if (window == nullptr)
        return;
    nativeKeys = nativeKeysOf(QGuiApplication::platformName());
    window->installEventFilter(this);
}

bool InputPublisher::eventFilter(QObject* object, QEvent* event) {
    if (object != watched)
        return QObject::eventFilter(object, event);
    switch (event->type()) {
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
        onKey(*static_cast<QKeyEvent*>(event));
        break;
    case QEvent::MouseMove:
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
        onMouse(*static_cast<QMouseEvent*>(event));
        break;
    case QEvent::Wheel:
        onWheel(*static_cast<QWheelEvent*>(event));
        break;
    case QEvent::Enter:
    case QEvent::Leave:
        pointer.reset(); // the way between two places in the window is no motion in it
        break;
    case QEvent::FocusOut:
        releaseAll(); // their release goes to somebody else
        break;
    default:
        break;
    }
    return false;
}

void InputPublisher::onKey(const QKeyEvent& event) {
    if (event.isAutoRepeat())
        return;
    if (event.type() == QEvent::KeyRelease) {
        // By the physical key: what it is called may have changed since, with Shift or Num Lock.
        if (heldKeys.remove(physicalKey(event)) == 0)
            return;
    } else {
        const std::uint8_t key = virtualKeyOf(event, nativeKeys);
        if (key == 0)
            return;
        heldKeys.insert(physicalKey(event), key);
    }
    publishKeyboard();
}

void InputPublisher::publishKeyboard() {
    KeyboardData keyboard;
    for (const std::uint8_t key : std::as_const(heldKeys)) {
        keyboard.keys[key] = 1;
        keyboard.modifiers |= modifierBitOf(key);
        if (const std::uint8_t sideless = sidelessKeyOf(key); sideless != 0)
            keyboard.keys[sideless] = 1;
    }
    publish(keyboardBlock, keyboard);
}

void InputPublisher::onMouse(const QMouseEvent& event) {
    const QPointF place = event.globalPosition();
    motionRest += place - pointer.value_or(place);
    pointer = place;
    const std::int32_t x = takeWhole(motionRest.rx());
    const std::int32_t y = takeWhole(motionRest.ry());
    const std::uint16_t buttons = buttonBits(event.buttons());
    if (x != 0 || y != 0 || buttons != lastMouse.buttons)
        publishMouse(x, y, 0, buttons);
}

void InputPublisher::onWheel(const QWheelEvent& event) {
    wheelRest += event.angleDelta().y();
    const int notches = wheelRest / QWheelEvent::DefaultDeltasPerStep;
    wheelRest -= notches * QWheelEvent::DefaultDeltasPerStep;
    if (notches != 0)
        publishMouse(0, 0, notches, lastMouse.buttons);
}

void InputPublisher::publishMouse(std::int32_t x, std::int32_t y, std::int32_t wheel, std::uint16_t buttons) {
    lastMouse.motionX = x;
    lastMouse.motionY = y;
    lastMouse.wheel = wheel;
    lastMouse.totalX += x;
    lastMouse.totalY += y;
    lastMouse.totalWheel += wheel;
    lastMouse.buttons = buttons;
    publish(mouseBlock, lastMouse);
}

void InputPublisher::releaseAll() {
    pointer.reset();
    motionRest = {};
    wheelRest = 0;
    if (!heldKeys.isEmpty()) {
        heldKeys.clear();
        publishKeyboard();
    }
    if (lastMouse.buttons != 0)
        publishMouse(0, 0, 0, 0);
}

template<class Record>
void InputPublisher::publish(const std::unique_ptr<SharedMemoryAccessor>& block, Record& record) {
    if (block == nullptr)
        return;
    const std::int64_t now = platform::monotonicNowNs();
    record.timestampNs = static_cast<std::uint64_t>(now);
    if (block->writeData(&record, sizeof record, now)) {
        isRefused = false;
        return;
    }
    error = block->errorString();
    if (!isRefused)
        LoggingService::instance().warning(QStringLiteral("Host"),
                                           tr("Input is not published: %1").arg(error));
    isRefused = true;
}

// ---- The pattern ----

bool InputPublisher::publishPattern(double hz) {
    if (!(hz > 0 && hz <= kMaxPatternHz)) {
        error = tr("An input pattern has more than 0 and at most %1 steps in a second.").arg(kMaxPatternHz);
        return false;
    }
    stopPattern();
    steps = 0;
    schedule.emplace(hz, platform::monotonicNowNs());
    patternTimer.start(0);
    return true;
}

void InputPublisher::stopPattern() {
    if (!schedule)
        return;
    schedule.reset();
    patternTimer.stop();
    KeyboardData keyboard;
    publish(keyboardBlock, keyboard);
    publishMouse(0, 0, 0, 0);
    if (ControllerData controller; follower == nullptr)
        publish(controllerBlock, controller);
}

void InputPublisher::publishDueSteps() {
    if (!schedule)
        return;
    constexpr std::int64_t kNsPerMs = 1'000'000;
    const std::int64_t now = platform::monotonicNowNs();
    if (now >= schedule->deadlineNs()) {
        publishStep();
        schedule->advance(now);
    }
    const std::int64_t leftNs = std::max<std::int64_t>(schedule->deadlineNs() - now, 0);
    patternTimer.start(static_cast<int>((leftNs + kNsPerMs - 1) / kNsPerMs));
}

void InputPublisher::publishStep() {
    KeyboardData keyboard = patternKeyboard(steps);
    publish(keyboardBlock, keyboard);
    const MouseData mouse = patternMouse(steps);
    publishMouse(mouse.motionX, mouse.motionY, mouse.wheel, mouse.buttons);
    if (follower == nullptr) {
        ControllerData controller = patternController(steps);
        publish(controllerBlock, controller);
    }
    ++steps;
}

// ---- The controller ----

bool InputPublisher::followControllerInput(bool follow) {
    follower.reset();
    if (!follow)
        return true;
    if (controllerBlock == nullptr) {
        error = tr("The host's input blocks are not open.");
        return false;
    }
    if (!attach(controllerInput, BlockName::kControllerInput))
        return false;
    try {
        follower = std::make_unique<ControllerFollower>(*controllerInput, *controllerBlock);
    } catch (const std::system_error&) {
        error = tr("The system refuses another thread.");
    }
    return follower != nullptr;
}

} // namespace Vantor::devhost
