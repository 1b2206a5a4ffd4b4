#pragma once

#include <array>
#include <string_view>
#include <utility>

#include "support/RawValue.h"

namespace vorn {

// The keys of a `branch:` block, on a route or on a repository.
enum class BranchField { base, name, push, remote };

template <>
struct RawValues<BranchField> {
    static constexpr std::array<std::pair<BranchField, std::string_view>, 4> table{{
        {BranchField::base, "base"},
        {BranchField::name, "name"},
        {BranchField::push, "push"},
        {BranchField::remote, "remote"},
    }};
};

}  // namespace vorn
