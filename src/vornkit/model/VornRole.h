#pragma once

#include <array>
#include <string_view>
#include <utility>

#include "support/RawValue.h"

namespace vorn {

// The four seats of the team, in their fixed order.
enum class VornRole { dev, design, qa, triage };

template <>
struct RawValues<VornRole> {
    static constexpr std::array<std::pair<VornRole, std::string_view>, 4> table{{
        {VornRole::dev, "dev"},
        {VornRole::design, "design"},
        {VornRole::qa, "qa"},
        {VornRole::triage, "triage"},
    }};
};

// "Dev", "Design", "QA", "Triage".
std::string_view label(VornRole role);

}  // namespace vorn
