#include "ui/empty_view.h"

#include "ui/panel_colours.h"

#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>
#include <array>

namespace Vantor {

namespace {

constexpr double kHeadingScale = 1.25; // of the ordinary font size

constexpr std::array<const char*, 3> kSteps{
    QT_TRANSLATE_NOOP("Vantor::EmptyView", "Connect the PROG port of your Titan Two to this computer."),
    QT_TRANSLATE_NOOP("Vantor::EmptyView", "Connect its OUT port to the console."),
    QT_TRANSLATE_NOOP("Vantor::EmptyView", "It appears in the list above by itself. Then start the bridge."),
};

/// An adapter with an unplugged cable, in the palette's colours.
class AdapterPicture : public QWidget {
public:
    explicit AdapterPicture(QWidget* parent) : QWidget(parent) {
        setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    }
    QSize sizeHint() const override {
        const int unit = fontMetrics().height();
        return {unit * 8, unit * 4};
    }

protected:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        // The drawing's own units: 160 x 80.
        const double scale = std::min(width() / 160.0, height() / 80.0);
        painter.translate(width() / 2.0, height() / 2.0);
        painter.scale(scale, scale);
        painter.translate(-80, -40);
        const QColor window = palette().color(QPalette::Window);
        const QColor line = toneOn(palette(), Tone::muted, QPalette::Window, kShapeContrast);
        const QColor accent = toneOn(palette(), Tone::accent, QPalette::Window, kShapeContrast);
        painter.setPen(QPen(line, 2.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.setBrush(blended(line, window, 0.12));
        painter.drawRoundedRect(QRectF(14, 22, 72, 36), 7, 7);
        painter.drawRect(QRectF(86, 31, 7, 18));
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(accent, 2.5, Qt::DotLine, Qt::RoundCap));
        painter.drawLine(QPointF(99, 40), QPointF(110, 40));
        painter.setPen(QPen(accent, 2.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.setBrush(blended(accent, window, 0.2));
        painter.drawRect(QRectF(115, 33, 10, 14));
        painter.drawRoundedRect(QRectF(125, 29, 16, 22), 4, 4);
        painter.drawLine(QPointF(141, 40), QPointF(157, 40));
        painter.setPen(Qt::NoPen);
        painter.setBrush(line);
        painter.drawEllipse(QPointF(28, 40), 4, 4);
        painter.drawEllipse(QPointF(42, 40), 4, 4);
    }
};

QLabel* paragraph(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setWordWrap(true);
    label->setTextFormat(Qt::PlainText);
    label->setAccessibleName(text);
    label->setToolTip(EmptyView::tr("How to connect a Titan Two"));
    return label;
}

} // namespace

EmptyView::EmptyView(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("emptyView"));
    const int unit = fontMetrics().height();
    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(unit / 2, unit, unit / 2, unit);
    rows->setSpacing(unit / 2);
    rows->addWidget(new AdapterPicture(this));

    QLabel* const heading = paragraph(tr("Connect your Titan Two"), this);
    QFont large = heading->font();
    large.setPointSizeF(large.pointSizeF() * kHeadingScale);
    large.setBold(true);
    heading->setFont(large);
    heading->setAlignment(Qt::AlignCenter);
    rows->addWidget(heading);
    for (std::size_t i = 0; i < kSteps.size(); ++i)
        rows->addWidget(paragraph(tr("%1. %2").arg(i + 1).arg(tr(kSteps[i])), this));

    auto* again = new QPushButton(tr("Look Again"), this);
    again->setObjectName(QStringLiteral("lookAgainButton"));
    again->setAccessibleName(again->text());
    again->setToolTip(tr("Look for Titan Two devices now"));
    connect(again, &QPushButton::clicked, this, &EmptyView::refreshRequested);
    rows->addWidget(again, 0, Qt::AlignCenter);
    rows->addStretch(1);
}

} // namespace Vantor
