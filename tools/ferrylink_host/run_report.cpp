#include "run_report.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>

namespace Vantor::devhost {

namespace {

constexpr double kNsPerUs = 1e3;
constexpr double kUsPerMs = 1e3;

template<typename Value>
QJsonValue orNull(const std::optional<Value>& value) {
    return value ? QJsonValue(*value) : QJsonValue(QJsonValue::Null);
}

QJsonValue latencyJson(const std::optional<LatencyFigures>& latency) {
    if (!latency)
        return QJsonValue::Null;
    return QJsonObject{{QStringLiteral("p50"), latency->p50Us},
                       {QStringLiteral("p99"), latency->p99Us},
                       {QStringLiteral("max"), latency->maxUs}};
}

QJsonValue statesJson(const std::optional<StateFigures>& states) {
    if (!states)
        return QJsonValue::Null;
    return QJsonObject{{QStringLiteral("input_sent"), states->inputSent},
                       {QStringLiteral("output_sent"), states->outputSent},
                       {QStringLiteral("reports_dropped"), states->reportsDropped}};
}

QString number(const std::optional<qint64>& value) {
    return value ? QString::number(*value) : QStringLiteral("unknown");
}

/// One of the plug-in's published values for a person to read.
QString text(const QJsonValue& value, int decimals = 0) {
    if (value.isDouble())
        return QString::number(value.toDouble(), 'f', decimals);
    return value.isString() ? value.toString() : QStringLiteral("unknown");
}

QString line(const char* caption, const QString& content) {
    return QStringLiteral("  %1 %2\n").arg(QString::fromLatin1(caption), -12).arg(content);
}

QString adapterLine(const RunReport& report) {
    const QString kind = report.virtualAdapter ? QStringLiteral("simulated") : QStringLiteral("USB");
    return QStringLiteral("%1, serial %2, firmware %3")
        .arg(kind, text(report.status[QStringLiteral("device_serial")]),
             text(report.status[QStringLiteral("firmware")]));
}

QString framesLine(const FrameFigures& frames) {
    if (!frames.forwarded) // over USB
        return frames.published ? QStringLiteral("%1 published").arg(*frames.published)
                                : QStringLiteral("no producer of this host's own");
    const QString faults =
        QStringLiteral("%1 corrupt, %2 repeated, %3 out of order")
            .arg(number(frames.corrupt), number(frames.repeated), number(frames.outOfOrder));
    if (!frames.published) // a producer that is not ours, or none
        return QStringLiteral("%1 forwarded; %2").arg(number(frames.forwarded), faults);
    return QStringLiteral("%1 published = %2 forwarded + %3 overwritten; %4")
        .arg(number(frames.published), number(frames.forwarded), number(frames.overwritten), faults);
}

QString ratesLine(const QJsonObject& rates) {
    if (rates[QStringLiteral("cv_hz")].isNull() && rates[QStringLiteral("input_pps")].isNull())
        return QStringLiteral("no figures: the connection did not last one");
    return QStringLiteral("%1 frames/s, latency %2 ms, jitter %3 ms, %4 input states/s, %5 output states/s")
        .arg(text(rates[QStringLiteral("cv_hz")]), text(rates[QStringLiteral("latency_ms")], 3),
             text(rates[QStringLiteral("jitter_ms")], 3), text(rates[QStringLiteral("input_pps")]),
             text(rates[QStringLiteral("state_pps")]));
}

QString statusLine(const QJsonObject& status) {
    const QJsonObject ports = status[QStringLiteral("usb_ports")].toObject();
    const QJsonValue scripts = status[QStringLiteral("slots")];
    if (ports.isEmpty() && scripts.isNull() && status[QStringLiteral("loaded_slot")].isNull())
        return QStringLiteral("the adapter has not reported");
    return QStringLiteral("slot %1 loaded, output %2, IN A %3, IN B %4, OUT %5, %6 slots occupied")
        .arg(text(status[QStringLiteral("loaded_slot")]), text(status[QStringLiteral("output_protocol")]),
             text(ports[QStringLiteral("input_a")]), text(ports[QStringLiteral("input_b")]),
             text(ports[QStringLiteral("output")]))
        .arg(scripts.isArray() ? QString::number(scripts.toArray().size()) : text(scripts));
}

QJsonArray loadsJson(const QList<LoadOutcome>& loads) {
    QJsonArray array;
    for (const LoadOutcome& load : loads)
        array.append(QJsonObject{{QStringLiteral("slot"), load.slot},
                                 {QStringLiteral("file"), load.file},
                                 {QStringLiteral("ok"), load.ok},
                                 {QStringLiteral("error"), load.error}});
    return array;
}

/// What the slot holds, in the adapter's own words.
QString slotTitle(const QJsonObject& status, int slot) {
    for (const QJsonValue& listed : status[QStringLiteral("slots")].toArray())
        if (listed[QStringLiteral("slot")].toInt() == slot)
            return (listed[QStringLiteral("name")].toString() + u' ' +
                    listed[QStringLiteral("version")].toString())
                .trimmed();
    return QStringLiteral("nothing");
}

} // namespace

FrameFigures FrameFigures::from(const std::optional<FeedResult>& feed,
                                const virtual_adapter_statistics* adapter) {
    FrameFigures figures;
    if (feed) {
        figures.published = feed->published;
        figures.unclaimed = feed->unclaimed;
    }
    if (adapter == nullptr)
        return figures;
    const auto intact = static_cast<qint64>(adapter->frames_intact);
    const auto corrupt = static_cast<qint64>(adapter->frames_corrupt);
    figures.intact = intact;
    figures.corrupt = corrupt;
    figures.forwarded = intact + corrupt;
    figures.repeated = static_cast<qint64>(adapter->frames_repeated);
    figures.outOfOrder = static_cast<qint64>(adapter->frames_out_of_order);

    auto missing = static_cast<qint64>(adapter->frames_missing);
    if (feed && feed->firstSequence && feed->lastSequence) {
        if (intact > 0)
            missing += static_cast<qint64>(adapter->first_sequence) - *feed->firstSequence +
                       *feed->lastSequence - static_cast<qint64>(adapter->last_sequence);
        else
            missing = *feed->lastSequence - *feed->firstSequence + 1;
    }
    // A corrupt frame did arrive, but its number cannot be read: it is among the missing ones.
    figures.overwritten = missing - corrupt;
    return figures;
}

bool FrameFigures::balance() const {
    return !published || !forwarded || !overwritten || *forwarded + *overwritten == *published;
}

void RunReport::takeStatistics(const virtual_adapter_statistics& statistics) {
    reportsWritten = static_cast<qint64>(statistics.writes);
    reportsRead = static_cast<qint64>(statistics.reads);
    states = StateFigures{.inputSent = static_cast<qint64>(statistics.input_states_sent),
                          .outputSent = static_cast<qint64>(statistics.report_states_sent),
                          .reportsDropped = static_cast<qint64>(statistics.reports_dropped)};
    capturePackets = static_cast<qint64>(statistics.capture_packets);
    if (statistics.latency_samples > 0)
        latency = LatencyFigures{.p50Us = static_cast<double>(statistics.latency_p50_ns) / kNsPerUs,
                                 .p99Us = static_cast<double>(statistics.latency_p99_ns) / kNsPerUs,
                                 .maxUs = static_cast<double>(statistics.latency_max_ns) / kNsPerUs};
}

QJsonObject RunReport::toJson() const {
    const QJsonObject frameCounts{{QStringLiteral("published"), orNull(frames.published)},
                                  {QStringLiteral("forwarded"), orNull(frames.forwarded)},
                                  {QStringLiteral("intact"), orNull(frames.intact)},
                                  {QStringLiteral("corrupt"), orNull(frames.corrupt)},
                                  {QStringLiteral("overwritten"), orNull(frames.overwritten)},
                                  {QStringLiteral("unclaimed"), orNull(frames.unclaimed)},
                                  {QStringLiteral("repeated"), orNull(frames.repeated)},
                                  {QStringLiteral("out_of_order"), orNull(frames.outOfOrder)}};
    const auto writes = [](const std::optional<qint64>& count) {
        return QJsonObject{{QStringLiteral("writes"), orNull(count)}};
    };
    return {{QStringLiteral("adapter"), virtualAdapter ? QStringLiteral("virtual") : QStringLiteral("usb")},
            {QStringLiteral("seconds"), seconds},
            {QStringLiteral("frames"), frameCounts},
            {QStringLiteral("reports"), QJsonObject{{QStringLiteral("written"), orNull(reportsWritten)},
                                                    {QStringLiteral("read"), orNull(reportsRead)}}},
            {QStringLiteral("states"), statesJson(states)},
            {QStringLiteral("latency_us"), latencyJson(latency)},
            {QStringLiteral("rates"), rates},
            {QStringLiteral("status"), status},
            {QStringLiteral("blocks"),
             QJsonObject{{QStringLiteral("ControllerInput"), writes(controllerInputWrites)},
                         {QStringLiteral("ControllerReport"), writes(controllerReportWrites)}}},
            {QStringLiteral("loads"), loadsJson(loads)},
            {QStringLiteral("kmg"), QJsonObject{{QStringLiteral("started"), captureStarted},
                                                {QStringLiteral("packets"), orNull(capturePackets)}}},
            {QStringLiteral("disconnections"), disconnections},
            {QStringLiteral("reconnections"), reconnections},
            {QStringLiteral("reconnection_ms"), orNull(reconnectionMs)},
            {QStringLiteral("errors"), QJsonArray::fromStringList(errors)},
            {QStringLiteral("failures"), QJsonArray::fromStringList(failures)}};
}

QString RunReport::summary() const {
    QString all = QStringLiteral("\nFerryLink run, %1 s\n").arg(seconds, 0, 'f', 1);
    all += line("Adapter", adapterLine(*this));
    all += line("Status", statusLine(status));
    all += line("Frames", framesLine(frames));
    if (latency)
        all += line("Latency",
                    QStringLiteral("p50 %1 ms, p99 %2 ms, max %3 ms, stamp to the last report's arrival")
                        .arg(latency->p50Us / kUsPerMs, 0, 'f', 3)
                        .arg(latency->p99Us / kUsPerMs, 0, 'f', 3)
                        .arg(latency->maxUs / kUsPerMs, 0, 'f', 3));
    all += line("Last second", ratesLine(rates));
    if (reportsWritten)
        all += line(
            "Reports",
            QStringLiteral("%1 to the adapter, %2 from it").arg(number(reportsWritten), number(reportsRead)));
    all += line("Blocks", QStringLiteral("ControllerInput %1 records, ControllerReport %2 records")
                              .arg(number(controllerInputWrites), number(controllerReportWrites)));
    for (const LoadOutcome& load : loads)
        if (load.ok)
            all += line("Loaded", QStringLiteral("%1 into slot %2: %3")
                                      .arg(QFileInfo(load.file).fileName(), QString::number(load.slot),
                                           slotTitle(status, load.slot)));
    if (captureAsked)
        all += line("Capture",
                    captureStarted
                        ? QStringLiteral("%1 input packets to the adapter").arg(number(capturePackets))
                        : QStringLiteral("did not start"));
    if (disconnections > 0)
        all += line("Connection",
                    QStringLiteral("%1 lost, %2 regained%3")
                        .arg(disconnections)
                        .arg(reconnections)
                        .arg(reconnectionMs ? QStringLiteral(", %1 ms after plugging in").arg(*reconnectionMs)
                                            : QString()));
    for (const QString& failure : failures)
        all += line("FAILED", failure);
    if (failures.isEmpty())
        all += line("Result", QStringLiteral("everything that was asked for happened"));
    return all;
}

bool RunReport::write(const QString& file, QString& error) const {
    QSaveFile out(file);
    const QByteArray json = QJsonDocument(toJson()).toJson();
    const bool written = out.open(QIODevice::WriteOnly) && out.write(json) == json.size() && out.commit();
    if (!written)
        error = QStringLiteral("The report %1 cannot be written: %2").arg(file, out.errorString());
    return written;
}

} // namespace Vantor::devhost
