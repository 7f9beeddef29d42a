// What happens to the slots right now: the progress of a transfer, with a button that ends it, and for a
// while how it ended. Takes no room in between. GUI thread only.

#pragma once

#include <QFrame>
#include <QTimer>

class QProgressBar;

namespace Vantor {

class ElidedLabel;
class GlyphButton;

class TransferView : public QFrame {
    Q_OBJECT

public:
    explicit TransferView(QWidget* parent = nullptr);

    void start(int slotNumber, const QString& fileName, int reports);
    void setProgress(int sent, int reports);
    /// `loaded`: the adapter was told to run the slot, too.
    void finish(int slotNumber, const QString& fileName, bool transferred, bool loaded);
    /// Nobody will finish the transfer any more.
    void forget();
    /// Shows a line that goes by itself; not while a transfer has the place.
    void showNotice(const QString& text);

signals:
    void cancelRequested();

private:
    void buildLayout();
    void setRunning(bool running);

    ElidedLabel* text = nullptr;
    QProgressBar* bar = nullptr;
    GlyphButton* close = nullptr;
    bool isRunning = false;
    QTimer expiry;
};

} // namespace Vantor
