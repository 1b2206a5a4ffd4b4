#pragma once

#include <optional>
#include <string>

namespace vorn {

struct VornToolchain {
    std::string name;  // its id
    std::optional<std::string> harness;
    std::optional<std::string> bin;
    std::optional<std::string> launcher;
    std::optional<std::string> model;

    const std::string& id() const { return name; }
    // "name · harness · via launcher · model", leaving out what isn't set and
    // a harness equal to the name.
    std::string summary() const;

    bool operator==(const VornToolchain&) const = default;
};

}  // namespace vorn
