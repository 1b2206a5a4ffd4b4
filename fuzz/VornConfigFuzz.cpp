// Loading any text gives a configuration whose routes and repos hold the
// shapes the rest of the program relies on, or a "malformed" error.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "model/VornConfig.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto config = vorn::VornConfig::parse(text, "/fuzz/conf/vorn.yaml", "/home/fuzz");
    if (!config) {
        if (!std::holds_alternative<vorn::VornConfigError::Malformed>(config.error().value())) {
            std::abort();
        }
        return 0;
    }
    for (const vorn::VornRoute& route : config->routes) {
        if (route.name.empty()) std::abort();
        const std::string rebuilt =
            route.project ? route.workspace + "/" + *route.project : route.workspace;
        if (rebuilt != route.name) std::abort();
        for (const vorn::VornRepo& repo : route.repos) {
            if (!repo.dir.is_absolute()) std::abort();
        }
        (void)config->resolvedFile(route);
    }
    if (!config->ship.stateDir.is_absolute() || !config->ship.logFile.is_absolute()) std::abort();
    (void)config->allRepos();
    (void)config->route(std::nullopt);
    return 0;
}
