#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vorn {

// The checksum list published beside each release, in the form the
// `sha256sum` tool prints: a hexadecimal digest, blanks, and a file name,
// with "*" before names read in binary mode.
struct SHA256Sums {
    // The digest listed for `name`, in lower case: the first line naming
    // it. Lines of fewer than two pieces are passed over.
    static std::optional<std::string> digest(std::string_view name, std::string_view sums);
};

}  // namespace vorn
