#pragma once

#include <string>

namespace vorn {

// A notification the error coalescer wants posted. A notice replaces the one
// of the same identifier still on screen.
struct ErrorNotice {
    std::string identifier;
    std::string title;
    std::string body;
    // Outages are switched by a preference of their own.
    bool transient = false;

    bool operator==(const ErrorNotice&) const = default;
};

}  // namespace vorn
