#pragma once

#include <filesystem>
#include <string>

namespace vorn {

struct LaunchAgentLocation {
    std::filesystem::path plist;
    std::string label;

    bool operator==(const LaunchAgentLocation&) const = default;
};

}  // namespace vorn
