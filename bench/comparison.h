// What the benches have in common: two sides measured in turns, and their samples as one line of JSON, which
// bench/table.py makes a row of a table from. No statistics here.

#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace Vantor::bench {

/// Samples of both sides in nanoseconds, in the order in which they were taken; as many on either side.
struct Samples {
    std::vector<double> ours;
    std::vector<double> baseline;
};

/// Calls both sides in turns, each of which returns the nanoseconds of one sample, so that what else the
/// machine does strikes both alike. Who comes first changes every time. The first `warmUp` pairs do not
/// count.
template<class Ours, class Baseline>
Samples inTurns(int warmUp, int pairs, Ours ours, Baseline baseline) {
    Samples samples;
    samples.ours.reserve(static_cast<std::size_t>(pairs));
    samples.baseline.reserve(static_cast<std::size_t>(pairs));
    for (int i = 0; i < warmUp + pairs; ++i) {
        double oursNs = 0;
        double baselineNs = 0;
        if (i % 2 == 0) {
            oursNs = static_cast<double>(ours());
            baselineNs = static_cast<double>(baseline());
        } else {
            baselineNs = static_cast<double>(baseline());
            oursNs = static_cast<double>(ours());
        }
        if (i >= warmUp) {
            samples.ours.push_back(oursNs);
            samples.baseline.push_back(baselineNs);
        }
    }
    return samples;
}

/// Ours against a baseline. `goal`: the highest ratio of the medians that is good enough; none for a ratio
/// that is there to be read.
void print(const std::string& what, const std::string& baseline, std::optional<double> goal,
           const Samples& samples);

/// What one size costs; `ns` in the order of the rounds.
struct SizeSamples {
    std::size_t size = 0;
    std::vector<double> ns;
};

/// Cost against size, from the smallest size to the largest: the largest must not cost more per unit than
/// `goal` times what the middle one does.
void printScaling(const std::string& what, const std::string& unit, double goal,
                  const std::vector<SizeSamples>& sizes);

/// Processor time that this process has used, in nanoseconds, counted in microseconds. Preemption does not
/// count.
double processorTimeNs();

} // namespace Vantor::bench
