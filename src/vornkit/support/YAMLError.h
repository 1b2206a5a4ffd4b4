#pragma once

#include <string>

namespace vorn {

// The reader's only error: the 1-based source line and what went wrong there.
struct YAMLError {
    int line = 0;
    std::string reason;

    std::string description() const { return "line " + std::to_string(line) + ": " + reason; }
    bool operator==(const YAMLError&) const = default;
};

}  // namespace vorn
