#pragma once

#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

#include "model/VornConfigError.h"
#include "model/VornInstallation.h"
#include "support/Expected.h"
#include "support/ProcessEnvironment.h"

namespace vorn {

// Works out, from what lies on the disk, which configuration file is in force
// and how the scheduler is installed. Repeatable and cheap.
struct VornPaths {
    static constexpr std::string_view defaultLabel = "com.pelorinth.vorn";
    static constexpr std::string_view releaseLabelStem = "com.pelorinth.vorn-release";

    struct DiscoverOptions {
        std::optional<std::filesystem::path> configOverride;
        std::optional<std::filesystem::path> vornCommandOverride;
        std::filesystem::path home;
        Environment environment;
    };

    // Defaults of the real machine: this process's home and environment.
    static DiscoverOptions currentProcess();

    // Fails only with `notFound`: when an override doesn't exist, or there
    // is no candidate at all. Otherwise the first candidate that exists is
    // the configuration, or, with none, the first one is where it will go.
    static Expected<VornInstallation, VornConfigError> discover(const DiscoverOptions& options);

    // VORN_CONFIG (a file, or a folder holding vorn.yaml), then
    // $XDG_CONFIG_HOME/vorn/vorn.yaml, then ~/.config/vorn/vorn.yaml.
    static std::vector<std::filesystem::path> configSearchPath(const Environment& environment,
                                                               const std::filesystem::path& home);

    // Library/Application Support/Vorn/vorn inside the home folder.
    static std::filesystem::path unpackedBuiltInFolder(const std::filesystem::path& home);
    // Library/LaunchAgents inside the home folder.
    static std::filesystem::path launchAgentsFolder(const std::filesystem::path& home);
};

}  // namespace vorn
