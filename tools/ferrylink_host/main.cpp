// ferrylink-host: loads the plug-in as any host would, in a window or without one, with a simulated adapter
// in hidapi's place or with the real library, and measures what passes through.

#include "command_line.h"
#include "host/logging_service.h"
#include "host_run.h"
#include "host_window.h"
#include "input_publisher.h"
#include "interrupt.h"
#include "plugin_session.h"
#include "virtual_adapter_library.h"

#include <QApplication>

#include <cstdio>
#include <memory>

namespace {

using namespace Vantor;
using namespace Vantor::devhost;

constexpr char kVirtualSerial[] = "VIRTUAL-0001";

/// Of the test pattern that is captured where there is no window to type in.
constexpr double kPatternHz = 125;

int refuse(const QString& why) {
    std::fprintf(stderr, "ferrylink-host: %s\n", qPrintable(why));
    return kExitFailed;
}

/// Where windows need a display that the environment names, a missing one would end the process in Qt.
bool displayIsMissing() {
    return FERRYLINK_DISPLAY_BY_ENVIRONMENT && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") &&
           qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

int conclude(const Options& options, const RunReport& report) {
    std::fputs(qPrintable(report.summary()), stdout);
    std::fflush(stdout);
    QString error;
    if (!options.reportFile.isEmpty() && !report.write(options.reportFile, error))
        return refuse(error);
    return report.failures.isEmpty() ? kExitFine : kExitFailed;
}

int run(const Options& options) {
    // Before everything that refers to hidapi, and destroyed after it.
    std::unique_ptr<VirtualAdapterLibrary> adapter;
    if (options.virtualAdapter) {
        adapter = std::make_unique<VirtualAdapterLibrary>();
        if (!adapter->load(options.serial.isEmpty() ? QString::fromLatin1(kVirtualSerial) : options.serial))
            return refuse(adapter->errorString());
        if (options.statesHz)
            adapter->setStateRate(*options.statesHz);
    }
    PluginSession session;
    if (!session.open(options))
        return refuse(session.errorString());
    InputPublisher input;
    if (!input.open(session.memoryBlocks()))
        return refuse(input.errorString());
    HostRun hostRun(options, session, adapter.get());
    std::unique_ptr<HostWindow> window;
    if (!options.headless) {
        window = std::make_unique<HostWindow>(session);
        QObject::connect(window.get(), &HostWindow::closed, &hostRun, &HostRun::interrupt);
        window->show();
        input.watch(window->windowHandle());
    } else if (options.capture.any()) {
        input.publishPattern(kPatternHz);
    }
    Interrupt interrupt;
    QObject::connect(&interrupt, &Interrupt::requested, &hostRun, &HostRun::interrupt);
    QObject::connect(&hostRun, &HostRun::ended, QCoreApplication::instance(), &QCoreApplication::quit,
                     Qt::QueuedConnection);
    QMetaObject::invokeMethod(&hostRun, &HostRun::begin, Qt::QueuedConnection);
    QCoreApplication::exec();

    const RunReport report = hostRun.finish();
    session.shutDown();
    return conclude(options, report);
}

} // namespace

int main(int argc, char** argv) {
    int exitCode = kExitFine;
    const std::optional<Options> options = parseCommandLine(argc, argv, exitCode);
    if (!options)
        return exitCode;
    if (!options->headless && displayIsMissing())
        return refuse(QStringLiteral("There is no display for a window. Use --headless, or set DISPLAY."));
    int qtArgc = 1; // the options are ours, none of them is for Qt
    std::unique_ptr<QCoreApplication> application;
    if (options->headless)
        application = std::make_unique<QCoreApplication>(qtArgc, argv);
    else
        application = std::make_unique<QApplication>(qtArgc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("ferrylink-host"));
    return run(*options);
}
