#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace vorn {

// A length of time as the Linux service manager writes one: numbers with
// units, as in "300", "5min", "1h 30min", "1min 30.5s" or "1min30s"; a bare
// number is seconds.
struct TimeSpan {
    // In whole seconds, rounded down. Nothing for text of another form, for
    // "infinity", and for a span beyond the 64-bit count of microseconds the
    // manager itself keeps.
    static std::optional<std::int64_t> seconds(std::string_view text);
};

}  // namespace vorn
