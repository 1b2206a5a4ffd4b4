#pragma once

#include <filesystem>
#include <optional>

#include "model/ExecutableSource.h"
#include "model/LaunchAgentLocation.h"

namespace vorn {

// What discovery found on this machine: the configuration in force (or the
// one that would be written), the scheduler program and its timers.
struct VornInstallation {
    std::filesystem::path configFile;
    bool configExists = false;
    std::optional<std::filesystem::path> executable;
    std::optional<ExecutableSource> executableSource;
    std::optional<std::filesystem::path> interpreter;
    std::optional<LaunchAgentLocation> runLaunchAgent;
    std::optional<LaunchAgentLocation> releaseLaunchAgent;

    // The package root: the executable's folder for the built-in copy, else
    // the folder above it (the root of an executable in a `bin` folder).
    std::optional<std::filesystem::path> vornHome() const;

    bool operator==(const VornInstallation&) const = default;
};

}  // namespace vorn
