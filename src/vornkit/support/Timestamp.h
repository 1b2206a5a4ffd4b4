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

// Seconds from `earlier` to `later`, negative when `later` is before. Any
// two instants may be given: the ticks are subtracted in 128 bits, since two
// dates of a log can lie further apart than 64 bits of nanoseconds reach
// (and `distantPast` always does).
inline double secondsBetween(Timestamp earlier, Timestamp later) {
    const __int128 ticks = static_cast<__int128>(later.time_since_epoch().count()) -
                           earlier.time_since_epoch().count();
    using Ticks = std::chrono::duration<double, Timestamp::period>;
    return std::chrono::duration<double>(Ticks(static_cast<double>(ticks))).count();
}

}  // namespace vorn
