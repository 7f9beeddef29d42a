#include "host_window.h"

#include "flexible_dock_widget.h"
#include "host/run_status_card.h"
#include "log_view.h"
#include "plugin_session.h"

#include <QVBoxLayout>

namespace Vantor::devhost {

namespace {

constexpr int kWindowWidth = 1000;
constexpr int kWindowHeight = 780;
constexpr int kDockWidth = 330;

} // namespace

HostWindow::HostWindow(PluginSession& session) {
    setWindowTitle(tr("FerryLink development host"));
    auto* dock = new FlexibleDockWidget(tr("Ferry Link"), this);
    dock->setObjectName(QStringLiteral("ferryLinkDock"));
    dock->setWidget(session.createPanel(dock));
    addDockWidget(Qt::LeftDockWidgetArea, dock);
    setCentralWidget(buildCentre(session));
    resize(kWindowWidth, kWindowHeight);
    resizeDocks({dock}, {kDockWidth}, Qt::Horizontal);
}

QWidget* HostWindow::buildCentre(PluginSession& session) {
    auto* centre = new QWidget(this);
    auto* controls = new RunStatusCard(centre);
    controls->runButton()->setActionText(tr("Plug-in"));
    controls->setMetricsText(tr("The host's run controls"));
    controls->setMinimumWidth(kDockWidth);
    controls->attachTo(session.runController());
    auto* rows = new QVBoxLayout(centre);
    rows->addWidget(controls, 0, Qt::AlignLeft);
    rows->addWidget(new LogView(centre), 1);
    return centre;
}

} // namespace Vantor::devhost
