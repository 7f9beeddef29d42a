// Loading files into slots for hosts that know none of our types: what became of the last transfer, as plain
// values. It follows every transfer, whoever asked for it. Entry points: loadFile(), toJson(). GUI thread
// only.

#pragma once

#include <QJsonObject>
#include <QObject>
#include <QString>

namespace Vantor {

class MemorySlotOperations;

class SlotTransfer : public QObject {
    Q_OBJECT

public:
    /// `operations` outlives it.
    explicit SlotTransfer(MemorySlotOperations& operations, QObject* parent = nullptr);

    /// Begins to load a file, of the kind that its suffix says, into slot 1..9. False when nothing is sent;
    /// toJson() then says why, unless another transfer is under way.
    bool loadFile(int slotNumber, const QString& path);
    /// Keys: state ("idle": none yet; "sending"; "loading": all is sent, the slot is about to be loaded;
    /// "done"; "failed"), slot (1..9), file (without directory), sent and reports (counts of HID reports),
    /// error (empty unless failed).
    QJsonObject toJson() const;

signals:
    /// Queued, so that one failure is seen with its text and progress costs one signal for each turn of the
    /// event loop.
    void changed();

private:
    enum class State { idle, sending, loading, done, failed };

    bool isUnderWay() const { return state == State::sending || state == State::loading; }
    void onStarted(int slotNumber, const QString& fileName, int toSend);
    void onProgressed(int nowSent, int toSend);
    void onFinished(int slotNumber, bool transferred, bool slotLoaded);
    void onFailed(const QString& title, const QString& text);
    void enter(State next);
    void announce();

    MemorySlotOperations& operations;
    State state = State::idle;
    int slot = 0;
    QString file;
    int sent = 0;
    int reports = 0;
    QString error;
    bool textIsDue = false; ///< the next failed() says what became of this transfer
    bool announced = false; ///< changed() is under way
};

} // namespace Vantor
