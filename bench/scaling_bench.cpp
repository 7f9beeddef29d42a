// What the work costs whose input others choose, against the size of that input: compiling, preprocessing,
// disassembling, and decoding the adapter's listing of its slots. Sizes take turns; processor time.
#include "bench/comparison.h"
#include "bench/gpc_sources.h"
#include "device/slot_listing.h"
#include "gpc/compiler.h"
#include "gpc/disassembler.h"
#include "gpc/preprocessor.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace Vantor;
using namespace std::string_view_literals;

constexpr double kGoal = 1.1;
constexpr int kWarmUpRounds = 1;
constexpr int kRounds = 20;
constexpr double kSampleNs = 4e6; ///< long enough for a clock that counts microseconds

struct Work {
    std::size_t size;
    std::function<bool()> run; ///< false: it went wrong
};

void need(bool good, const char* what) {
    if (good)
        return;
    std::fprintf(stderr, "scaling: %s failed\n", what);
    std::exit(1);
}

double runNs(const Work& work, int times, const char* what) {
    const double start = bench::processorTimeNs();
    for (int i = 0; i < times; ++i)
        need(work.run(), what);
    return (bench::processorTimeNs() - start) / times;
}

void measure(const char* what, const char* unit, const std::vector<Work>& works) {
    std::vector<bench::SizeSamples> sizes;
    std::vector<int> times;
    for (const Work& work : works) {
        int enough = 1;
        while (runNs(work, enough, what) * enough < kSampleNs)
            enough *= 2;
        times.push_back(enough);
        sizes.push_back({.size = work.size, .ns = {}});
    }
    for (int round = 0; round < kWarmUpRounds + kRounds; ++round) {
        for (std::size_t i = 0; i < works.size(); ++i) {
            const double ns = runNs(works[i], times[i], what);
            if (round >= kWarmUpRounds)
                sizes[i].ns.push_back(ns);
        }
    }
    bench::printScaling(what, unit, kGoal, sizes);
}

std::vector<Work> sources(bool (*run)(const std::string& source)) {
    std::vector<Work> works;
    for (std::size_t bytes = std::size_t{1} << 10; bytes <= std::size_t{1} << 22; bytes *= 8) {
        const std::string source = bench::longScript(bytes);
        works.push_back({.size = source.size(), .run = [run, source] { return run(source); }});
    }
    return works;
}

std::vector<std::uint8_t> compiled(const std::string& source) {
    return gpc::compile(source, {.buildStamp = 1, .sourcePath = {}, .includeDirectories = {}}).bytecode;
}

bool compiles(const std::string& source) {
    return !compiled(source).empty();
}

bool preprocesses(const std::string& source) {
    return !gpc::preprocess(source, {.sourcePath = {}, .includeDirectories = {}}).text.empty();
}

/// Files of 1 KB to 32 KB, the last four times what fits a memory slot.
std::vector<Work> disassemblies() {
    std::vector<Work> works;
    for (std::size_t units = 7; units <= 7 * 32; units *= 2) {
        const std::vector<std::uint8_t> file = compiled(bench::unitsProgram(bench::Language::Script, units));
        need(!file.empty(), "compiling what is to be disassembled");
        works.push_back(
            {.size = file.size(), .run = [file] { return gpc::disassemble(file).error.empty(); }});
    }
    return works;
}

/// A listing of nine slots that takes `reports` reports, its texts as long as that needs.
std::vector<SlotListingPart> listing(std::size_t reports) {
    constexpr std::size_t kSlots = 9;
    constexpr std::size_t kDataBegin = 4;
    constexpr std::size_t kDataBytes = kInputReportBytes - 1 - kDataBegin;
    const std::size_t slotBytes = reports * kDataBytes / kSlots;
    std::vector<std::uint8_t> stream;
    for (std::size_t slot = 1; slot <= kSlots; ++slot) {
        stream.insert(stream.end(), {static_cast<std::uint8_t>(slot), 1, 0, 0, 0, 0, 0});
        constexpr std::string_view behindName = "\0\1\5FerryLink\0[KM] Desk\0\0"sv;
        stream.resize(slot * slotBytes - behindName.size(), 'N');
        stream.insert(stream.end(), behindName.begin(), behindName.end());
    }
    stream.resize(reports * kDataBytes);
    std::vector<SlotListingPart> parts(reports);
    for (std::size_t i = 0; i < reports; ++i) {
        parts[i][3] = static_cast<std::uint8_t>(i);
        std::copy_n(stream.begin() + static_cast<std::ptrdiff_t>(i * kDataBytes), kDataBytes,
                    parts[i].begin() + kDataBegin);
    }
    return parts;
}

std::vector<Work> listings() {
    std::vector<Work> works;
    for (std::size_t reports = 16; reports <= 256; reports *= 2) {
        works.push_back({.size = reports, .run = [parts = listing(reports)]() mutable {
                             return decodeSlotListing(parts).size() == 9;
                         }});
    }
    return works;
}

} // namespace

int main() {
    measure("compile", "byte", sources(compiles));
    measure("preprocess", "byte", sources(preprocesses));
    measure("disassemble", "byte", disassemblies());
    measure("decode a listing of nine slots", "report", listings());
    return 0;
}
