// SPDX-License-Identifier: MIT
// The timed works under Google Benchmark; each prints its pose hash, so that a speed-up that changes an
// answer shows.
#include "Works.h"

#include <benchmark/benchmark.h>

#include <cstdio>

namespace {

void report(benchmark::State& state, const std::function<bench::Scene()>& make)
{
    bench::Run last;
    std::uint64_t iterations = 0, solves = 0;
    for (auto _ : state) {
        last = bench::run(make());
        state.SetIterationTime(last.seconds);
        iterations += last.iterations;
        solves += last.solves;
    }
    using benchmark::Counter;
    state.counters["iteration"] =
        Counter(static_cast<double>(iterations), Counter::kIsRate | Counter::kInvert);
    state.counters["solve"] = Counter(static_cast<double>(solves), Counter::kIsRate | Counter::kInvert);
    state.counters["blocks"] = static_cast<double>(last.blocks);
    char label[64];
    std::snprintf(label, sizeof label, "hash %016llx", static_cast<unsigned long long>(last.hash));
    state.SetLabel(label);
}

} // namespace

int main(int argc, char** argv)
{
    for (const bench::Work& work : bench::timedWorks())
        benchmark::RegisterBenchmark(work.name.c_str(), report, work.make)->UseManualTime();
    // Time per iteration against non-zero blocks: the same figure with more and more of its chains under a
    // goal.
    for (std::uint32_t goals : {1u, 2u, 4u, 8u, 16u})
        benchmark::RegisterBenchmark(("blocks/" + std::to_string(goals)).c_str(), report, [goals] {
            return bench::makeFan(16, 8, goals);
        })->UseManualTime();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
