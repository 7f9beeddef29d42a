// Records of keyboard, mouse and controller, as any program may write them into shared memory, on their way
// to the adapter: operations, each one byte and the first bytes of a record whose others stay as they were.

#include "fuzz/target.h"
#include "workers/kmg_mouse_motion.h"
#include "workers/kmg_reports.h"

#include <array>
#include <cstring>

namespace Vantor::fuzz {

namespace {

enum Operation : std::uint8_t {
    kKeyboard,
    kMouse,
    kController,
    kKeyboardEnd,
    kMouseEnd,
    kRestart,
    kOperations
};

// Where a report has the state of each device.
constexpr std::size_t kKeyboardBegin = 5;
constexpr std::size_t kUsagesBegin = 7;
constexpr std::size_t kMouseBegin = 13;
constexpr std::size_t kControllerBegin = 21;
constexpr std::size_t kUsedBytes = 30;
constexpr std::uint8_t kHighestUsage = 0xA4; ///< of the descriptor that the adapter was given

class Session {
public:
    explicit Session(Bytes input) : reader(input) {}

    void run() {
        while (!reader.atEnd()) {
            operate();
            checkReport();
        }
    }

private:
    void operate() {
        switch (reader.number<std::uint8_t>() % kOperations) {
        case kKeyboard:
            overwrite(keyboard, 0);
            return type();
        case kKeyboardEnd: // from the modifiers on
            overwrite(keyboard, offsetof(KeyboardData, modifiers));
            return type();
        case kMouse:
            overwrite(mouse, 0);
            return move();
        case kMouseEnd: // from the totals on
            overwrite(mouse, offsetof(MouseData, totalX));
            return move();
        case kController:
            overwrite(controller, 0);
            return play();
        default:
            return motions.restart();
        }
    }

    template<class Record>
    void overwrite(Record& record, std::size_t offset) {
        const Bytes piece = reader.takePiece();
        const std::size_t count = std::min(piece.size(), sizeof record - offset);
        if (count > 0)
            std::memcpy(reinterpret_cast<std::uint8_t*>(&record) + offset, piece.data(), count);
    }

    void type() {
        const OutputReport before = report;
        putKeyboard(report, keyboard);
        checkOthers(before, kKeyboardBegin, kMouseBegin);
    }

    void play() {
        const OutputReport before = report;
        putController(report, controller);
        checkOthers(before, kControllerBegin, kUsedBytes);
    }

    void move() {
        const MouseMotion motion = motions.take(mouse);
        const OutputReport before = report;
        putMouse(report, mouse.buttons, motion);
        checkOthers(before, kMouseBegin, kControllerBegin);
        OutputReport still = report;
        clearMotion(still);
        check(!hasMotion(still), "motion that is taken out is gone");
        check(hasMotion(report) == (motion.x != 0 || motion.y != 0 || motion.wheel != 0), "motion is motion");
        const MouseMotion again = motions.take(mouse);
        const bool hasTotals = mouse.totalsStartNs != 0;
        check(!hasTotals || (again.x == 0 && again.y == 0 && again.wheel == 0), "totals count motion once");
    }

    void checkOthers(const OutputReport& before, std::size_t begin, std::size_t end) const {
        check(std::equal(before.begin(), before.begin() + begin, report.begin()) &&
                  std::equal(before.begin() + end, before.end(), report.begin() + end),
              "a device's state stands in its own place");
    }

    void checkReport() const {
        check(std::equal(report.begin(), report.begin() + 5, kNeutralKmgReport.begin()),
              "the header never changes");
        bool ended = false;
        for (std::size_t i = kUsagesBegin; i < kMouseBegin; ++i) {
            check(report[i] <= kHighestUsage, "usages are those of the descriptor");
            check(report[i] == 0 || !ended, "usages stand together");
            ended = report[i] == 0;
        }
        check(std::all_of(report.begin() + kUsedBytes, report.end(),
                          [](std::uint8_t byte) { return byte == 0; }),
              "nothing is written behind the state");
    }

    InputReader reader;
    KeyboardData keyboard;
    MouseData mouse;
    ControllerData controller;
    MouseMotionTracker motions;
    OutputReport report = kNeutralKmgReport;
};

} // namespace

void takeInput(Bytes input) {
    Session(input).run();
}

} // namespace Vantor::fuzz
