#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "model/VornRole.h"
#include "model/VornStep.h"
#include "support/Timestamp.h"

namespace vorn {

// The newest cycle as its events tell it so far. No time is folded in: how
// old it is comes from `elapsed` and `sinceLastEvent`, asked with a "now".
struct CycleState {
    std::string cycle;
    std::string route;                  // of the newest event
    VornStep step = VornStep::unknown;  // of the newest event
    std::optional<VornRole> role;       // newest role named in the cycle
    std::optional<std::string> ticket;  // newest ticket named by a working step
    Timestamp startedAt = distantPast;  // the cycle's first event
    Timestamp lastAt = distantPast;     // its newest event
    std::optional<std::int64_t> rank;   // newest rank in the cycle
    std::vector<VornRole> pending;      // newest non-empty pending list
    int warnings = 0;
    int errors = 0;
    bool agentFinished = false;  // an `agent` step event carried a duration

    double elapsed(Timestamp now) const { return secondsBetween(startedAt, now); }
    double sinceLastEvent(Timestamp now) const { return secondsBetween(lastAt, now); }

    bool operator==(const CycleState&) const = default;
};

}  // namespace vorn
