#pragma once

#include <chrono>

namespace vorn {

// An absolute instant. Durations derived from two of them are seconds as
// `double`, as every screen shows them.
using Timestamp = std::chrono::system_clock::time_point;

// What a date that could not be read becomes. It sorts before every date the
// readers produce, and no parsed date equals it (parsed dates are whole
// milliseconds, this is not), so `== distantPast` tells "no date" apart.
inline constexpr Timestamp distantPast = Timestamp::min();

// Seconds from `earlier` to `later`, negative when `later` is before.
inline double secondsBetween(Timestamp earlier, Timestamp later) {
    return std::chrono::duration<double>(later - earlier).count();
}

}  // namespace vorn
