#include "flexible_dock_widget.h"

#include "host/run_status_card.h"

#include <QAction>
#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>

namespace Vantor {

FlexibleDockWidget::FlexibleDockWidget(const QString& title, QWidget* parent)
    : QDockWidget(title, parent), titleButtons(new QHBoxLayout) {
    setFeatures(DockWidgetMovable | DockWidgetFloatable);
    auto* bar = new QWidget(this);
    auto* row = new QHBoxLayout(bar);
    row->setContentsMargins(8, 2, 4, 2);
    auto* caption = new QLabel(title, bar);
    QFont bold = caption->font();
    bold.setBold(true);
    caption->setFont(bold);
    row->addWidget(caption, 1);
    row->addLayout(titleButtons);
    setTitleBarWidget(bar);
}

void FlexibleDockWidget::addPluginAction(QAction* action) {
    if (action == nullptr)
        return;
    auto* button = new ThemedToolButton(titleBarWidget());
    button->setDefaultAction(action);
    button->setAccessibleName(action->text());
    // Not with the button as the receiver: it cuts all connections from an action that it loses.
    connect(action, &QObject::destroyed, this, [button = QPointer(button)] {
        if (button)
            button->deleteLater();
    });
    titleButtons->addWidget(button);
}

} // namespace Vantor
