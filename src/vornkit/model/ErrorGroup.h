#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "support/Timestamp.h"

namespace vorn {

// One kind of failure, as one burst of error events: what the menu shows as
// a row. A burst ends when the failure stays away for longer than the
// coalescer's burst gap.
struct ErrorGroup {
    std::string key;
    Timestamp firstAt = distantPast;
    Timestamp lastAt = distantPast;
    std::int64_t count = 1;
    bool transient = false;  // counts as an outage of the workspace service
    bool notified = false;   // a notice has gone out for this burst
    std::optional<std::string> lastCause;

    // "transient|{key}" or "error|{key}": the same key makes two groups when
    // one is an outage and the other isn't.
    std::string id() const;

    bool operator==(const ErrorGroup&) const = default;
};

}  // namespace vorn
