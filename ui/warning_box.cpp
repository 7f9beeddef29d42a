#include "ui/warning_box.h"

#include <QClipboard>
#include <QCoreApplication>
#include <QFontDatabase>
#include <QGridLayout>
#include <QGuiApplication>
#include <QLabel>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>

#include <algorithm>

namespace Vantor {

namespace {

constexpr int kColumns = 56; // characters of the text's font
constexpr int kMinLines = 3;
constexpr int kMaxLines = 12;

QString say(const char* text) {
    return QCoreApplication::translate("Vantor::WarningBox", text);
}

/// In the place of the box's own label, which neither scrolls nor can be read line by line.
void addListing(QMessageBox& box, const QString& text) {
    auto* const grid = qobject_cast<QGridLayout*>(box.layout());
    auto* const label = box.findChild<QLabel*>(QStringLiteral("qt_msgbox_label"));
    if (grid == nullptr || label == nullptr)
        return;
    const int place = grid->indexOf(label);
    int row = 0;
    int column = 0;
    int rowSpan = 0;
    int columnSpan = 0;
    grid->getItemPosition(place, &row, &column, &rowSpan, &columnSpan);
    label->hide();

    auto* view = new QPlainTextEdit(text, &box);
    view->setObjectName(QStringLiteral("warningText"));
    view->setReadOnly(true);
    view->setTabChangesFocus(true);
    view->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    view->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    view->setAccessibleName(box.windowTitle());
    view->setToolTip(say("Select any part of the text to copy it"));
    const QFontMetrics metrics(view->font());
    const int lines = std::clamp(static_cast<int>(text.count(u'\n')) + 1 + text.size() / kColumns, //
                                 qsizetype{kMinLines}, qsizetype{kMaxLines});
    const int frame = 2 * (view->frameWidth() + static_cast<int>(view->document()->documentMargin()));
    view->setMinimumSize(metrics.averageCharWidth() * kColumns + frame,
                         metrics.lineSpacing() * lines + frame);
    grid->addWidget(view, row, column, rowSpan, columnSpan);
}

void addCopyButton(QMessageBox& box, const QString& text) {
    auto* const copy = box.addButton(say("&Copy"), QMessageBox::ActionRole);
    copy->setObjectName(QStringLiteral("copyButton"));
    copy->setToolTip(say("Copy the text to the clipboard"));
    copy->setAccessibleName(say("Copy"));
    copy->disconnect(); // else the box would close with it
    QObject::connect(copy, &QPushButton::clicked, &box,
                     [text] { QGuiApplication::clipboard()->setText(text); });
}

/// A listing makes the one before it obsolete, and nobody needs the same sentence twice; other sentences stay
/// until they are read, up to a number that nobody reads.
void closeObsolete(const QWidget* panel, const QString& title, const QString& text, WarningText kind) {
    constexpr qsizetype kMostOfATitle = 8;
    QList<QMessageBox*> open = panel->findChildren<QMessageBox*>(Qt::FindDirectChildrenOnly);
    open.removeIf([&](const QMessageBox* box) { return box->windowTitle() != title || !box->isVisible(); });
    const qsizetype tooMany = open.size() - kMostOfATitle + 1;
    for (qsizetype i = 0; i < open.size(); ++i)
        if (kind == WarningText::listing || open[i]->text() == text || i < tooMany)
            open[i]->close();
}

} // namespace

void showWarning(QWidget* panel, const QString& title, const QString& text, WarningText kind) {
    closeObsolete(panel, title, text, kind);
    auto* box = new QMessageBox(QMessageBox::Warning, title, text, QMessageBox::Ok, panel);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setTextFormat(Qt::PlainText);
    box->setWindowModality(Qt::NonModal);
    addCopyButton(*box, text);
    if (kind == WarningText::listing)
        addListing(*box, text);
    else
        box->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    QAbstractButton* const done = box->button(QMessageBox::Ok);
    done->setAccessibleName(say("OK"));
    done->setToolTip(say("Close this message"));
    box->setDefaultButton(QMessageBox::Ok);
    box->setEscapeButton(QMessageBox::Ok);
    box->show();
}

} // namespace Vantor
