#pragma once

#include <array>
#include <string_view>
#include <utility>

#include "support/RawValue.h"

namespace vorn {

// How serious an event is.
enum class VornLevel { info, warn, error };

template <>
struct RawValues<VornLevel> {
    static constexpr std::array<std::pair<VornLevel, std::string_view>, 3> table{{
        {VornLevel::info, "info"},
        {VornLevel::warn, "warn"},
        {VornLevel::error, "error"},
    }};
};

}  // namespace vorn
