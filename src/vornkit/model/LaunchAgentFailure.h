#pragma once

#include <string>
#include <utility>
#include <variant>

namespace vorn {

// Why a launch agent could not be started, stopped or fired.
class LaunchAgentFailure {
  public:
    struct NoPropertyList {
        bool operator==(const NoPropertyList&) const = default;
    };
    // The service manager refused; `message` is what it said.
    struct Failed {
        std::string message;
        bool operator==(const Failed&) const = default;
    };

    static LaunchAgentFailure noPropertyList() { return LaunchAgentFailure(NoPropertyList{}); }
    static LaunchAgentFailure failed(std::string message) {
        return LaunchAgentFailure(Failed{std::move(message)});
    }

    const std::variant<NoPropertyList, Failed>& value() const { return storage; }
    // The text a person reads, which for a refusal is the manager's own.
    std::string description() const;

    bool operator==(const LaunchAgentFailure&) const = default;

  private:
    explicit LaunchAgentFailure(std::variant<NoPropertyList, Failed> value)
        : storage(std::move(value)) {}
    std::variant<NoPropertyList, Failed> storage;
};

}  // namespace vorn
