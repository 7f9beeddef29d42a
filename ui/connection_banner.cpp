#include "ui/connection_banner.h"

#include "ui/elided_label.h"
#include "ui/panel_colours.h"

#include <QPainter>
#include <QVBoxLayout>

#include <array>

namespace Vantor {

namespace {

struct StateLook {
    const char* text;
    const char* advice;
    Tone tone;
};

// In the order of ConnectionState.
constexpr std::array<StateLook, 4> kStateLooks{{
    {QT_TRANSLATE_NOOP("Vantor::ConnectionBanner", "Disconnected"),
     QT_TRANSLATE_NOOP("Vantor::ConnectionBanner", "Start the bridge to connect"), Tone::muted},
    {QT_TRANSLATE_NOOP("Vantor::ConnectionBanner", "Connecting\u2026"),
     QT_TRANSLATE_NOOP("Vantor::ConnectionBanner", "Waiting for the device to answer"), Tone::caution},
    {QT_TRANSLATE_NOOP("Vantor::ConnectionBanner", "Connected"),
     QT_TRANSLATE_NOOP("Vantor::ConnectionBanner", "Frames go to the device"), Tone::good},
    {QT_TRANSLATE_NOOP("Vantor::ConnectionBanner", "Reconnecting\u2026"),
     QT_TRANSLATE_NOOP("Vantor::ConnectionBanner", "Plug the device in again to go on"), Tone::caution},
}};

constexpr double kAdviceScale = 0.88; // of the ordinary font size
constexpr double kFillShare = 0.12;   // of the state's colour in the background
constexpr double kEdgeShare = 0.5;

const StateLook& lookOf(ConnectionState state) {
    return kStateLooks[static_cast<std::size_t>(state)];
}

} // namespace

ConnectionBanner::ConnectionBanner(QWidget* parent)
    : QFrame(parent), title(new ElidedLabel(this)), advice(new ElidedLabel(this)) {
    title->setObjectName(QStringLiteral("connectionState"));
    title->setAccessibleName(tr("Connection"));
    title->setHint(tr("The connection to the selected device"));
    title->setFontScale(1.0, true);
    advice->setFontScale(kAdviceScale);
    advice->setTone(Tone::muted);
    advice->setAccessibleName(tr("Connection advice"));

    auto* rows = new QVBoxLayout(this);
    const int unit = fontMetrics().height() / 3;
    rows->setContentsMargins(unit * 6, unit, unit, unit);
    rows->setSpacing(0);
    rows->addWidget(title);
    rows->addWidget(advice);
    setState(ConnectionState::disconnected);
}

void ConnectionBanner::setState(ConnectionState state) {
    shown = state;
    title->setText(tr(lookOf(state).text));
    advice->setText(tr(lookOf(state).advice));
    advice->setHint(advice->text());
    update();
}

void ConnectionBanner::paintEvent(QPaintEvent* event) {
    QFrame::paintEvent(event);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor window = palette().color(QPalette::Window);
    const QColor sign = toneOn(palette(), lookOf(shown).tone, QPalette::Window, kShapeContrast);
    painter.setPen(blended(sign, window, kEdgeShare));
    painter.setBrush(blended(sign, window, kFillShare));
    const double corner = fontMetrics().height() / 3.0;
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), corner, corner);

    // A ring when nothing runs, so that the state does not hang on the colour alone.
    const double radius = fontMetrics().height() * 0.3;
    const QPointF centre(contentsMargins().left() + layout()->contentsMargins().left() / 2.0, height() / 2.0);
    painter.setPen(QPen(sign, radius * 0.5));
    painter.setBrush(shown == ConnectionState::disconnected ? QBrush(Qt::NoBrush) : QBrush(sign));
    painter.drawEllipse(centre, radius, radius);
}

} // namespace Vantor
