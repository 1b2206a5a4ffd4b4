#pragma once

#include <optional>
#include <string>

#include "model/VornRole.h"

namespace vorn {

// The name a seat shows; only `vorn status --json` tells it.
struct VornSeatIdentity {
    VornRole role = VornRole::dev;
    std::optional<std::string> name;
    std::optional<std::string> personaName;

    bool operator==(const VornSeatIdentity&) const = default;
};

}  // namespace vorn
