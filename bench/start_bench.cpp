// What the host waits for at its start and end because of us: loading the plug-in, settings and blocks,
// initialize(), and shutdown(). Beside a plug-in that does nothing but use hidapi, and beside what a person
// could notice. Each sample is a host process of its own, since a library that was loaded once is never as
// new again. Processor time.
#include "bench/comparison.h"
#include "host/iui_plugin.h"
#include "host/logging_service.h"
#include "host/memory_block_host.h"
#include "host/settings_manager.h"

#include <QApplication>
#include <QPluginLoader>
#include <QProcess>
#include <QTemporaryDir>

#include <cstdio>

namespace {

using namespace Vantor;

constexpr int kWarmUp = 3;
constexpr int kSamples = 60;
constexpr double kDisplayFrameNs = 1e9 / 60;
constexpr double kUnnoticed = 1;

/// In the process of one sample. Nanoseconds.
double startAndEnd(const QString& pluginFile) {
    LoggingService::instance().setStderrEnabled(false);
    MemoryBlockHost blocks;
    if (!blocks.create(standardBlocks(QStringLiteral("start-%1").arg(QCoreApplication::applicationPid()))))
        qFatal("%s", qPrintable(blocks.errorString()));
    const QTemporaryDir directory;
    SettingsManager settings(directory.filePath(QStringLiteral("settings.ini")));

    const double start = bench::processorTimeNs();
    QPluginLoader loader(pluginFile);
    auto* const plugin = qobject_cast<IUIPlugin*>(loader.instance());
    if (plugin == nullptr)
        qFatal("%s", qPrintable(loader.errorString()));
    plugin->setSettingsManager(&settings);
    plugin->setMemoryBlocks(blocks.blocks());
    if (!plugin->initialize())
        qFatal("%s cannot be initialised", qPrintable(pluginFile));
    plugin->shutdown();
    const double spent = bench::processorTimeNs() - start;
    delete loader.instance();
    return spent;
}

/// In a new process. Nanoseconds.
double sampleNs(const QString& pluginFile) {
    QProcess host;
    host.start(QCoreApplication::applicationFilePath(), {pluginFile});
    host.waitForFinished();
    bool isNumber = false;
    const double spent = host.readAllStandardOutput().toDouble(&isNumber);
    if (!isNumber)
        qFatal("no time from a host with %s: %s", qPrintable(pluginFile),
               host.readAllStandardError().constData());
    return spent;
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    if (argc > 1) {
        std::printf("%.0f\n", startAndEnd(QString::fromLocal8Bit(argv[1])));
        return 0;
    }
    const auto sample = [](const char* file) {
        return [path = QString::fromUtf8(file)] { return sampleNs(path); };
    };
    constexpr const char* kWhat = "start and end of the plug-in";
    bench::Samples samples =
        bench::inTurns(kWarmUp, kSamples, sample(FERRYLINK_PLUGIN_FILE), sample(FERRYLINK_BARE_PLUGIN_FILE));
    bench::print(kWhat, "a plug-in that only asks hidapi for adapters", std::nullopt, samples);
    samples.baseline.assign(samples.ours.size(), kDisplayFrameNs);
    bench::print(kWhat, "one picture of a 60 Hz display", kUnnoticed, samples);
    return 0;
}
