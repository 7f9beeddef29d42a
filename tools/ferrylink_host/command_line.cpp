#include "command_line.h"

#include "host/memory_block_host.h"

#include <CLI/CLI.hpp>
#include <QFileInfo>

#include <string>
#include <vector>

namespace Vantor::devhost {

namespace {

constexpr double kDefaultFeedHz = 1000;
constexpr qint64 kDefaultHeadlessFrames = 5000;
constexpr int kMinFrameBytes = 20; // what a test frame needs
constexpr int kMaxFrameBytes = 256;
constexpr double kMaxDurationS = 7 * 24 * 3600;
constexpr unsigned kMaxStatesHz = 10'000;
constexpr int kMaxDelayMs = 3'600'000;

constexpr char kExamples[] =
    "Examples:\n"
    "  ferrylink-host                                  a window with a simulated adapter\n"
    "  ferrylink-host --feed 1000                      the same, fed with 1000 frames a second\n"
    "  ferrylink-host --headless                       5000 frames at 1 kHz, then a summary\n"
    "  ferrylink-host --headless --frames 20000 --report run.json\n"
    "  ferrylink-host --headless --duration 5 --feed 500 --unplug-after 1000 --replug-after 1000\n"
    "                                                  lose the adapter under load, and get it back\n"
    "  ferrylink-host --headless --load 1=examples/toggle.gpc --capture keyboard,mouse\n"
    "                                                  compile a script into slot 1, capture a test pattern\n"
    "  ferrylink-host --adapter usb                    a window for the adapters on this machine's USB\n"
    "  ferrylink-host --adapter usb --serial 12345678 --headless --duration 10 --feed 250\n"
    "\n"
    "Several hosts can run side by side, each with an --instance of its own.\n"
    "Exit: 0 fine; 1 something it was told to do did not happen (it says what); 2 wrong usage.";

/// The values as CLI11 keeps them.
struct Texts {
    std::string adapter = "virtual";
    std::string serial;
    std::string plugin;
    std::string report;
    std::string settings;
    std::string instance;
    std::vector<std::string> loads;
    std::vector<std::string> capture;
};

void declareTarget(CLI::App& app, Options& options, Texts& texts) {
    app.add_option("--adapter", texts.adapter, "A simulated adapter, or real ones over USB: virtual or usb")
        ->type_name("KIND")
        ->check(CLI::IsMember({"virtual", "usb"}).description(""))
        ->capture_default_str();
    app.add_option("--serial", texts.serial,
                   "Use the adapter with this serial number, and remember it as if chosen in the panel");
    app.add_flag("--headless", options.headless, "No window: run, print what was measured, end");
    app.add_option("--plugin", texts.plugin, "Load this plug-in instead of the one built with this program")
        ->type_name("FILE");
    app.add_option("--settings", texts.settings,
                   "Keep settings in this INI file [default: the user's own place]")
        ->type_name("FILE");
    app.add_option("--instance", texts.instance,
                   "Name that tells hosts on one machine apart [default: $VANTOR_INSTANCE]")
        ->type_name("NAME");
    app.add_option("--report", texts.report, "Write what was measured to this file, as JSON")
        ->type_name("FILE");
}

void declareWork(CLI::App& app, Texts& texts) {
    app.add_option(
           "--load", texts.loads,
           "Load a script (.gpc, .gbc) or an input translator (.git) into a slot, 1 to 9; can be repeated")
        ->type_name("SLOT=FILE")
        ->allow_extra_args(false);
    app.add_option(
           "--capture", texts.capture,
           "Capture these for the adapter: keyboard, mouse, controller, separated by commas. Headless: a "
           "test pattern in their place")
        ->type_name("LIST")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->check(CLI::IsMember({"keyboard", "mouse", "controller"}).description(""));
}

void declareRun(CLI::App& app, Options& options) {
    app.add_option("--feed", options.feedHz,
                   "Start cvfeed, a process that publishes this many frames a second; 0 is as fast as it can")
        ->type_name("HZ");
    app.add_option("--bytes", options.frameBytes, "Payload bytes of each of its frames, 20 to 256")
        ->type_name("N");
    app.add_option(
           "--frames", options.frames,
           "End after this many frames; implies --feed 1000. Headless: 5000 unless --duration is given")
        ->type_name("N");
    app.add_option("--duration", options.durationS, "End after this many seconds")->type_name("S");
    app.add_option("--states", options.statesHz,
                   "Controller states of each kind that the simulated adapter sends a second, 0 to 10000")
        ->type_name("HZ");
    app.add_option("--unplug-after", options.unplugAfterMs,
                   "Unplug the simulated adapter so many milliseconds after the first connection")
        ->type_name("MS");
    app.add_option("--replug-after", options.replugAfterMs,
                   "Plug it in again, on another path, so many milliseconds after the unplugging")
        ->type_name("MS");
}

LoadRequest loadRequest(const std::string& text) {
    const QString whole = QString::fromStdString(text);
    const qsizetype mark = whole.indexOf(u'=');
    const QString slot = whole.left(mark);
    if (mark != 1 || slot < u'1' || slot > u'9' || whole.size() == mark + 1)
        throw CLI::ValidationError("--load", "\"" + text + "\" is not a slot from 1 to 9, '=', and a file");
    return {.slot = slot.toInt(), .file = QFileInfo(whole.mid(mark + 1)).absoluteFilePath()};
}

/// What the declarations cannot say. The comparisons also refuse what is not a number.
void validate(const Options& options) {
    if (options.feedHz && *options.feedHz != 0 && !(*options.feedHz >= 0.001 && *options.feedHz <= 1e6))
        throw CLI::ValidationError("--feed", "a rate is 0, or from 0.001 to 1000000");
    if (options.durationS && !(*options.durationS > 0 && *options.durationS <= kMaxDurationS))
        throw CLI::ValidationError("--duration", "a duration is positive, and a week at most");
    if (options.frames && *options.frames < 1)
        throw CLI::ValidationError("--frames", "a run has at least one frame");
    if (options.frameBytes && !options.feeds())
        throw CLI::ValidationError("--bytes", "it needs --feed or --frames");
    if (options.frameBytes && (*options.frameBytes < kMinFrameBytes || *options.frameBytes > kMaxFrameBytes))
        throw CLI::ValidationError("--bytes", "a frame has 20 to 256 bytes");
    if (options.statesHz && (*options.statesHz > kMaxStatesHz || !options.virtualAdapter))
        throw CLI::ValidationError("--states", "the simulated adapter sends 0 to 10000 a second");
    for (const auto& [name, delay] : {std::pair("--unplug-after", options.unplugAfterMs),
                                      std::pair("--replug-after", options.replugAfterMs)})
        if (delay && (*delay < 0 || *delay > kMaxDelayMs))
            throw CLI::ValidationError(name, "a delay is 0 to 3600000 milliseconds");
    if (options.unplugAfterMs && !options.virtualAdapter)
        throw CLI::ValidationError("--unplug-after", "only a simulated adapter can be unplugged");
    if (options.replugAfterMs && !options.unplugAfterMs)
        throw CLI::ValidationError("--replug-after", "it needs --unplug-after");
    if (!isValidInstance(options.instance))
        throw CLI::ValidationError("--instance",
                                   "an instance name has up to 32 letters, digits, '-' and '_'");
}

void complete(Options& options, const Texts& texts) {
    options.virtualAdapter = texts.adapter == "virtual";
    options.serial = QString::fromStdString(texts.serial);
    options.pluginFile = QString::fromStdString(texts.plugin);
    options.reportFile = QString::fromStdString(texts.report);
    options.settingsFile = QString::fromStdString(texts.settings);
    options.instance = QString::fromStdString(texts.instance);
    for (const std::string& load : texts.loads)
        options.loads += loadRequest(load);
    for (const std::string& device : texts.capture) {
        options.capture.keyboard |= device == "keyboard";
        options.capture.mouse |= device == "mouse";
        options.capture.controller |= device == "controller";
    }
    if (options.headless && !options.isBounded())
        options.frames = kDefaultHeadlessFrames;
    if (options.frames && !options.feeds())
        options.feedHz = kDefaultFeedHz;
}

} // namespace

std::optional<Options> parseCommandLine(int argc, char** argv, int& exitCode) {
    CLI::App app(
        "Development host: loads the FerryLink plug-in as any host would, with a simulated adapter or a real "
        "one, shows its panel or runs without a window, and measures.",
        "ferrylink-host");
    Options options;
    Texts texts;
    texts.instance = defaultInstance().toStdString();
    app.set_version_flag("--version", "ferrylink-host " FERRYLINK_VERSION);
    declareTarget(app, options, texts);
    declareWork(app, texts);
    declareRun(app, options);
    app.footer(kExamples);
    try {
        app.parse(argc, argv);
        complete(options, texts);
        validate(options);
    } catch (const CLI::ParseError& error) {
        exitCode = app.exit(error) == 0 ? kExitFine : kExitUsage;
        return std::nullopt;
    }
    return options;
}

} // namespace Vantor::devhost
