#include "host_window.h"

#include "controller_view.h"
#include "flexible_dock_widget.h"
#include "host/run_status_card.h"
#include "log_view.h"
#include "plugin_session.h"
#include "script_library.h"

#include <QCloseEvent>
#include <QFileDialog>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSplitter>
#include <QVBoxLayout>

namespace Vantor::devhost {

namespace {

constexpr int kWindowWidth = 1180;
constexpr int kWindowHeight = 860;
constexpr int kDockWidth = 400;
constexpr int kControlsWidth = 330;

QGroupBox* groupOf(const QString& title, QWidget* content, QWidget* parent) {
    auto* group = new QGroupBox(title, parent);
    auto* rows = new QVBoxLayout(group);
    rows->addWidget(content);
    return group;
}

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
    controls->setMinimumWidth(kControlsWidth);
    controls->attachTo(session.runController());

    auto* lists = new QSplitter(Qt::Vertical, centre);
    lists->setChildrenCollapsible(false);
    lists->addWidget(buildScripts());
    lists->addWidget(groupOf(tr("Log"), new LogView(lists), lists));
    lists->setStretchFactor(0, 3);
    lists->setStretchFactor(1, 2);

    auto* rows = new QVBoxLayout(centre);
    rows->addWidget(controls, 0, Qt::AlignLeft);
    rows->addWidget(groupOf(tr("Controller"), new ControllerView(session.memoryBlocks(), centre), centre));
    rows->addWidget(lists, 1);
    return centre;
}

QWidget* HostWindow::buildScripts() {
    auto* content = new QWidget(this);
    library = new ScriptLibrary(content);
    library->showFolder(ScriptLibrary::examplesFolder());
    auto* hint = new QLabel(tr("Drag one onto a memory slot. Keys and mouse in this window can be captured."),
                            content);
    hint->setWordWrap(true);
    hint->setForegroundRole(QPalette::PlaceholderText);
    auto* folder = new QPushButton(tr("Open folder…"), content);
    folder->setToolTip(tr("List the scripts of another folder"));
    connect(folder, &QPushButton::clicked, this, &HostWindow::chooseFolder);
    auto* foot = new QHBoxLayout;
    foot->addWidget(hint, 1);
    foot->addWidget(folder);
    auto* rows = new QVBoxLayout(content);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->addWidget(library, 1);
    rows->addLayout(foot);
    return groupOf(tr("Scripts"), content, this);
}

void HostWindow::chooseFolder() {
    const QString folder =
        QFileDialog::getExistingDirectory(this, tr("Open folder"), ScriptLibrary::examplesFolder());
    if (!folder.isEmpty())
        library->showFolder(folder);
}

void HostWindow::closeEvent(QCloseEvent* event) {
    QMainWindow::closeEvent(event);
    if (event->isAccepted())
        emit closed();
}

} // namespace Vantor::devhost
