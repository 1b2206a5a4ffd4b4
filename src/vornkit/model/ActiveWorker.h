#pragma once

#include <optional>
#include <string>

#include "model/VornRole.h"
#include "model/VornStep.h"
#include "support/Timestamp.h"

namespace vorn {

// A worker running now: the role of the current cycle while a live process
// holds that role's lock.
struct ActiveWorker {
    std::string route;
    VornRole role = VornRole::dev;
    std::optional<std::string> ticket;
    std::optional<std::string> repo;      // from the worktree locator
    std::optional<std::string> worktree;  // its path, from the locator
    VornStep step = VornStep::unknown;
    Timestamp startedAt = distantPast;    // start of the cycle
    Timestamp lastEventAt = distantPast;  // newest event of the cycle
    std::optional<std::string> seatName;
    std::optional<std::string> personaName;

    // "{route}/{role}".
    std::string id() const;
    // The seat's name when it has one, else the role's label.
    std::string primaryLabel() const;

    bool operator==(const ActiveWorker&) const = default;
};

}  // namespace vorn
