#pragma once

#include <optional>
#include <string>

#include "model/ShipNameDrift.h"

namespace vorn {

// The ship's name in the workspace's table, and whether it drifted from the
// local one.
struct ShipNameStatus {
    std::optional<std::string> rowName;
    ShipNameDrift drift = ShipNameDrift::none;

    bool operator==(const ShipNameStatus&) const = default;
};

}  // namespace vorn
