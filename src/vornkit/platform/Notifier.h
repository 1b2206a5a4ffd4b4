#pragma once

#include <optional>
#include <string>

namespace vorn {

// Where the application's notifications go.
class Notifier {
  public:
    virtual ~Notifier() = default;

    // Shows a notification at once. One posted later with the same
    // `identifier` takes the place of this one. A click on it opens `url`
    // when that is a link the desktop can open, and does nothing otherwise.
    virtual void post(const std::string& identifier, const std::string& title,
                      const std::string& body, const std::optional<std::string>& url) = 0;
};

}  // namespace vorn
