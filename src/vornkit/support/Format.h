#pragma once

#include <string>

#include "support/Timestamp.h"

namespace vorn {

// Dates and times as every report and screen writes them.
struct Format {
    // The time of day in the local time zone, "HH:mm:ss".
    static std::string time(Timestamp date);
    // The date and time in UTC, "2026-01-31 09:05:00 +0000".
    static std::string utcDate(Timestamp date);
};

}  // namespace vorn
