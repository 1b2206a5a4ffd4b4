#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "model/VornToolchain.h"

namespace vorn {

struct VornShip {
    std::string name = "this ship";
    std::string platform = "macos";
    std::optional<std::string> agentBin;
    std::optional<std::string> agentModel;
    std::vector<VornToolchain> toolchains;
    std::optional<std::string> defaultToolchain;
    std::filesystem::path stateDir;  // the scheduler's state folder
    std::filesystem::path logFile;   // the scheduler's log

    bool operator==(const VornShip&) const = default;
};

}  // namespace vorn
