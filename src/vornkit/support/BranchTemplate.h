#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace vorn {

// Checks a branch name template as a person types it, before it goes into
// vorn.yaml. The scheduler expands templates; this only says what is wrong.
struct BranchTemplate {
    static constexpr std::array<std::string_view, 6> placeholders = {"number", "key", "slug",
                                                                     "role",   "tag", "prefix"};

    // The message to show under the field, or nothing when the text is fine.
    // Characters that git refuses in a branch name are not this check's job.
    static std::optional<std::string> problem(std::string_view text);
};

}  // namespace vorn
