#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/Notifier.h"

namespace vorn::testing {

// Keeps every notification posted to it, in order, instead of showing it.
class RecordingNotifier final : public Notifier {
  public:
    struct Posted {
        std::string identifier;
        std::string title;
        std::string body;
        std::optional<std::string> url;

        bool operator==(const Posted&) const = default;
    };

    void post(const std::string& identifier, const std::string& title, const std::string& body,
              const std::optional<std::string>& url) override {
        posted.push_back({identifier, title, body, url});
    }

    std::vector<Posted> posted;
};

}  // namespace vorn::testing
