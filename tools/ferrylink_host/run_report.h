// What a run came to: the figures, where each comes from, what failed; as JSON and as a text for people.
// Plain values. What could not be known is not set, and null in the JSON; nothing is estimated.

#pragma once

#include "feeder.h"
#include "simulator/virtual_adapter.h"
#include "slot_loads.h"

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <optional>

namespace Vantor::devhost {

/// Frames, as the producer and the adapter know them; neither knows of the other. What was overwritten is
/// derived from the gaps in what arrived, so the producer's `unclaimed` is there to hold it against.
struct FrameFigures {
    std::optional<qint64> published; ///< the producer's own count
    std::optional<qint64> forwarded; ///< whole frames that the simulated adapter received, intact or corrupt
    std::optional<qint64> intact;    ///< of those, with the right checksum, each counted once
    std::optional<qint64> corrupt;   ///< with a wrong one
    std::optional<qint64> overwritten; ///< sequence numbers that never reached the adapter: replaced by a
                                       ///< later frame first, or published while it was away
    std::optional<qint64> unclaimed; ///< the producer's count of frames replaced before anybody woke for them
    std::optional<qint64> repeated;  ///< received again
    std::optional<qint64> outOfOrder; ///< received behind a later one

    /// `feed` is what the producer reported, if there was one; `adapter` null over USB, where nothing but the
    /// producer's count can be known. Sequence numbers before the first and behind the last that the adapter
    /// saw are counted from the producer's first and last.
    static FrameFigures from(const std::optional<FeedResult>& feed,
                             const virtual_adapter_statistics* adapter);
    /// Whether every published frame is accounted for; true where that cannot be known.
    bool balance() const;
};

struct LatencyFigures {
    double p50Us = 0;
    double p99Us = 0;
    double maxUs = 0;
};

/// Controller states on the adapter's side, to hold against the records in the blocks.
struct StateFigures {
    qint64 inputSent = 0;
    qint64 outputSent = 0;
    qint64 reportsDropped = 0; ///< of any kind, from a queue that nobody read in time
};

struct RunReport {
    bool virtualAdapter = true;
    double seconds = 0;
    FrameFigures frames;
    std::optional<qint64> reportsWritten; ///< by the plug-in, as the simulated adapter counted
    std::optional<qint64> reportsRead;    ///< over all of the plug-in's handles
    std::optional<StateFigures> states;
    std::optional<LatencyFigures>
        latency;        ///< from the producer's stamp to the arrival of a frame's last report
    QJsonObject rates;  ///< as the plug-in published them
    QJsonObject status; ///< the same
    std::optional<qint64> controllerInputWrites; ///< records in the block, by its sequence number
    std::optional<qint64> controllerReportWrites;
    QList<LoadOutcome> loads;
    bool captureAsked = false;
    bool captureStarted = false;
    std::optional<qint64> capturePackets; ///< input packets that the simulated adapter received
    int disconnections = 0;
    int reconnections = 0;
    std::optional<qint64>
        reconnectionMs;   ///< from plugging in again to the plug-in's "connected", the longest
    QStringList errors;   ///< the log's error entries
    QStringList failures; ///< what the run was told to do and what did not happen

    /// Takes over what the adapter's statistics say.
    void takeStatistics(const virtual_adapter_statistics& statistics);
    QJsonObject toJson() const;
    QString summary() const;
    /// False: `error` says why.
    bool write(const QString& file, QString& error) const;
};

} // namespace Vantor::devhost
