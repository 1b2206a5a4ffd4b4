#include "model/RoleStatus.h"

#include <algorithm>

namespace vorn {

std::string RoleStatus::primaryLabel() const {
    if (seatName) return *seatName;
    return std::string(label(role));
}

RoleStatus RoleStatus::derived(VornRole role, std::span<const ActiveWorker> workers,
                               const std::optional<CycleState>& cycle) {
    RoleStatus status;
    status.role = role;
    const bool running =
        std::any_of(workers.begin(), workers.end(),
                    [&](const ActiveWorker& worker) { return worker.role == role; });
    const bool pending = cycle && std::find(cycle->pending.begin(), cycle->pending.end(), role) !=
                                      cycle->pending.end();
    if (running) {
        status.activity = Activity::running;
    } else if (pending) {
        status.activity = Activity::pending;
    }
    if (status.activity != Activity::idle && cycle && cycle->role == role)
        status.rank = cycle->rank;
    return status;
}

}  // namespace vorn
