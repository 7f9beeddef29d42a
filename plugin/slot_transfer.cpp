#include "plugin/slot_transfer.h"

#include "ui/slot_operations.h"

#include <QFileInfo>

#include <array>

namespace Vantor {

namespace {

// In the order of State.
constexpr std::array kStateKeys{"idle", "sending", "loading", "done", "failed"};

} // namespace

SlotTransfer::SlotTransfer(MemorySlotOperations& slotOperations, QObject* parent)
    : QObject(parent), operations(slotOperations) {
    connect(&operations, &MemorySlotOperations::transferStarted, this, &SlotTransfer::onStarted);
    connect(&operations, &MemorySlotOperations::transferProgressed, this, &SlotTransfer::onProgressed);
    connect(&operations, &MemorySlotOperations::transferFinished, this,
            [this](int slotNumber, const QString&, bool transferred, bool slotLoaded) {
                onFinished(slotNumber, transferred, slotLoaded);
            });
    connect(&operations, &MemorySlotOperations::failed, this, &SlotTransfer::onFailed);
}

bool SlotTransfer::loadFile(int slotNumber, const QString& path) {
    if (isUnderWay())
        return operations.loadFile(slotNumber - 1, path); // which refuses it
    slot = slotNumber;
    file = QFileInfo(path).fileName();
    sent = 0;
    reports = 0;
    error.clear();
    textIsDue = true;
    return operations.loadFile(slotNumber - 1, path);
}

void SlotTransfer::onStarted(int slotNumber, const QString& fileName, int toSend) {
    slot = slotNumber;
    file = fileName;
    sent = 0;
    reports = toSend;
    error.clear();
    textIsDue = false;
    enter(State::sending);
}

void SlotTransfer::onProgressed(int nowSent, int toSend) {
    sent = nowSent;
    reports = toSend;
    enter(sent < reports ? State::sending : State::loading);
}

void SlotTransfer::onFinished(int slotNumber, bool transferred, bool slotLoaded) {
    if (slotNumber != slot || !isUnderWay())
        return; // an earlier one's end, which may come while the next is being sent
    textIsDue = !slotLoaded;
    if (!slotLoaded) // what stays when no text follows
        error = transferred ? tr("It was transferred, but the slot was not loaded.")
                            : tr("The transfer was cancelled.");
    enter(slotLoaded ? State::done : State::failed);
}

void SlotTransfer::onFailed(const QString& title, const QString& text) {
    if (!textIsDue)
        return; // of another operation; a transfer's own text comes behind its end
    textIsDue = false;
    error = title + QStringLiteral(": ") + text;
    enter(State::failed);
}

void SlotTransfer::enter(State next) {
    state = next;
    if (announced)
        return;
    announced = true;
    QMetaObject::invokeMethod(this, &SlotTransfer::announce, Qt::QueuedConnection);
}

void SlotTransfer::announce() {
    announced = false;
    textIsDue = false; // it would have come at once
    emit changed();
}

QJsonObject SlotTransfer::toJson() const {
    return {{QStringLiteral("state"), QString::fromLatin1(kStateKeys[static_cast<std::size_t>(state)])},
            {QStringLiteral("slot"), slot},
            {QStringLiteral("file"), file},
            {QStringLiteral("sent"), sent},
            {QStringLiteral("reports"), reports},
            {QStringLiteral("error"), error}};
}

} // namespace Vantor
