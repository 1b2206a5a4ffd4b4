#pragma once

#include <optional>
#include <string>

namespace vorn {

// A route's or a repo's own branch rules; every field may be left to the
// scheduler's default.
struct VornBranchOverride {
    std::optional<std::string> base;
    std::optional<std::string> name;
    std::optional<std::string> push;
    std::optional<std::string> remote;

    bool operator==(const VornBranchOverride&) const = default;
};

}  // namespace vorn
