#pragma once

#include <optional>
#include <string>
#include <vector>

#include "model/VornBranchOverride.h"
#include "model/VornRepo.h"

namespace vorn {

// One connection of this machine to a workspace, and optionally a project.
struct VornRoute {
    std::string name;  // the whole `route` value, as in "acme/web"; its id
    bool enabled = false;
    std::string workspace;
    std::optional<std::string> project;
    std::optional<std::string> area;
    std::optional<double> weight;
    std::optional<std::string> toolchain;
    std::optional<std::string> baseUrl;
    std::optional<std::string> apiKey;
    std::optional<std::string> apiKeyFile;
    std::optional<std::string> apiKeyVar;
    std::string worktreePrefix;
    std::optional<VornBranchOverride> branch;
    std::vector<VornRepo> repos;

    const std::string& id() const { return name; }

    // `workspace` and `project` split at the first "/", and the prefix that
    // follows from them.
    static std::string workspaceOf(const std::string& name);
    static std::optional<std::string> projectOf(const std::string& name);
    static std::string defaultWorktreePrefix(const std::string& name);

    bool operator==(const VornRoute&) const = default;
};

}  // namespace vorn
