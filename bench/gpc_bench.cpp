// How fast scripts compile inside a process: one that fills most of a memory slot, and sources from 1 KB to 4
// MB of comments, macros and code. Whole processes beside other compilers: bench/compare_compilers.sh.
#include "bench/gpc_sources.h"
#include "gpc/compiler.h"
#include "gpc/preprocessor.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>

namespace {

using Vantor::bench::fullSlotScript;
using Vantor::bench::longScript;

bool compiles(benchmark::State& state, const std::string& source, std::size_t& bytes) {
    const auto result =
        Vantor::gpc::compile(source, {.buildStamp = 1, .sourcePath = {}, .includeDirectories = {}});
    if (!result.diagnostics.empty()) {
        state.SkipWithError(result.diagnostics.front().message.c_str());
        return false;
    }
    bytes = result.bytecode.size();
    benchmark::DoNotOptimize(result.bytecode.data());
    return true;
}

void compileFullSlot(benchmark::State& state) {
    const std::string source = fullSlotScript();
    std::size_t bytes = 0;
    for ([[maybe_unused]] auto _ : state) {
        if (!compiles(state, source, bytes)) {
            return;
        }
    }
    state.counters["source"] = static_cast<double>(source.size());
    state.counters["bytecode"] = static_cast<double>(bytes);
}
BENCHMARK(compileFullSlot)->Unit(benchmark::kMicrosecond);

void compileLongSource(benchmark::State& state) {
    const std::string source = longScript(static_cast<std::size_t>(state.range(0)));
    std::size_t bytes = 0;
    for ([[maybe_unused]] auto _ : state) {
        if (!compiles(state, source, bytes)) {
            return;
        }
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(source.size()) * state.iterations());
    state.counters["bytecode"] = static_cast<double>(bytes);
    state.SetComplexityN(state.range(0));
}
BENCHMARK(compileLongSource)->RangeMultiplier(8)->Range(1 << 10, 1 << 22)->Complexity(benchmark::oN);

} // namespace

BENCHMARK_MAIN();
