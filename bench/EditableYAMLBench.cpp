// Every settings change reads vorn.yaml, parses it for editing, makes one
// edit and builds the text to write; these measure that for a typical file
// and for a large one. The write itself is the disk's business.
#include <benchmark/benchmark.h>

#include <string>

#include "support/EditableYAML.h"
#include "support/RouteEdit.h"

namespace {

std::string configWithRoutes(int routeCount) {
    std::string text =
        "# generated for the benchmark\n"
        "ship:\n"
        "  name: Bench\n"
        "  stateDir: ~/.vorn/state\n"
        "routes:\n";
    for (int index = 0; index < routeCount; ++index) {
        const std::string number = std::to_string(index);
        text += "  # route " + number + "\n";
        text += "  - route: team/project-" + number + "\n";
        text += "    enabled: yes   # on\n";
        text += "    weight: 2\n";
        text += "    toolchain: fast\n";
        text += "    repos:\n";
        text += "      web: ../web-" + number + "\n";
        text += "      api:\n        dir: /src/api-" + number + "\n";
        text += "        worktreeName: \"{dir}-{issue}\"\n";
    }
    return text;
}

void parseForEditing(benchmark::State& state) {
    const std::string text = configWithRoutes(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        auto document = vorn::EditableYAML::parse(text);
        benchmark::DoNotOptimize(document);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}
BENCHMARK(parseForEditing)->Arg(3)->Arg(200);

// Parse, one edit of the last route, and the text to write.
void editLastRoute(benchmark::State& state) {
    const int routes = static_cast<int>(state.range(0));
    const std::string text = configWithRoutes(routes);
    const vorn::YAMLPath routePath = vorn::RouteEdit::routePath(static_cast<size_t>(routes - 1));
    for (auto _ : state) {
        auto document = vorn::EditableYAML::parse(text);
        auto edited = vorn::RouteEdit::setToolchain(*document, routePath, "slow");
        std::string result = document->text();
        benchmark::DoNotOptimize(edited);
        benchmark::DoNotOptimize(result);
    }
}
BENCHMARK(editLastRoute)->Arg(3)->Arg(200);

// The worktree name expands a short-form repository and parses again.
void worktreeNameOnShortForm(benchmark::State& state) {
    const std::string text = configWithRoutes(static_cast<int>(state.range(0)));
    const vorn::YAMLPath routePath = vorn::RouteEdit::routePath(0);
    for (auto _ : state) {
        auto document = vorn::EditableYAML::parse(text);
        auto edited = vorn::RouteEdit::setWorktreeName(*document, routePath, "web", "{dir}-{tag}");
        benchmark::DoNotOptimize(edited);
    }
}
BENCHMARK(worktreeNameOnShortForm)->Arg(3)->Arg(200);

}  // namespace
