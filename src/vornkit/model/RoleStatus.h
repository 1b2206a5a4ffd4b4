#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "model/ActiveWorker.h"
#include "model/CycleState.h"
#include "model/VornRole.h"
#include "support/RawValue.h"

namespace vorn {

// One line per role: whether it is paused and what it does now.
struct RoleStatus {
    enum class Activity { running, pending, idle };

    VornRole role = VornRole::dev;
    bool paused = false;  // the role's pause marker exists
    Activity activity = Activity::idle;
    std::optional<std::int64_t> rank;  // only for the role the cycle belongs to
    std::optional<std::string> seatName;
    std::optional<std::string> personaName;

    // The role's raw value.
    std::string id() const { return std::string(rawValue(role)); }
    // The seat's name when it has one, else the role's label.
    std::string primaryLabel() const;

    // `activity` and `rank` of `role` from the running workers and the
    // cycle; the caller adds what lies on disk (pause marker, seat names).
    // Running wins over pending; the rank belongs only to the cycle's role,
    // and only while that role is running or pending.
    static RoleStatus derived(VornRole role, std::span<const ActiveWorker> workers,
                              const std::optional<CycleState>& cycle);

    bool operator==(const RoleStatus&) const = default;
};

template <>
struct RawValues<RoleStatus::Activity> {
    static constexpr std::array<std::pair<RoleStatus::Activity, std::string_view>, 3> table{{
        {RoleStatus::Activity::running, "running"},
        {RoleStatus::Activity::pending, "pending"},
        {RoleStatus::Activity::idle, "idle"},
    }};
};

}  // namespace vorn
