#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "model/VornAgentDetailKind.h"
#include "model/VornLevel.h"
#include "model/VornRole.h"
#include "model/VornStep.h"
#include "support/Timestamp.h"

namespace vorn {

// One line of an event log, as the scheduler wrote it. `id` is not in the
// line: the reader numbers the lines it decodes, and lists key on it.
struct VornEvent {
    Timestamp at = distantPast;
    std::string cycle;
    std::string route;
    VornStep step = VornStep::unknown;
    VornLevel level = VornLevel::info;
    std::string message;
    std::optional<VornRole> role;
    std::optional<std::string> ticket;
    std::optional<std::string> hook;
    std::optional<std::int64_t> rank;
    std::vector<VornRole> pending;
    std::optional<std::int64_t> durationMs;
    std::optional<VornAgentDetailKind> agentKind;
    std::optional<std::string> agentText;
    std::optional<std::string> tool;
    std::optional<std::string> target;
    std::optional<std::int64_t> agentCycleIndex;
    std::vector<std::string> attention;
    std::optional<std::string> url;
    std::optional<std::string> ticketTitle;
    std::int64_t id = 0;

    // The number behind the ticket's last "-": "ENG-42" gives 42.
    std::optional<std::int64_t> ticketNumber() const;
    // The same rule for any ticket text: absent without a "-", with nothing
    // behind it, or when that isn't a base-10 integer (a sign is allowed).
    static std::optional<std::int64_t> ticketNumber(std::string_view ticket);

    bool operator==(const VornEvent&) const = default;
};

}  // namespace vorn
