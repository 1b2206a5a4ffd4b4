#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "model/VornEvent.h"
#include "support/Timestamp.h"

namespace vorn {

// Turns one line of an event log into a `VornEvent`. Pure: the same line
// and id always give the same answer, and nothing is ever thrown.
struct VornEventDecoder {
    // Nothing when the line isn't one JSON object, or lacks `at` or
    // `message` as strings. Every other field of the wrong JSON type counts
    // as absent; see `VornEvent` for where each one is read from.
    static std::optional<VornEvent> decode(std::string_view line, std::int64_t id);
    // The same, filling `event`, which must be default-constructed, in place:
    // for readers that decode many lines into storage of their own. After
    // false, `event` holds whatever was read and is to be dropped.
    static bool decode(std::string_view line, std::int64_t id, VornEvent& event);

    // "YYYY-MM-DDTHH:MM:SS[.mmm]", read by byte position in UTC; the
    // separators and any zone suffix are not looked at. Out-of-range fields
    // roll over as a calendar does (month 13 is January of the next year).
    // Gives `distantPast` for text it can't read, and for dates outside what
    // a `Timestamp` holds (1678 to 2261).
    static Timestamp date(std::string_view text);
};

}  // namespace vorn
