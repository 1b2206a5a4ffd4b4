#pragma once

#include <optional>

#include "model/VornSnapshot.h"

namespace vorn {

// When the helm in the menu bar turns: as a seat picks work up or hands it
// on to another seat. A worker ending is no handover, and neither is the
// first snapshot after a launch, whatever it shows.
struct HelmSpinTrigger {
    static bool shouldSpin(const std::optional<VornSnapshot>& previous, const VornSnapshot& next);
};

}  // namespace vorn
