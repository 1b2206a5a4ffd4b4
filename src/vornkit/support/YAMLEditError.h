#pragma once

#include <string>

namespace vorn {

// The only failure of the line editor. Its reason is the whole text a person
// sees, as in `no node at ["routes", "0", "apiKey"]`.
struct YAMLEditError {
    std::string reason;

    const std::string& description() const { return reason; }
    bool operator==(const YAMLEditError&) const = default;
};

}  // namespace vorn
