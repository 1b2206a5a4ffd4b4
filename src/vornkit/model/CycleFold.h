#pragma once

#include <optional>
#include <span>

#include "model/CycleState.h"
#include "model/VornEvent.h"

namespace vorn {

// Folds buffered events into the picture of the newest cycle.
struct CycleFold {
    // `events` oldest first. The newest event's `cycle` text picks the
    // cycle, and every event with that text counts wherever it lies, so a
    // cycle ends only when an event of another one comes last. Nothing for
    // an empty list.
    static std::optional<CycleState> fold(std::span<const VornEvent> events);
};

}  // namespace vorn
