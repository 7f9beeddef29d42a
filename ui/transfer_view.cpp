#include "ui/transfer_view.h"

#include "ui/elided_label.h"
#include "ui/glyph_button.h"

#include <QAccessible>
#include <QGridLayout>
#include <QProgressBar>

namespace Vantor {

namespace {

constexpr int kNoticeMs = 8000;

} // namespace

TransferView::TransferView(QWidget* parent)
    : QFrame(parent),
      text(new ElidedLabel(this)),
      bar(new QProgressBar(this)),
      close(new GlyphButton(Glyph::cross, this)) {
    setObjectName(QStringLiteral("transferView"));
    setFrameShape(QFrame::StyledPanel);
    buildLayout();
    setRunning(false);
    expiry.setSingleShot(true);
    expiry.setInterval(kNoticeMs);
    connect(&expiry, &QTimer::timeout, this, &QWidget::hide);
    connect(close, &QToolButton::clicked, this, [this] {
        if (isRunning)
            emit cancelRequested();
        else
            hide();
    });
    hide();
}

void TransferView::buildLayout() {
    text->setObjectName(QStringLiteral("transferText"));
    text->setAccessibleName(tr("Transfer"));
    bar->setObjectName(QStringLiteral("transferProgress"));
    bar->setAccessibleName(tr("Transfer progress"));
    bar->setToolTip(tr("Reports sent to the device"));
    bar->setTextVisible(false);
    bar->setMaximumHeight(fontMetrics().height() / 2);
    close->setObjectName(QStringLiteral("transferClose"));
    auto* grid = new QGridLayout(this);
    const int unit = fontMetrics().height() / 3;
    grid->setContentsMargins(unit, unit, unit, unit);
    grid->setVerticalSpacing(unit / 2);
    grid->setColumnStretch(0, 1);
    grid->addWidget(text, 0, 0);
    grid->addWidget(bar, 1, 0);
    grid->addWidget(close, 0, 1, 2, 1, Qt::AlignVCenter);
}

void TransferView::setRunning(bool running) {
    isRunning = running;
    bar->setVisible(running);
    const QString action = running ? tr("Cancel transfer") : tr("Dismiss");
    close->setAccessibleName(action);
    close->setToolTip(action);
}

void TransferView::start(int slotNumber, const QString& fileName, int reports) {
    const QString slot = QString::number(slotNumber);
    expiry.stop();
    setRunning(true);
    bar->setRange(0, reports);
    bar->setValue(0);
    text->setText(tr("%1 \u2192 slot %2").arg(fileName, slot));
    text->setHint(tr("Loading %1 into slot %2").arg(fileName, slot));
    show();
}

void TransferView::setProgress(int sent, int reports) {
    bar->setRange(0, reports);
    bar->setValue(sent);
}

void TransferView::finish(int slotNumber, const QString& fileName, bool transferred, bool loaded) {
    const QString slot = QString::number(slotNumber);
    setRunning(false);
    if (!transferred) // a box says why
        showNotice(tr("%1 was not transferred").arg(fileName));
    else if (loaded)
        showNotice(tr("%1 runs in slot %2").arg(fileName, slot));
    else
        showNotice(tr("%1 is in slot %2").arg(fileName, slot));
}

void TransferView::forget() {
    setRunning(false);
    hide();
}

void TransferView::showNotice(const QString& notice) {
    if (isRunning)
        return;
    text->setText(notice);
    text->setHint(notice);
    show();
    expiry.start();
    QAccessibleEvent alert(text, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

} // namespace Vantor
