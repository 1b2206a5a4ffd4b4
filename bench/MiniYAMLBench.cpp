// The configuration is read again whenever its date changes, on the refresh
// path of the running application; these measure that read for a typical
// file and for a large one.
#include <benchmark/benchmark.h>

#include <string>

#include "model/VornConfig.h"
#include "support/MiniYAML.h"

namespace {

std::string configWithRoutes(int routeCount) {
    std::string text =
        "# generated for the benchmark\n"
        "ship:\n"
        "  name: Bench\n"
        "  agent:\n"
        "    bin: ~/bin/agent   # the agent\n"
        "  toolchain: fast\n"
        "  stateDir: ~/.vorn/state\n"
        "routes:\n";
    for (int index = 0; index < routeCount; ++index) {
        const std::string number = std::to_string(index);
        text += "  - route: team/project-" + number + "\n";
        text += "    enabled: yes\n";
        text += "    weight: 1.5\n";
        text += "    worktreePrefix: p" + number + "-issue-\n";
        text += "    branch:\n      base: main\n";
        text += "    repos:\n";
        text += "      web: ../web-" + number + "\n";
        text += "      api:\n        dir: /src/api-" + number + "\n";
        text += "        worktreeName: \"{ticket}-{slug}\"\n";
    }
    return text;
}

void parseYAML(benchmark::State& state) {
    const std::string text = configWithRoutes(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        auto document = vorn::MiniYAML::parse(text);
        benchmark::DoNotOptimize(document);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}
BENCHMARK(parseYAML)->Arg(3)->Arg(200);

void parseConfig(benchmark::State& state) {
    const std::string text = configWithRoutes(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        auto config = vorn::VornConfig::parse(text, "/home/bench/vorn.yaml", "/home/bench");
        benchmark::DoNotOptimize(config);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}
BENCHMARK(parseConfig)->Arg(3)->Arg(200);

}  // namespace
