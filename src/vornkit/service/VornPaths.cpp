#include "service/VornPaths.h"

#include <system_error>

#include "support/HomeFolder.h"

namespace vorn {

namespace {

bool isDirectory(const std::filesystem::path& path) {
    std::error_code ignored;
    return std::filesystem::is_directory(path, ignored);
}

bool fileExists(const std::filesystem::path& path) {
    std::error_code ignored;
    return std::filesystem::exists(path, ignored);
}

}  // namespace

VornPaths::DiscoverOptions VornPaths::currentProcess() {
    return DiscoverOptions{std::nullopt, std::nullopt, HomeFolder::path(),
                           ProcessEnvironment::current()};
}

std::vector<std::filesystem::path> VornPaths::configSearchPath(const Environment& environment,
                                                               const std::filesystem::path& home) {
    std::vector<std::filesystem::path> candidates;
    if (!environment.empty()) {
        const std::string config = ProcessEnvironment::value(environment, "VORN_CONFIG");
        if (!config.empty()) {
            const std::filesystem::path path = HomeFolder::expandTilde(config, home);
            candidates.push_back(isDirectory(path) ? path / "vorn.yaml" : path);
        }
        const std::string xdg = ProcessEnvironment::value(environment, "XDG_CONFIG_HOME");
        if (!xdg.empty()) {
            candidates.push_back(std::filesystem::path(HomeFolder::expandTilde(xdg, home)) /
                                 "vorn" / "vorn.yaml");
        }
    }
    candidates.push_back(home / ".config" / "vorn" / "vorn.yaml");
    return candidates;
}

Expected<VornInstallation, VornConfigError> VornPaths::discover(const DiscoverOptions& options) {
    const std::vector<std::filesystem::path> candidates =
        options.configOverride ? std::vector{*options.configOverride}
                               : configSearchPath(options.environment, options.home);
    VornInstallation installation;
    for (const auto& candidate : candidates) {
        if (fileExists(candidate)) {
            installation.configFile = candidate;
            installation.configExists = true;
            break;
        }
    }
    if (!installation.configExists) {
        if (options.configOverride || candidates.empty()) {
            return Unexpected(VornConfigError::notFound(candidates));
        }
        installation.configFile = candidates.front();
    }
    return installation;
}

std::filesystem::path VornPaths::unpackedBuiltInFolder(const std::filesystem::path& home) {
    return home / "Library" / "Application Support" / "Vorn" / "vorn";
}

std::filesystem::path VornPaths::launchAgentsFolder(const std::filesystem::path& home) {
    return home / "Library" / "LaunchAgents";
}

}  // namespace vorn
