#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vorn {

// What a person is told after the workspace renamed this ship and the
// application took the new name over.
struct ShipNameNotice {
    // `replacedLocal` is the name a person had given locally, when the
    // workspace's name won over it.
    static std::string text(std::string_view newName,
                            const std::optional<std::string>& replacedLocal);
};

}  // namespace vorn
