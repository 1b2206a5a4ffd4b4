#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "model/VornBranchOverride.h"

namespace vorn {

struct VornRepo {
    std::string name;                           // its key under `repos:`, and its id
    std::filesystem::path dir;                  // absolute after expansion
    std::optional<std::string> worktreePrefix;  // only `status --json` gives it
    std::optional<VornBranchOverride> branch;
    std::optional<std::string> worktreeName;

    const std::string& id() const { return name; }
    // The folder that holds `dir`.
    std::filesystem::path worktreeParent() const { return dir.parent_path(); }

    bool operator==(const VornRepo&) const = default;
};

}  // namespace vorn
