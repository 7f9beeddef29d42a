#include "ui/memory_slot_item.h"

#include "ui/elided_label.h"
#include "ui/glyph_button.h"
#include "ui/panel_colours.h"
#include "ui/plain_tool_tip.h"
#include "ui/slot_drag.h"

#include <QDragEnterEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QStyle>
#include <QVBoxLayout>

#include <algorithm>
#include <array>

namespace Vantor {

namespace {

constexpr double kDetailsScale = 0.88; // of the ordinary font size

/// In a narrower slot the badge alone says that it is loaded, so that the name has room.
constexpr int kMarkCharacters = 36;

struct MenuEntry {
    SlotAction action;
    const char* text;
    const char* hint;
    bool needsAdapter;
};

constexpr std::array<MenuEntry, 4> kMenuEntries{{
    {SlotAction::loadScriptFile, QT_TRANSLATE_NOOP("Vantor::MemorySlotItem", "Load GPC Script..."),
     QT_TRANSLATE_NOOP("Vantor::MemorySlotItem", "Choose a script, as source or bytecode, for this slot"),
     false},
    {SlotAction::loadTranslatorFile, QT_TRANSLATE_NOOP("Vantor::MemorySlotItem", "Load Input Translator..."),
     QT_TRANSLATE_NOOP("Vantor::MemorySlotItem", "Choose an input translator for this slot"), false},
    {SlotAction::removeScript, QT_TRANSLATE_NOOP("Vantor::MemorySlotItem", "Remove GPC Script"),
     QT_TRANSLATE_NOOP("Vantor::MemorySlotItem", "Clear the script; an input translator stays"), true},
    {SlotAction::removeInputTranslator,
     QT_TRANSLATE_NOOP("Vantor::MemorySlotItem", "Remove Input Translator"),
     QT_TRANSLATE_NOOP("Vantor::MemorySlotItem", "Clear the input translator; a script stays"), true},
}};

/// What there is to say about a slot besides its title, most important first.
QString detailsOf(const TitanScriptInfo& info) {
    QStringList parts;
    if (!info.author.isEmpty())
        parts += MemorySlotItem::tr("by %1").arg(info.author);
    if (!info.inputTranslator.isEmpty() && !info.name.isEmpty())
        parts += info.inputTranslator;
    return parts.join(QStringLiteral(" \u00B7 "));
}

QString titleOf(const TitanScriptInfo& info) {
    if (info.name.isEmpty())
        return info.inputTranslator;
    return info.version.isEmpty() ? info.name : info.name + u' ' + info.version;
}

} // namespace

MemorySlotItem::MemorySlotItem(int slotNumber, QWidget* parent)
    : QFrame(parent),
      number(slotNumber),
      title(new ElidedLabel(this)),
      details(new ElidedLabel(this)),
      mark(new ElidedLabel(this)),
      run(new GlyphButton(Glyph::run, this)),
      more(new GlyphButton(Glyph::more, this)) {
    setObjectName(QStringLiteral("memorySlot%1").arg(number));
    setFocusPolicy(Qt::StrongFocus);
    setAcceptDrops(true);
    buildButtons();
    buildLayout();
    setUnknown();
}

void MemorySlotItem::buildButtons() {
    // The item's own keys do the same, and twenty-seven stops for the tab key would be too many.
    for (GlyphButton* const button : {run, more})
        button->setFocusPolicy(Qt::NoFocus);
    run->setObjectName(QStringLiteral("runSlot%1").arg(number));
    run->setAccessibleName(tr("Run slot %1").arg(number));
    run->setToolTip(tr("Let the device run this slot (Space)"));
    more->setObjectName(QStringLiteral("slotMenuButton%1").arg(number));
    more->setAccessibleName(tr("Actions of slot %1").arg(number));
    more->setToolTip(tr("Load or remove a script or an input translator (Enter)"));
    connect(run, &QToolButton::clicked, this, [this] { request(SlotAction::run); });
    connect(more, &QToolButton::clicked, this, &MemorySlotItem::openMenuHere);
}

void MemorySlotItem::buildLayout() {
    details->setFontScale(kDetailsScale);
    details->setTone(Tone::muted);
    mark->setText(tr("Loaded"));
    mark->setTone(Tone::accent);
    mark->setFontScale(kDetailsScale, true);
    mark->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Preferred);
    mark->setHint(tr("The device runs this slot"));
    const int unit = std::max(fontMetrics().height() / 5, 2);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(0);
    texts->addWidget(title);
    texts->addWidget(details);
    auto* row = new QHBoxLayout(this);
    // Room for the badge on the left.
    row->setContentsMargins(unit * 3 + fontMetrics().height() * 3 / 2, unit, unit, unit);
    row->setSpacing(unit);
    row->addLayout(texts, 1);
    for (QWidget* const widget : std::initializer_list<QWidget*>{mark, run, more})
        row->addWidget(widget, 0, Qt::AlignVCenter);
}

// ---- What it shows ----

void MemorySlotItem::setContent(const TitanScriptInfo& info) {
    present(Content::occupied, titleOf(info), detailsOf(info));
}

void MemorySlotItem::setEmpty() {
    present(Content::empty, tr("Empty"), {});
}

void MemorySlotItem::setUnknown() {
    present(Content::unknown, QStringLiteral("\u2013"), {});
}

void MemorySlotItem::present(Content what, const QString& titleText, const QString& detailsText) {
    content = what;
    title->setText(titleText);
    title->setTone(what == Content::occupied ? Tone::normal : Tone::muted);
    details->setText(detailsText);
    details->setVisible(!detailsText.isEmpty());
    const bool hasContent = what == Content::occupied;
    if (property("hasContent") != QVariant(hasContent)) {
        setProperty("hasContent", hasContent);
        style()->unpolish(this); // or a style sheet would not look at the property again
        style()->polish(this);
    }
    describe();
}

void MemorySlotItem::setLoaded(bool isLoaded) {
    loaded = isLoaded;
    title->setFontScale(1.0, loaded);
    describe();
}

void MemorySlotItem::setAvailable(bool isAvailable) {
    available = isAvailable;
    describe();
}

void MemorySlotItem::setTransferShare(double share) {
    if (share == transferShare)
        return;
    transferShare = share;
    update();
}

void MemorySlotItem::describe() {
    mark->setVisible(loaded && width() >= fontMetrics().averageCharWidth() * kMarkCharacters);
    run->setVisible(available && content == Content::occupied && !loaded);
    QStringList parts{tr("Slot %1").arg(number), title->text()};
    if (!details->text().isEmpty())
        parts += details->text();
    if (loaded)
        parts += tr("loaded");
    const QString description = parts.join(QStringLiteral(", "));
    setAccessibleName(description);
    const QString advice = run->isVisibleTo(this)
                               ? tr("Double-click to run it; right-click for more")
                               : tr("Double-click or drop a file to load a script; right-click for more");
    setToolTip(plainToolTip(description + u'\n' + advice));
    update();
}

QRectF MemorySlotItem::badgeArea() const {
    const double side = fontMetrics().height() * 1.25;
    return {layout()->contentsMargins().top() * 1.5, (height() - side) / 2, side, side};
}

void MemorySlotItem::paintEvent(QPaintEvent* event) {
    QFrame::paintEvent(event);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor window = palette().color(QPalette::Window);
    const QColor accent = toneOn(palette(), Tone::accent, QPalette::Window, kShapeContrast);
    const QColor text = palette().color(QPalette::WindowText);
    const double corner = fontMetrics().height() / 4.0;
    const QRectF frame = QRectF(rect()).adjusted(1, 1, -1, -1);

    // From strongest to weakest: a file hovers over it, the focus, the adapter runs it, the mouse, content.
    const bool strong = dropTarget || hasFocus();
    const double fill = dropTarget ? 0.25 : loaded ? 0.12 : 0.0;
    painter.setPen(strong ? QPen(accent, 2) : QPen(blended(text, window, underMouse() ? 0.45 : 0.16), 1));
    if (content != Content::occupied && !strong)
        painter.setPen(QPen(painter.pen().color(), 1, Qt::DashLine));
    if (fill > 0)
        painter.setBrush(blended(accent, window, fill));
    else if (content == Content::occupied)
        painter.setBrush(blended(palette().color(QPalette::Base), window, 0.6));
    painter.drawRoundedRect(frame, corner, corner);

    if (transferShare >= 0) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(accent);
        const double thick = std::max(corner / 2, 2.0);
        painter.drawRect(QRectF(frame.left() + corner, frame.bottom() - thick,
                                (frame.width() - 2 * corner) * transferShare, thick));
    }
    const QRectF badge = badgeArea();
    painter.setPen(Qt::NoPen);
    painter.setBrush(loaded ? accent : blended(text, window, 0.1));
    painter.drawRoundedRect(badge, corner, corner);
    painter.setPen(loaded ? readableOn(accent, window, kTextContrast) : toneOn(palette(), Tone::muted));
    painter.drawText(badge, Qt::AlignCenter, QString::number(number));
}

// ---- What it asks for ----

void MemorySlotItem::request(SlotAction action) {
    emit actionRequested(action, number - 1);
}

void MemorySlotItem::runOrFill() {
    if (content != Content::occupied)
        request(SlotAction::loadScriptFile);
    else if (available)
        request(SlotAction::run);
}

void MemorySlotItem::openMenu(const QPoint& globalPosition) {
    if (menu) // some platforms follow the menu key with a request of their own
        return;
    menu = new QMenu(this);
    menu->setObjectName(QStringLiteral("slotMenu"));
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setAccessibleName(tr("Actions of slot %1").arg(number));
    menu->setToolTip(menu->accessibleName());
    menu->setToolTipsVisible(true);
    for (const MenuEntry& entry : kMenuEntries) {
        QAction* const action =
            menu->addAction(tr(entry.text), this, [this, &entry] { request(entry.action); });
        action->setToolTip(tr(entry.hint));
        action->setEnabled(available || !entry.needsAdapter);
    }
    menu->popup(globalPosition);
}

void MemorySlotItem::openMenuHere() {
    openMenu(more->mapToGlobal(QPoint(0, more->height())));
}

void MemorySlotItem::contextMenuEvent(QContextMenuEvent* event) {
    if (event->reason() == QContextMenuEvent::Mouse)
        openMenu(event->globalPos());
    else
        openMenuHere();
}

void MemorySlotItem::keyPressEvent(QKeyEvent* event) {
    const bool shiftF10 = event->key() == Qt::Key_F10 && event->modifiers() == Qt::ShiftModifier;
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Menu:
        openMenuHere();
        return;
    case Qt::Key_Space:
        runOrFill();
        return;
    default:
        break;
    }
    if (shiftF10)
        openMenuHere();
    else
        QFrame::keyPressEvent(event);
}

void MemorySlotItem::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton)
        runOrFill();
}

// ---- Files dropped on it ----

void MemorySlotItem::setDropTarget(bool isTarget) {
    dropTarget = isTarget;
    update();
}

void MemorySlotItem::dragEnterEvent(QDragEnterEvent* event) {
    if (!isSlotDrag(*event->mimeData())) {
        event->ignore();
        return;
    }
    event->setDropAction(Qt::CopyAction); // the file stays where it is, whatever its owner offers
    event->accept();
    setDropTarget(true);
}

void MemorySlotItem::dragMoveEvent(QDragMoveEvent* event) {
    event->setDropAction(Qt::CopyAction);
    event->setAccepted(dropTarget);
}

void MemorySlotItem::dragLeaveEvent(QDragLeaveEvent* /*event*/) {
    setDropTarget(false);
}

void MemorySlotItem::dropEvent(QDropEvent* event) {
    setDropTarget(false);
    const std::optional<DroppedFile> file = checkedDrop(*event->mimeData());
    if (!file) {
        event->ignore();
        emit dropRefused();
        return;
    }
    event->setDropAction(Qt::CopyAction);
    event->accept();
    setFocus(Qt::OtherFocusReason);
    emit fileDropped(number - 1, *file);
}

// ---- Looks that follow focus and mouse ----

void MemorySlotItem::focusInEvent(QFocusEvent* event) {
    QFrame::focusInEvent(event);
    update();
}

void MemorySlotItem::focusOutEvent(QFocusEvent* event) {
    QFrame::focusOutEvent(event);
    update();
}

void MemorySlotItem::resizeEvent(QResizeEvent* event) {
    QFrame::resizeEvent(event);
    describe();
}

void MemorySlotItem::enterEvent(QEnterEvent* event) {
    QFrame::enterEvent(event);
    update();
}

void MemorySlotItem::leaveEvent(QEvent* event) {
    QFrame::leaveEvent(event);
    update();
}

} // namespace Vantor
