#pragma once

#include <array>
#include <string_view>
#include <utility>

#include "support/RawValue.h"

namespace vorn {

// What a line of an agent run's detail log carries.
enum class VornAgentDetailKind { thought, text, tool, cycle };

template <>
struct RawValues<VornAgentDetailKind> {
    static constexpr std::array<std::pair<VornAgentDetailKind, std::string_view>, 4> table{{
        {VornAgentDetailKind::thought, "thought"},
        {VornAgentDetailKind::text, "text"},
        {VornAgentDetailKind::tool, "tool"},
        {VornAgentDetailKind::cycle, "cycle"},
    }};
};

}  // namespace vorn
