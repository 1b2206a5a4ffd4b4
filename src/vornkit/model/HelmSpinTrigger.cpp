#include "model/HelmSpinTrigger.h"

namespace vorn {

namespace {

std::optional<VornRole> leadingRole(const VornSnapshot& snapshot) {
    if (snapshot.workers.empty()) return std::nullopt;
    return snapshot.workers.front().role;
}

}  // namespace

bool HelmSpinTrigger::shouldSpin(const std::optional<VornSnapshot>& previous,
                                 const VornSnapshot& next) {
    if (!previous) return false;
    const std::optional<VornRole> before = leadingRole(*previous);
    const std::optional<VornRole> after = leadingRole(next);
    return after && before != after;
}

}  // namespace vorn
