#include "expectation.h"

#include <initializer_list>
#include <vector>

namespace Vantor::campaign {

namespace {

constexpr char kOpen[] = "Failed to open Titan Two device";
constexpr char kOpenOutput[] = "Failed to open Titan Two device for output";
constexpr char kPhase1[] = "Failed to initialize Titan Two device";
constexpr char kPhase2[] = "Failed to complete initialization sequence";
constexpr char kNoDevice[] = "No Titan Two devices found. Connect one to a USB port and start again.";
constexpr char kLibrary[] = "Failed to initialize HIDAPI";
constexpr char kCaptureOpen[] = "Failed to open Titan Two for KMG capture";
constexpr char kCaptureStart[] = "Failed to send KMG start packets";
constexpr char kCaptureInput[] = "Failed to send KMG input packet";
constexpr char kScript[] = "GPC Bytecode: Failed to load small.gbc into slot 2.";
constexpr char kScriptSlot[] = "GPC Bytecode: The bytecode was transferred, but slot 2 could not be loaded.";
constexpr char kFullScript[] = "GPC Bytecode: Failed to load full.gbc into slot 4.";
constexpr char kFullSlot[] = "GPC Bytecode: The bytecode was transferred, but slot 4 could not be loaded.";
constexpr char kTranslator[] = "Input Translator: Failed to load pad.git into slot 3.";
constexpr char kTranslatorLog[] = "Failed to send input translator packet to slot 3";
constexpr char kTranslatorNotLoaded[] = "It was transferred, but the slot was not loaded.";
constexpr char kTranslatorSlot[] = "Failed to reload slot 3 after loading pad.git";

constexpr unsigned kOnce = 1U << static_cast<unsigned>(Strike::once);
constexpr unsigned kAlways = 1U << static_cast<unsigned>(Strike::always);
constexpr unsigned kUnplug = 1U << static_cast<unsigned>(Strike::unplug);
constexpr unsigned kFails = kOnce | kAlways;
constexpr unsigned kLasting = kAlways | kUnplug;
constexpr unsigned kAnyCall = 1'000'000;

struct Row {
    Act act;
    virtual_adapter_operation operation;
    unsigned from;
    unsigned to;
    unsigned strikes;
    unsigned endings;
    std::vector<const char*> texts;
    std::vector<const char*> logTexts = {};
};

/// What is not listed does no harm: a stall, one call too many, one failed read or frame.
const std::vector<Row>& rows() {
    static const std::vector<Row> all{
        {Act::start, VIRTUAL_ADAPTER_WRITE, 1, 2, kFails, kFailed, {kPhase1}},
        {Act::start, VIRTUAL_ADAPTER_WRITE, 3, 5, kFails, kFailed, {kPhase2}},
        {Act::start, VIRTUAL_ADAPTER_WRITE, 1, 2, kUnplug, kFailed, {kPhase1, kOpenOutput}},
        {Act::start, VIRTUAL_ADAPTER_WRITE, 3, 5, kUnplug, kFailed, {kPhase2, kOpenOutput}},
        {Act::start, VIRTUAL_ADAPTER_READ, 1, kAnyCall, kAlways, kSearching, {}},
        {Act::start, VIRTUAL_ADAPTER_READ, 1, kAnyCall, kUnplug, kSearching | kFailed, {kOpenOutput}},
        {Act::start, VIRTUAL_ADAPTER_OPEN, 1, 2, kFails, kFailed, {kOpen, kOpenOutput}},
        {Act::start, VIRTUAL_ADAPTER_ENUMERATE, 1, 1, kFails, kFailed, {kNoDevice}},

        {Act::stream, VIRTUAL_ADAPTER_WRITE, 1, kAnyCall, kLasting, kSearching, {}},
        {Act::stream, VIRTUAL_ADAPTER_READ, 1, kAnyCall, kLasting, kSearching, {}},

        {Act::script, VIRTUAL_ADAPTER_WRITE, 1, 3, kFails, kBoxed, {kScript}},
        {Act::script, VIRTUAL_ADAPTER_WRITE, 4, 4, kFails, kBoxed, {kScriptSlot}},
        {Act::script, VIRTUAL_ADAPTER_WRITE, 1, 3, kUnplug, kSearching, {kScript}},
        {Act::script, VIRTUAL_ADAPTER_WRITE, 4, 4, kUnplug, kSearching, {kScriptSlot}},
        {Act::script, VIRTUAL_ADAPTER_READ, 1, kAnyCall, kLasting, kSearching, {kScript, kScriptSlot}},
        {Act::fullScript, VIRTUAL_ADAPTER_WRITE, 1, 137, kFails, kBoxed, {kFullScript}},
        {Act::fullScript, VIRTUAL_ADAPTER_WRITE, 1, 137, kUnplug, kSearching, {kFullScript, kFullSlot}},
        {Act::translator, VIRTUAL_ADAPTER_WRITE, 1, 1, kFails, kBoxed, {kTranslator}, {kTranslatorLog}},
        {Act::translator,
         VIRTUAL_ADAPTER_WRITE,
         2,
         2,
         kFails,
         kBoxed,
         {kTranslatorNotLoaded},
         {kTranslatorSlot}},
        {Act::translator, VIRTUAL_ADAPTER_WRITE, 1, 1, kUnplug, kSearching, {kTranslator}, {kTranslatorLog}},
        {Act::translator,
         VIRTUAL_ADAPTER_WRITE,
         2,
         2,
         kUnplug,
         kSearching,
         {kTranslatorNotLoaded},
         {kTranslatorSlot}},
        {Act::translator,
         VIRTUAL_ADAPTER_READ,
         1,
         kAnyCall,
         kLasting,
         kSearching,
         {kTranslator, kTranslatorNotLoaded},
         {kTranslatorLog, kTranslatorSlot}},

        {Act::capture, VIRTUAL_ADAPTER_OPEN, 1, 1, kFails, kRefused, {kCaptureOpen}},
        {Act::capture, VIRTUAL_ADAPTER_WRITE, 1, 4, kFails, kRefused, {kCaptureStart}},
        {Act::capture, VIRTUAL_ADAPTER_WRITE, 5, 5, kAlways, kRefused, {kCaptureInput}},
        {Act::capture, VIRTUAL_ADAPTER_WRITE, 6, kAnyCall, kFails, kRefused, {kCaptureInput}},
        {Act::capture,
         VIRTUAL_ADAPTER_WRITE,
         1,
         kAnyCall,
         kUnplug,
         kSearching,
         {},
         {kCaptureStart, kCaptureInput}},
        {Act::capture,
         VIRTUAL_ADAPTER_READ,
         1,
         kAnyCall,
         kLasting,
         kSearching,
         {},
         {kCaptureOpen, kCaptureStart, kCaptureInput}},
        {Act::endCapture, VIRTUAL_ADAPTER_WRITE, 1, 1, kUnplug, kSearching, {}},

        {Act::restart, VIRTUAL_ADAPTER_WRITE, 1, 1, kAlways, kFailed, {kPhase1}},
        {Act::restart, VIRTUAL_ADAPTER_WRITE, 2, 3, kFails, kFailed, {kPhase1}},
        {Act::restart, VIRTUAL_ADAPTER_WRITE, 4, 6, kFails, kFailed, {kPhase2}},
        {Act::restart, VIRTUAL_ADAPTER_WRITE, 1, 1, kUnplug, kFailed, {kOpen, kOpenOutput}},
        {Act::restart, VIRTUAL_ADAPTER_WRITE, 2, 3, kUnplug, kFailed, {kPhase1, kOpenOutput}},
        {Act::restart, VIRTUAL_ADAPTER_WRITE, 4, 6, kUnplug, kFailed, {kPhase2, kOpenOutput}},
        {Act::restart, VIRTUAL_ADAPTER_READ, 1, kAnyCall, kAlways, kSearching, {}},
        {Act::restart,
         VIRTUAL_ADAPTER_READ,
         1,
         kAnyCall,
         kUnplug,
         kSearching | kFailed,
         {kOpen, kOpenOutput}},
        {Act::restart, VIRTUAL_ADAPTER_OPEN, 1, 2, kFails, kFailed, {kOpen, kOpenOutput}},

        {Act::initialize, VIRTUAL_ADAPTER_INIT, 1, 1, kFails, kFailed, {}, {kLibrary}},

        {Act::reconnect, VIRTUAL_ADAPTER_WRITE, 1, 2, kFails, kSearching, {kPhase1}},
        {Act::reconnect, VIRTUAL_ADAPTER_WRITE, 3, 5, kFails, kSearching, {kPhase2}},
        {Act::reconnect, VIRTUAL_ADAPTER_WRITE, 1, 2, kUnplug, kSearching, {kPhase1, kOpenOutput}},
        {Act::reconnect, VIRTUAL_ADAPTER_WRITE, 3, 5, kUnplug, kSearching, {kPhase2, kOpenOutput}},
        {Act::reconnect, VIRTUAL_ADAPTER_READ, 1, kAnyCall, kLasting, kSearching, {kOpenOutput}},
        {Act::reconnect, VIRTUAL_ADAPTER_OPEN, 1, 2, kFails, kSearching, {kOpen, kOpenOutput}},
        {Act::reconnect, VIRTUAL_ADAPTER_ENUMERATE, 1, 1, kFails, kSearching, {}},
    };
    return all;
}

void add(Expectation& expected, Act act, const Fault& fault) {
    const unsigned strike = 1U << static_cast<unsigned>(fault.strike);
    for (const Row& row : rows()) {
        if (row.act != act || row.operation != fault.operation || fault.kth < row.from ||
            fault.kth > row.to || (row.strikes & strike) == 0)
            continue;
        expected.endings |= row.endings;
        for (const char* const text : row.texts)
            expected.texts += QString::fromLatin1(text);
        for (const char* const text : row.logTexts)
            expected.logTexts += QString::fromLatin1(text);
        return;
    }
    expected.endings |= kUnharmed;
}

} // namespace

Expectation expectationOf(const Case& tried) {
    Expectation expected;
    add(expected, tried.act, tried.first);
    // Of two faults either may come first, and the other then not at all.
    if (tried.second)
        add(expected, tried.act, *tried.second);
    return expected;
}

bool hasBox(const QString& transferError) {
    return !transferError.isEmpty() && transferError != QLatin1String(kTranslatorNotLoaded);
}

} // namespace Vantor::campaign
