// What the benches have in common: percentiles of samples, and a table of ratios to a bare baseline.

#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Vantor::bench {

struct Percentiles {
    double p50Ns = 0;
    double p99Ns = 0;
};

/// Sorts `samples` in place. Not empty.
Percentiles percentilesOf(std::vector<std::int64_t>& samples);

struct RatioRow {
    std::string name;
    Percentiles ours;
    Percentiles bare;
    double ratio() const { return ours.p50Ns / bare.p50Ns; }
};

/// A table for people, or with `--json` among the arguments one JSON document, on standard output.
void report(const std::string& title, const std::vector<RatioRow>& rows, int argc, char** argv);

} // namespace Vantor::bench
