#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "service/SetupProbe.h"
#include "support/ProcessEnvironment.h"

namespace vorn {

// Finds folders that hold a named executable, so a hook that the scheduler's
// timer-started runs could not find can be offered a folder for its PATH.
struct HookLocator {
    // The folder at `path` (or the folder holding the file at `path`) when
    // it holds an executable `name`; nothing when nothing is at `path`.
    static std::optional<std::filesystem::path> directory(const std::filesystem::path& path,
                                                          const std::string& name);

    // The folders to offer, each once: where the probe's shells find `name`
    // first, then every fallback folder that holds an executable `name`.
    static std::vector<std::filesystem::path> candidates(const std::string& name,
                                                         const SetupProbe& probe,
                                                         const std::filesystem::path& home,
                                                         const Environment& environment);
    // The same for this process's home and environment.
    static std::vector<std::filesystem::path> candidates(const std::string& name,
                                                         const SetupProbe& probe);
};

}  // namespace vorn
