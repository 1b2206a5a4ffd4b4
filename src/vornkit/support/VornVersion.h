#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vorn {

// A scheduler version: three numbers, compared in order.
struct VornVersion {
    std::int64_t major = 0;
    std::int64_t minor = 0;
    std::int64_t patch = 0;

    // "1.4.2", "v1.2" (as 1.2.0), " 0.73.0\n". Nothing for text with any
    // character other than digits and dots after the "v", such as
    // "1.2.3-beta", or for an empty or overlong number among the first three.
    static std::optional<VornVersion> parse(std::string_view text);

    // "{major}.{minor}.{patch}".
    std::string description() const;

    auto operator<=>(const VornVersion&) const = default;
};

}  // namespace vorn
