#include "bench/ratio_report.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <string_view>

namespace Vantor::bench {

namespace {

double percentile(const std::vector<std::int64_t>& sorted, double fraction) {
    return static_cast<double>(
        sorted[static_cast<std::size_t>(fraction * static_cast<double>(sorted.size() - 1))]);
}

void printTable(const std::string& title, const std::vector<RatioRow>& rows) {
    std::printf("%s\n%-14s %12s %12s %12s %12s %8s\n", title.c_str(), "", "p50 ns", "bare p50", "p99 ns",
                "bare p99", "ratio");
    for (const RatioRow& row : rows) {
        std::printf("%-14s %12.0f %12.0f %12.0f %12.0f %8.3f\n", row.name.c_str(), row.ours.p50Ns,
                    row.bare.p50Ns, row.ours.p99Ns, row.bare.p99Ns, row.ratio());
    }
}

nlohmann::json toJson(const std::string& title, const std::vector<RatioRow>& rows) {
    nlohmann::json document{{"title", title}, {"rows", nlohmann::json::array()}};
    for (const RatioRow& row : rows) {
        document["rows"].push_back({{"name", row.name},
                                    {"p50_ns", row.ours.p50Ns},
                                    {"bare_p50_ns", row.bare.p50Ns},
                                    {"p99_ns", row.ours.p99Ns},
                                    {"bare_p99_ns", row.bare.p99Ns},
                                    {"ratio", row.ratio()}});
    }
    return document;
}

} // namespace

Percentiles percentilesOf(std::vector<std::int64_t>& samples) {
    std::sort(samples.begin(), samples.end());
    return {percentile(samples, 0.5), percentile(samples, 0.99)};
}

void report(const std::string& title, const std::vector<RatioRow>& rows, int argc, char** argv) {
    const bool wantsJson = std::any_of(
        argv + 1, argv + argc, [](const char* argument) { return std::string_view(argument) == "--json"; });
    if (wantsJson)
        std::printf("%s\n", toJson(title, rows).dump(2).c_str());
    else
        printTable(title, rows);
}

} // namespace Vantor::bench
