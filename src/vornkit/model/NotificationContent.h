#pragma once

#include <optional>
#include <string>

namespace vorn {

// What a notification says, and the link a click on it opens.
struct NotificationContent {
    std::string title;
    std::string body;
    std::optional<std::string> url;

    bool operator==(const NotificationContent&) const = default;
};

}  // namespace vorn
