#include "bench/comparison.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <ctime>

namespace Vantor::bench {

namespace {

void printLine(const nlohmann::json& row) {
    std::printf("%s\n", row.dump().c_str());
    std::fflush(stdout);
}

} // namespace

void print(const std::string& what, const std::string& baseline, std::optional<double> goal,
           const Samples& samples) {
    printLine({{"what", what},
               {"baseline", baseline},
               {"goal", goal ? nlohmann::json(*goal) : nlohmann::json()},
               {"ours_ns", samples.ours},
               {"baseline_ns", samples.baseline}});
}

void printScaling(const std::string& what, const std::string& unit, double goal,
                  const std::vector<SizeSamples>& sizes) {
    nlohmann::json row{{"what", what}, {"unit", unit}, {"goal", goal}, {"sizes", nlohmann::json::array()}};
    for (const SizeSamples& each : sizes)
        row["sizes"].push_back({{"size", each.size}, {"ns", each.ns}});
    printLine(row);
}

double processorTimeNs() {
    constexpr double kNsPerSecond = 1e9;
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC * kNsPerSecond;
}

} // namespace Vantor::bench
