// What running an external command costs on top of the program itself, and
// what a diagnostics call costs on a hot path while logging is off.
#include <benchmark/benchmark.h>

#include "service/DiagnosticsLog.h"
#include "service/Shell.h"

namespace {

void runTrue(benchmark::State& state) {
    for (auto _ : state) {
        const vorn::ShellResult result =
            vorn::Shell::run("/bin/true", {}, std::nullopt, std::nullopt, 10);
        benchmark::DoNotOptimize(result.status);
    }
}
BENCHMARK(runTrue)->Unit(benchmark::kMillisecond)->UseRealTime();

void runWithLargeOutput(benchmark::State& state) {
    const std::string bytes = std::to_string(state.range(0));
    for (auto _ : state) {
        const vorn::ShellResult result = vorn::Shell::run(
            "/usr/bin/head", {"-c", bytes, "/dev/zero"}, std::nullopt, std::nullopt, 30);
        benchmark::DoNotOptimize(result.stdout.data());
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(runWithLargeOutput)
    ->Arg(1 << 20)
    ->Arg(64 << 20)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

void logWhileOff(benchmark::State& state) {
    vorn::DiagnosticsLog log("/nonexistent/Vorn.log", false);
    int value = 42;
    for (auto _ : state) {
        log.log([&] { return "angle=" + std::to_string(value); });
        benchmark::ClobberMemory();
    }
}
BENCHMARK(logWhileOff);

}  // namespace
