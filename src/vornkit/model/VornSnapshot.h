#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "model/ActiveWorker.h"
#include "model/CycleState.h"
#include "model/PassengerStatus.h"
#include "model/RoleStatus.h"
#include "model/ShipAttentionItem.h"
#include "model/ShipNameStatus.h"
#include "model/TimerStatus.h"
#include "model/VornConfig.h"
#include "model/VornEvent.h"
#include "model/VornRoute.h"
#include "support/RawValue.h"
#include "support/Timestamp.h"

namespace vorn {

// Everything any screen shows at one moment, read from disk in one pass.
// Screens read the newest snapshot and nothing else.
struct VornSnapshot {
    enum class Health { working, idle, paused, stopped, trouble };

    std::optional<VornConfig> config;
    std::optional<std::string> configError;
    std::vector<VornRoute> editableRoutes;
    std::optional<CycleState> cycle;
    std::vector<ActiveWorker> workers;  // at most one
    std::vector<RoleStatus> roles;      // one per role, in role order
    bool vornPaused = false;
    bool releasePaused = false;
    std::optional<std::int64_t> runningPid;
    std::optional<TimerStatus> runTimer;
    std::optional<TimerStatus> releaseTimer;
    std::vector<VornEvent> recent;
    std::optional<Timestamp> watermark;
    std::optional<Timestamp> lastEventAt;
    std::vector<VornEvent> agentDetail;
    std::optional<PassengerStatus> passenger;
    std::vector<ShipAttentionItem> shipAttention;
    std::optional<ShipNameStatus> shipName;

    // The snapshot before anything was read; every field at its default.
    static VornSnapshot empty() { return {}; }

    // The first that holds: a configuration error, or a cycle with errors
    // that hasn't reached `idle`, is trouble; a worker is working; the
    // scheduler's pause marker is paused; a loaded or unknown run timer is
    // idle; otherwise stopped. The release pause plays no part.
    Health health() const;
    // The menu bar's summary: the worker and its ticket, or what the
    // scheduler is doing without one.
    std::string headline() const;

    bool operator==(const VornSnapshot&) const = default;
};

template <>
struct RawValues<VornSnapshot::Health> {
    static constexpr std::array<std::pair<VornSnapshot::Health, std::string_view>, 5> table{{
        {VornSnapshot::Health::working, "working"},
        {VornSnapshot::Health::idle, "idle"},
        {VornSnapshot::Health::paused, "paused"},
        {VornSnapshot::Health::stopped, "stopped"},
        {VornSnapshot::Health::trouble, "trouble"},
    }};
};

}  // namespace vorn
