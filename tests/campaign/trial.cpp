#include "trial.h"

#include <QCoreApplication>
#include <QSet>

#include <array>
#include <utility>

namespace Vantor::campaign {

namespace {

constexpr unsigned kStallMs = 20;
constexpr unsigned kFramesOfAStream = 25; // 75 packets
constexpr unsigned kMostFramesUntilLost = 120;
constexpr unsigned kKeys = 6;
constexpr unsigned kFirstInputPacket = 6; ///< behind four start reports and a neutral packet
constexpr int kScriptSlot = 2;
constexpr int kTranslatorSlot = 3;
constexpr int kFullScriptSlot = 4;

bool isTransfer(Act act) {
    return act == Act::script || act == Act::fullScript || act == Act::translator;
}

/// After which the bridge is meant to stand still.
bool endsTheBridge(Act act) {
    return act == Act::stop || act == Act::shutdown || act == Act::initialize;
}

bool lasts(const Fault& fault) {
    return fault.strike == Strike::always || fault.strike == Strike::unplug;
}

} // namespace

Trial::Result Trial::run(const Case& tried) {
    current = tried;
    result = {};
    saboteur.forget();
    prepare();
    if (!result.complaints.isEmpty())
        return result;
    stage.takeComplaintsOfTheLog();
    before = stage.adapterCounts();
    libraryBefore = Stage::libraryCounts();
    arm(tried.first);
    if (tried.second)
        arm(*tried.second);
    play();
    awaitAftermath();
    judge();
    result.faultsStruck = faultsStruck();
    recover();
    startAfresh();
    return result;
}

// ---- Faults ----

void Trial::arm(const Fault& fault) {
    const bool isTheLibrarys =
        fault.operation == VIRTUAL_ADAPTER_INIT || fault.operation == VIRTUAL_ADAPTER_ENUMERATE;
    const int target = isTheLibrarys ? VIRTUAL_ADAPTER_LIBRARY : stage.adapter();
    switch (fault.strike) {
    case Strike::once:
        virtual_adapter_fail(target, fault.operation, fault.kth, 1);
        return;
    case Strike::always:
        virtual_adapter_fail(target, fault.operation, fault.kth, VIRTUAL_ADAPTER_FOREVER);
        return;
    case Strike::stall:
        virtual_adapter_stall(target, fault.operation, fault.kth, kStallMs);
        return;
    case Strike::unplug:
        virtual_adapter_stall(target, fault.operation, fault.kth, VIRTUAL_ADAPTER_FOREVER);
        saboteur.waitToUnplug();
        return;
    }
}

void Trial::disarm() {
    for (int operation = 0; operation < VIRTUAL_ADAPTER_OPERATIONS; ++operation)
        for (const int target : {stage.adapter(), VIRTUAL_ADAPTER_LIBRARY})
            virtual_adapter_fail(target, static_cast<virtual_adapter_operation>(operation), 1, 0);
    virtual_adapter_release(stage.adapter());
    saboteur.giveUp();
    if (!saboteur.hasStruck())
        return;
    const QByteArray path = "bus:" + QByteArray::number(2 + ++returns % 2);
    virtual_adapter_replug(stage.adapter(), current.returnsElsewhere ? path.constData() : nullptr);
}

unsigned Trial::callsMade(virtual_adapter_operation operation) const {
    const virtual_adapter_statistics now = stage.adapterCounts();
    const virtual_adapter_library_statistics library = Stage::libraryCounts();
    std::uint64_t calls = 0;
    switch (operation) {
    case VIRTUAL_ADAPTER_WRITE:
        calls = now.writes + now.write_failures - before.writes - before.write_failures;
        break;
    case VIRTUAL_ADAPTER_READ:
        calls = now.read_calls - before.read_calls;
        break;
    case VIRTUAL_ADAPTER_OPEN:
        calls = now.opens + now.open_failures - before.opens - before.open_failures;
        break;
    case VIRTUAL_ADAPTER_SERIAL: // asked for by the bridge, behind its opening
        calls = (now.opens - before.opens) / 2;
        break;
    case VIRTUAL_ADAPTER_ENUMERATE:
        calls = library.enumerations - libraryBefore.enumerations;
        break;
    default:
        calls = libraryFailed ? 1 : 0;
        break;
    }
    return static_cast<unsigned>(calls);
}

int Trial::faultsStruck() const {
    int struck = current.act == Act::reconnect ? 1 : 0; // the adapter was away
    for (const std::optional<Fault>& fault : {std::optional(current.first), current.second}) {
        if (!fault)
            continue;
        const bool hit = fault->strike == Strike::unplug ? saboteur.hasStruck()
                                                         : callsMade(fault->operation) >= fault->kth;
        struck += hit ? 1 : 0;
    }
    return struck;
}

bool Trial::isLosing(virtual_adapter_operation operation) const {
    return (current.first.operation == operation && lasts(current.first)) ||
           (current.second && current.second->operation == operation && lasts(*current.second));
}

/// Whether a call that was made to fail, the `from`-th or a later one, has been made.
bool Trial::hasFailed(virtual_adapter_operation operation, unsigned from) const {
    const auto isHit = [&](const Fault& fault) {
        return fault.operation == operation && fault.strike != Strike::stall && fault.kth >= from &&
               callsMade(operation) >= fault.kth;
    };
    return isHit(current.first) || (current.second && isHit(*current.second));
}

bool Trial::has(virtual_adapter_operation operation, unsigned kth) const {
    return (current.first.operation == operation && current.first.kth == kth) ||
           (current.second && current.second->operation == operation && current.second->kth == kth);
}

// ---- The acts ----

void Trial::prepare() {
    if (current.act == Act::start)
        stage.clickRun(); // it runs since the last case
    if (current.act == Act::initialize)
        stage.shutdown();
    if (current.act == Act::endCapture) {
        stage.startCapture();
        awaitOr([this] { return stage.isCapturing(); }, "the capture that is to be ended");
    }
    if (current.act == Act::reconnect) {
        virtual_adapter_unplug(stage.adapter());
        awaitOr([this] { return stage.connection() == QLatin1String("reconnecting"); },
                "the loss of the adapter");
        const QByteArray path = "bus:" + QByteArray::number(4 + ++returns % 2);
        virtual_adapter_replug(stage.adapter(), current.returnsElsewhere ? path.constData() : nullptr);
    }
}

void Trial::play() {
    switch (current.act) {
    case Act::start:
        playStart();
        break;
    case Act::stream:
        playStream();
        break;
    case Act::script:
        playTransfer(kScriptSlot, stage.scriptFile);
        break;
    case Act::fullScript:
        playTransfer(kFullScriptSlot, stage.fullScriptFile);
        break;
    case Act::translator:
        playTransfer(kTranslatorSlot, stage.translatorFile);
        break;
    case Act::capture:
        playCapture();
        break;
    case Act::endCapture:
        stage.stopCapture();
        break;
    case Act::stop:
        playStop();
        break;
    case Act::restart:
        stage.restart();
        awaitOr([this] { return isComplete() || !stage.errorShown().isEmpty(); }, "the end of the restart");
        break;
    case Act::shutdown:
        stage.shutdown();
        break;
    case Act::initialize:
        playInitialize();
        break;
    case Act::reconnect:
        playReconnect();
        break;
    }
}

/// Connected, initialised and ready for commands.
bool Trial::isComplete() const {
    return isConnected() && stage.acceptsCommands() &&
           stage.adapterCounts().initialisations > before.initialisations;
}

void Trial::playStart() {
    stage.clickRun();
    awaitOr([this] { return isComplete() || !stage.errorShown().isEmpty(); }, "the end of the start");
}

void Trial::playStream() {
    unsigned packets = 0;
    for (unsigned frame = 0; frame < kFramesOfAStream && isConnected(); ++frame) {
        packets += 1 + frame % 5;
        check(stage.publishFrame(1 + frame % 5), QStringLiteral("a frame cannot be published"));
        awaitOr([&] { return callsMade(VIRTUAL_ADAPTER_WRITE) >= packets || !isConnected(); },
                "a frame's packets");
    }
    // A hundred failures in a row are what it takes.
    for (unsigned frame = 0; frame < kMostFramesUntilLost && isLosing(VIRTUAL_ADAPTER_WRITE) && isConnected();
         ++frame) {
        packets += 5;
        stage.publishFrame(5);
        Stage::until([&] { return callsMade(VIRTUAL_ADAPTER_WRITE) >= packets || !isConnected(); });
    }
}

void Trial::playTransfer(int slotNumber, const QString& file) {
    stage.loadSlot(slotNumber, file);
    awaitOr(
        [this] {
            return stage.transferState() == QLatin1String("done") ||
                   stage.transferState() == QLatin1String("failed");
        },
        "the end of the transfer");
}

void Trial::playCapture() {
    stage.publishKey(false); // or the first key might be held already, and change nothing
    stage.startCapture();
    const auto isOver = [this] { return !isConnected() || !stage.errorShown().isEmpty(); };
    awaitOr([&] { return stage.isCapturing() || isOver(); }, "the capture");
    for (unsigned key = 0; key < kKeys && !isOver(); ++key) {
        const unsigned written = callsMade(VIRTUAL_ADAPTER_WRITE);
        stage.publishKey(key % 2 == 0);
        awaitOr([&] { return callsMade(VIRTUAL_ADAPTER_WRITE) > written || isOver(); }, "a key's packet");
    }
    if (!isOver() && hasFailed(VIRTUAL_ADAPTER_WRITE, kFirstInputPacket))
        awaitOr(isOver, "the failed packet to be told");
}

void Trial::playStop() {
    stage.publishFrame(5);
    stage.clickRun();
}

void Trial::playInitialize() {
    const bool isMeantToFail = has(VIRTUAL_ADAPTER_INIT, 1);
    libraryFailed = !stage.initialize();
    check(libraryFailed == isMeantToFail, QStringLiteral("initialize() returned the wrong thing"));
}

void Trial::playReconnect() {
    stage.reconnectNow();
    if (has(VIRTUAL_ADAPTER_ENUMERATE, 1))
        return; // it has found nothing, and will look again in a second
    bool wasConnected = false;
    awaitOr(
        [&] {
            wasConnected = wasConnected || isConnected();
            const QString error = stage.errorShown();
            return isComplete() || (!error.isEmpty() && (error != QLatin1String(kLostText) || wasConnected));
        },
        "the end of the reconnection");
}

/// Some faults take effect behind the act.
void Trial::awaitAftermath() {
    if (endsTheBridge(current.act))
        return;
    for (const std::optional<Fault>& fault : {std::optional(current.first), current.second}) {
        if (fault && fault->operation == VIRTUAL_ADAPTER_READ && isConnected())
            awaitOr([&] { return callsMade(VIRTUAL_ADAPTER_READ) > fault->kth || !isConnected(); },
                    "the read that is to fail");
    }
    // A stalled call is what pulls the plug, so once that call has been made the loss is on its way.
    if (isConnected() && (isLosing(VIRTUAL_ADAPTER_READ) || saboteur.hasStruck()))
        awaitOr([this] { return !isConnected(); }, "the loss of the adapter");
}

// ---- What came of it ----

unsigned Trial::endingSeen() const {
    const Expectation expected = expectationOf(current);
    const QString error = stage.errorShown();
    const QString connection = stage.connection();
    const bool isAsMeant = connection == (endsTheBridge(current.act) ? QLatin1String("disconnected")
                                                                     : QLatin1String("connected"));
    if (current.act == Act::initialize && libraryFailed)
        return kFailed;
    if (isTransfer(current.act) && stage.transferState() == QLatin1String("failed") &&
        !expected.texts.contains(stage.transferError()))
        return 0;
    if (connection == QLatin1String("reconnecting"))
        return error == QLatin1String(kLostText) || expected.texts.contains(error) ? kSearching : 0U;
    if (!error.isEmpty() && !expected.texts.contains(error))
        return 0;
    if (!error.isEmpty())
        return connection == QLatin1String("disconnected") ? kFailed : isConnected() ? kRefused : 0U;
    if (!isAsMeant)
        return 0;
    if (isTransfer(current.act) && stage.transferState() == QLatin1String("failed"))
        return kBoxed;
    return current.act == Act::capture && !stage.isCapturing() ? 0U : kUnharmed;
}

void Trial::judge() {
    const Expectation expected = expectationOf(current);
    const unsigned seen = endingSeen();
    check((seen & expected.endings) != 0,
          QStringLiteral("it ended %1 with \"%2\", transfer %3 \"%4\"")
              .arg(stage.connection(), stage.errorShown(), stage.transferState(), stage.transferError()));
    result.complaints += stage.contradictionsInThePanel();

    QStringList boxes;
    if (isTransfer(current.act) && stage.transferState() == QLatin1String("failed") &&
        hasBox(stage.transferError()))
        boxes += stage.transferError();
    check(stage.boxes() == boxes, QStringLiteral("boxes: ") + stage.boxes().join(QLatin1Char('|')));
    QStringList log = stage.takeComplaintsOfTheLog();
    check(log.removeDuplicates() == 0, QStringLiteral("the log says the same twice"));
    for (const QString& text : std::as_const(log))
        check(text == QLatin1String(kLostText) || expected.texts.contains(text) ||
                  expected.logTexts.contains(text),
              QStringLiteral("the log says: ") + text);
    // A search opens the adapter for an attempt, once a second; what it leaves open stays so.
    awaitOr([this] { return isConnected() || stage.adapterCounts().open_handles == 0; },
            "the handles to be closed without a connection");
}

void Trial::recover() {
    disarm();
    stage.closeBoxes();
    check(stage.boxes().isEmpty(), QStringLiteral("a box does not close"));
    if (current.act == Act::shutdown || libraryFailed)
        check(stage.initialize(), QStringLiteral("it does not initialise again"));
    libraryFailed = false;
    if (stage.connection() == QLatin1String("reconnecting") && !current.isGivenUp) {
        stage.reconnectNow();
        awaitOr([this] { return isConnected() && stage.acceptsCommands() && stage.errorShown().isEmpty(); },
                "the connection to come back by itself");
    }
    const bool isStopped = stage.isRunning();
    if (isStopped)
        stage.clickRun();
    check(stage.connection() == QLatin1String("disconnected"), QStringLiteral("it does not stop"));
    check(stage.errorShown().isEmpty() || !isStopped, QStringLiteral("an error outlives its run"));
    check(!stage.anyTimerRuns(), QStringLiteral("a timer still runs after the stop"));
    result.complaints += stage.contradictionsInThePanel();

    const virtual_adapter_library_statistics library = Stage::libraryCounts();
    check(library.open_handles == 0, QStringLiteral("%1 handles leaked").arg(library.open_handles));
    check(library.lists_not_freed == 0, QStringLiteral("%1 lists leaked").arg(library.lists_not_freed));
    check(library.misuses == 0, QStringLiteral("%1 calls that hidapi does not allow").arg(library.misuses));
    // Looked at while a timer runs, which on Windows has a thread of its own. A thread that has been joined
    // may stay in the system's list for a moment.
    Footprint now;
    awaitOr(
        [&] {
            now = Footprint::now();
            if (!usual)
                usual = now;
            return now.threads <= usual->threads;
        },
        "the threads to be gone");
    check(now.descriptors == usual->descriptors,
          QStringLiteral("%1 descriptors, usually %2").arg(now.descriptors).arg(usual->descriptors));
}

void Trial::startAfresh() {
    before = stage.adapterCounts();
    stage.clickRun();
    awaitOr([this] { return isComplete(); }, "the fresh start");
    check(stage.errorShown().isEmpty(), QStringLiteral("the fresh start shows ") + stage.errorShown());
    check(stage.publishFrame(3), QStringLiteral("a frame cannot be published"));
    awaitOr([this] { return stage.adapterCounts().frames_intact > before.frames_intact; },
            "a frame to arrive");
    check(stage.seesAState(), QStringLiteral("no controller state is published"));
    result.complaints += stage.contradictionsInThePanel();
}

} // namespace Vantor::campaign
