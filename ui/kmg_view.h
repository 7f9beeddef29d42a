// Chooses which of keyboard, mouse and game controller are captured for the adapter, starts and stops that,
// and shows how many records of each arrive. It captures nothing itself. GUI thread only.

#pragma once

#include <QGroupBox>
#include <QtGlobal>

#include <array>

class QCheckBox;
class QPushButton;

namespace Vantor {

class ElidedLabel;

class KmgView : public QGroupBox {
    Q_OBJECT

public:
    explicit KmgView(QWidget* parent = nullptr);

    /// Capturing needs a connected adapter; without one it cannot be started, but a running one can be ended.
    void setAvailable(bool isAvailable);
    /// While capturing, the rates of what is captured take the place of the choice.
    void setCapturing(bool isCapturing);
    /// Records per second of each kind.
    void setRates(quint32 keyboardHz, quint32 mouseHz, quint32 controllerHz);

signals:
    /// At least one of them is wanted.
    void startRequested(bool keyboard, bool mouse, bool controller);
    void stopRequested();

private:
    void buildBoxes();
    void buildButton();
    void toggle();
    void showState();

    std::array<QCheckBox*, 3> boxes{}; ///< keyboard, mouse, controller
    std::array<ElidedLabel*, 3> rateLabels{};
    QPushButton* button = nullptr;
    bool available = false;
    bool capturing = false;
};

} // namespace Vantor
