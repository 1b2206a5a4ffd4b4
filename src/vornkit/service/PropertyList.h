#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vorn {

// A property list read from a file or from bytes, XML or binary, through
// libplist. Only the questions this program asks of one are offered; each
// gives nothing when the key is missing or holds another type.
class PropertyList {
  public:
    static std::optional<PropertyList> read(const std::filesystem::path& file);
    static std::optional<PropertyList> parse(std::string_view bytes);

    // The value of a top-level key of a dictionary, when it is a list made
    // only of strings.
    std::optional<std::vector<std::string>> stringList(std::string_view key) const;
    // The value of a top-level key of a dictionary, when it is an integer.
    std::optional<std::int64_t> integer(std::string_view key) const;

  private:
    struct Release {
        void operator()(void* node) const;
    };
    explicit PropertyList(void* root);

    std::shared_ptr<void> root;
};

}  // namespace vorn
