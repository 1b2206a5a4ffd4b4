#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vorn {

// One project of the tracker that a route may use, as `vorn projects
// --json` lists it.
struct VornProjectChoice {
    std::string id;
    std::string name;
    std::optional<std::string> issuePrefix;
    bool current = false;

    bool operator==(const VornProjectChoice&) const = default;

    // The projects listed for `route`, from the first "{" of the output on
    // (a banner or a warning may stand before it). Nothing when there is no
    // JSON, when any entry lacks a required key or has one of the wrong type,
    // or when the route isn't listed; an empty list is an answer.
    static std::optional<std::vector<VornProjectChoice>> parse(std::string_view output,
                                                               std::string_view route);
};

}  // namespace vorn
