#pragma once

#include <array>
#include <string_view>
#include <utility>

#include "support/RawValue.h"

namespace vorn {

// The phase of a cycle an event speaks of, in the order a cycle goes through
// them. `unknown` stands for any step this application doesn't know.
enum class VornStep {
    poll,
    sweep,
    select,
    worktree,
    agent,
    reconcile,
    merge,
    release,
    idle,
    unknown
};

template <>
struct RawValues<VornStep> {
    static constexpr std::array<std::pair<VornStep, std::string_view>, 10> table{{
        {VornStep::poll, "poll"},
        {VornStep::sweep, "sweep"},
        {VornStep::select, "select"},
        {VornStep::worktree, "worktree"},
        {VornStep::agent, "agent"},
        {VornStep::reconcile, "reconcile"},
        {VornStep::merge, "merge"},
        {VornStep::release, "release"},
        {VornStep::idle, "idle"},
        {VornStep::unknown, "unknown"},
    }};
};

// The nine known steps in cycle order, without `unknown`.
inline constexpr std::array<VornStep, 9> orderedSteps{
    VornStep::poll,      VornStep::sweep, VornStep::select,  VornStep::worktree, VornStep::agent,
    VornStep::reconcile, VornStep::merge, VornStep::release, VornStep::idle,
};

// True from `worktree` through `release`: the steps in which a ticket is
// being worked on, as opposed to being looked for.
bool isWorking(VornStep step);

// The raw value, except "…" for `unknown`.
std::string_view label(VornStep step);

}  // namespace vorn
