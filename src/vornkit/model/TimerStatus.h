#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vorn {

// One launch agent of the scheduler as it was last found.
struct TimerStatus {
    std::string label;
    bool installed = false;  // its property list exists
    bool loaded = false;     // the service manager knows it
    std::optional<std::int64_t> intervalSeconds;
    std::optional<std::int64_t> lastExitCode;

    bool operator==(const TimerStatus&) const = default;
};

}  // namespace vorn
