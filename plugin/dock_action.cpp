#include "plugin/dock_action.h"

#include "ui/ferry_link_widget.h"

#include <QAction>
#include <QCoreApplication>
#include <QDockWidget>

#include <cstring>

namespace Vantor {

namespace {

// The dock's type is the host's own; its name and one invokable method are all
// that is known of it.
constexpr char kDockClassName[] = "Vantor::FlexibleDockWidget";
constexpr char kAddActionMethod[] = "addPluginAction";

QDockWidget* dockOf(const QWidget& panel) {
    for (QWidget* above = panel.parentWidget(); above != nullptr; above = above->parentWidget()) {
        auto* dock = qobject_cast<QDockWidget*>(above);
        if (dock != nullptr && std::strcmp(dock->metaObject()->className(), kDockClassName) == 0)
            return dock;
    }
    return nullptr;
}

} // namespace

void addRestartActionToDock(FerryLinkWidget& panel) {
    QDockWidget* const dock = dockOf(panel);
    if (dock == nullptr)
        return;
    auto* action =
        new QAction(QCoreApplication::translate("Vantor::FerryLinkPlugin", "Restart Bridge"), &panel);
    action->setToolTip(
        QCoreApplication::translate("Vantor::FerryLinkPlugin", "Restart the Ferry Link connection"));
    QObject::connect(action, &QAction::triggered, &panel, &FerryLinkWidget::onRestartClicked);
    if (!QMetaObject::invokeMethod(dock, kAddActionMethod, Qt::DirectConnection, Q_ARG(QAction*, action)))
        delete action;
}

} // namespace Vantor
