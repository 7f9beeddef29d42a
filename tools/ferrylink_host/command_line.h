// What the development host was told to do. Entry point: parseCommandLine().

#pragma once

#include <QList>
#include <QString>

#include <optional>

namespace Vantor::devhost {

inline constexpr int kExitFine = 0;
inline constexpr int kExitFailed = 1;
inline constexpr int kExitUsage = 2;

/// A file to be loaded into a slot.
struct LoadRequest {
    int slot = 0; ///< 1..9
    QString file; ///< absolute path
};

/// What shall be captured for the adapter.
struct CaptureRequest {
    bool keyboard = false;
    bool mouse = false;
    bool controller = false;
    bool any() const { return keyboard || mouse || controller; }
};

struct Options {
    bool virtualAdapter = true; ///< else real ones over USB
    bool headless = false;
    QString serial;                   ///< empty: the remembered adapter, else the first
    QString pluginFile;               ///< empty: the one that was built with this program
    QString reportFile;               ///< empty: none
    QString settingsFile;             ///< empty: the user's own place
    QString instance;                 ///< name of the shared-memory blocks' family; empty is the ordinary one
    std::optional<double> feedHz;     ///< rate of a feeding process; none when not set
    std::optional<int> frameBytes;    ///< the feeding process's own default when not set
    std::optional<qint64> frames;     ///< the feed, and with it the run, ends after this many
    std::optional<double> durationS;  ///< the run ends after this many seconds
    std::optional<unsigned> statesHz; ///< controller states of each kind that the simulated adapter sends;
                                      ///< its own default when not set
    std::optional<int> unplugAfterMs; ///< from the first connection on
    std::optional<int> replugAfterMs; ///< from the unplugging on
    QList<LoadRequest> loads;         ///< one after the other, before anything is captured or fed
    CaptureRequest capture;

    bool feeds() const { return feedHz.has_value(); }
    /// Whether the run ends by itself.
    bool isBounded() const { return frames.has_value() || durationS.has_value(); }
    /// Whether the bridge is started without anybody pressing a button.
    bool startsByItself() const {
        return headless || feeds() || isBounded() || !serial.isEmpty() || !loads.isEmpty() || capture.any();
    }
};

/// Reads the command line. Without a value the program ends with `exitCode`; what there is to say has been
/// printed.
std::optional<Options> parseCommandLine(int argc, char** argv, int& exitCode);

} // namespace Vantor::devhost
