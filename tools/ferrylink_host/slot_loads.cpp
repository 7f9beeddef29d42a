#include "slot_loads.h"

#include "plugin_session.h"

#include <QJsonArray>

#include <algorithm>

namespace Vantor::devhost {

namespace {

constexpr int kLoadLimitMs = 10'000;

} // namespace

SlotLoads::SlotLoads(QList<LoadRequest> loadRequests, PluginSession& pluginSession)
    : requests(std::move(loadRequests)), session(pluginSession) {
    limit.setSingleShot(true);
    limit.setInterval(kLoadLimitMs);
    connect(&limit, &QTimer::timeout, this, [this] {
        conclude(step == Step::waitingForAdapter ? tr("The adapter did not say which scripts it holds.")
                 : step == Step::sending         ? tr("The transfer did not end.")
                                         : tr("The adapter did not report the slot as filled and loaded."));
    });
}

void SlotLoads::begin() {
    if (requests.isEmpty()) {
        emit finished();
        return;
    }
    connect(&session, &PluginSession::statusChanged, this, &SlotLoads::look);
    connect(&session, &PluginSession::transferChanged, this, &SlotLoads::look);
    limit.start();
    look();
}

void SlotLoads::look() {
    if (isFinished())
        return;
    const QJsonObject status = session.status();
    if (step == Step::waitingForAdapter && status[QStringLiteral("accepts_commands")].toBool() &&
        status[QStringLiteral("slots")].isArray())
        send();
    else if (step == Step::sending)
        followTransfer();
    else if (step == Step::waitingForSlot && adapterHasSlot())
        conclude({});
}

void SlotLoads::send() {
    // First, since it may be over within the call.
    step = Step::sending;
    listingsBefore = session.status()[QStringLiteral("listings")].toInt();
    if (session.loadSlotFile(current().slot, current().file))
        return;
    const QString why = session.transfer()[QStringLiteral("error")].toString();
    conclude(why.isEmpty() ? tr("The plug-in refused it.") : why);
}

void SlotLoads::followTransfer() {
    const QJsonObject transfer = session.transfer();
    const QString state = transfer[QStringLiteral("state")].toString();
    if (state == QLatin1String("failed")) {
        conclude(transfer[QStringLiteral("error")].toString());
    } else if (state == QLatin1String("done")) {
        step = Step::waitingForSlot;
        look();
    }
}

bool SlotLoads::adapterHasSlot() const {
    const QJsonObject status = session.status();
    const QJsonArray listed = status[QStringLiteral("slots")].toArray();
    return status[QStringLiteral("listings")].toInt() > listingsBefore &&
           status[QStringLiteral("loaded_slot")].toInt() == current().slot &&
           std::any_of(listed.begin(), listed.end(), [this](const QJsonValue& slot) {
               return slot[QStringLiteral("slot")].toInt() == current().slot;
           });
}

void SlotLoads::conclude(const QString& error) {
    results +=
        LoadOutcome{.slot = current().slot, .file = current().file, .ok = error.isEmpty(), .error = error};
    step = Step::waitingForAdapter;
    if (isFinished()) {
        limit.stop();
        emit finished();
        return;
    }
    limit.start();
    look();
}

} // namespace Vantor::devhost
