#pragma once

#include <array>
#include <string_view>
#include <utility>

#include "support/RawValue.h"

namespace vorn {

// Which side of the ship's name moved since the two were last in step: the
// workspace table's row, the local file, or both.
enum class ShipNameDrift { none, row, local, both };

template <>
struct RawValues<ShipNameDrift> {
    static constexpr std::array<std::pair<ShipNameDrift, std::string_view>, 4> table{{
        {ShipNameDrift::none, "none"},
        {ShipNameDrift::row, "row"},
        {ShipNameDrift::local, "local"},
        {ShipNameDrift::both, "both"},
    }};
};

}  // namespace vorn
