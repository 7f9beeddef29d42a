#include "ui/kmg_view.h"

#include "ui/elided_label.h"

#include <QCheckBox>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

namespace Vantor {

namespace {

struct Source {
    const char* objectName;
    const char* name;
    const char* rate;
    const char* rateName; ///< what the rate is called where it is not seen
    const char* hint;
    bool initially;
};

// In the order of the capture request's arguments.
constexpr std::array<Source, 3> kSources{{
    {"captureKeyboard", QT_TRANSLATE_NOOP("Vantor::KmgView", "Keyboard"),
     QT_TRANSLATE_NOOP("Vantor::KmgView", "Keyboard: %1 Hz"),
     QT_TRANSLATE_NOOP("Vantor::KmgView", "Keyboard rate"),
     QT_TRANSLATE_NOOP("Vantor::KmgView", "Send this computer's keyboard to the console"), true},
    {"captureMouse", QT_TRANSLATE_NOOP("Vantor::KmgView", "Mouse"),
     QT_TRANSLATE_NOOP("Vantor::KmgView", "Mouse: %1 Hz"), QT_TRANSLATE_NOOP("Vantor::KmgView", "Mouse rate"),
     QT_TRANSLATE_NOOP("Vantor::KmgView", "Send this computer's mouse to the console"), true},
    {"captureController", QT_TRANSLATE_NOOP("Vantor::KmgView", "Controller"),
     QT_TRANSLATE_NOOP("Vantor::KmgView", "Controller: %1 Hz"),
     QT_TRANSLATE_NOOP("Vantor::KmgView", "Controller rate"),
     QT_TRANSLATE_NOOP("Vantor::KmgView", "Send the host's game controller to the console"), false},
}};

} // namespace

KmgView::KmgView(QWidget* parent) : QGroupBox(tr("Input Capture"), parent) {
    setToolTip(tr("Play with the keyboard and mouse of this computer"));
    auto* rows = new QVBoxLayout(this);
    buildBoxes();
    buildButton();
    for (std::size_t i = 0; i < kSources.size(); ++i) {
        rows->addWidget(boxes[i]);
        rows->addWidget(rateLabels[i]);
    }
    rows->addWidget(button);
    setCapturing(false);
}

void KmgView::buildBoxes() {
    for (std::size_t i = 0; i < kSources.size(); ++i) {
        auto* box = new QCheckBox(tr(kSources[i].name), this);
        box->setObjectName(QString::fromLatin1(kSources[i].objectName));
        box->setAccessibleName(tr(kSources[i].name));
        box->setToolTip(tr(kSources[i].hint));
        box->setChecked(kSources[i].initially);
        connect(box, &QCheckBox::toggled, this, &KmgView::showState);
        boxes[i] = box;

        auto* rate = new ElidedLabel(this);
        rate->setAccessibleName(tr(kSources[i].rateName));
        rate->setHint(tr("Records captured in the last second"));
        rateLabels[i] = rate;
    }
}

void KmgView::buildButton() {
    button = new QPushButton(this);
    button->setObjectName(QStringLiteral("captureButton"));
    connect(button, &QPushButton::clicked, this, &KmgView::toggle);
}

void KmgView::setAvailable(bool isAvailable) {
    available = isAvailable;
    showState();
}

void KmgView::setCapturing(bool isCapturing) {
    capturing = isCapturing;
    setRates(0, 0, 0);
    showState();
}

void KmgView::setRates(quint32 keyboardHz, quint32 mouseHz, quint32 controllerHz) {
    const std::array<quint32, 3> rates{keyboardHz, mouseHz, controllerHz};
    for (std::size_t i = 0; i < kSources.size(); ++i)
        rateLabels[i]->setText(tr(kSources[i].rate).arg(rates[i]));
}

void KmgView::toggle() {
    if (capturing)
        emit stopRequested();
    else
        emit startRequested(boxes[0]->isChecked(), boxes[1]->isChecked(), boxes[2]->isChecked());
}

void KmgView::showState() {
    const bool anything =
        std::any_of(boxes.begin(), boxes.end(), [](const QCheckBox* box) { return box->isChecked(); });
    for (std::size_t i = 0; i < kSources.size(); ++i) {
        boxes[i]->setVisible(!capturing);
        rateLabels[i]->setVisible(capturing && boxes[i]->isChecked());
    }
    button->setText(capturing ? tr("Stop Capture") : tr("Start Capture"));
    button->setAccessibleName(button->text());
    button->setEnabled(capturing || (available && anything));
    if (capturing)
        button->setToolTip(tr("The chosen devices play on the console. Click to stop."));
    else if (!available)
        button->setToolTip(tr("Capturing needs a connected Titan Two"));
    else if (!anything)
        button->setToolTip(tr("Choose at least one device to capture"));
    else
        button->setToolTip(tr("Let the chosen devices play on the console"));
}

} // namespace Vantor
