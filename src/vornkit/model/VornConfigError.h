#pragma once

#include <filesystem>
#include <string>
#include <variant>
#include <vector>

namespace vorn {

// Why there is no configuration: none of the searched files exists, or the
// one found couldn't be read.
class VornConfigError {
  public:
    struct NotFound {
        std::vector<std::filesystem::path> searched;
        bool operator==(const NotFound&) const = default;
    };
    struct Malformed {
        std::string reason;
        bool operator==(const Malformed&) const = default;
    };

    static VornConfigError notFound(std::vector<std::filesystem::path> searched) {
        return VornConfigError(NotFound{std::move(searched)});
    }
    static VornConfigError malformed(std::string reason) {
        return VornConfigError(Malformed{std::move(reason)});
    }

    const std::variant<NotFound, Malformed>& value() const { return storage; }
    std::string description() const;

    bool operator==(const VornConfigError&) const = default;

  private:
    explicit VornConfigError(std::variant<NotFound, Malformed> value) : storage(std::move(value)) {}
    std::variant<NotFound, Malformed> storage;
};

}  // namespace vorn
