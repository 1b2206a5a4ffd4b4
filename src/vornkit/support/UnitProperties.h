#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vorn {

// The properties of one unit of the Linux service manager, as its `show`
// command prints them: "Key=value" lines, one block per unit asked about,
// blocks parted by an empty line.
struct UnitProperties {
    std::vector<std::pair<std::string, std::string>> entries;  // in the order printed

    // One entry per block that has any; a line without "=" is passed over.
    static std::vector<UnitProperties> parse(std::string_view text);
    // The block whose `Id` is `unit`, or nothing.
    static std::optional<UnitProperties> ofUnit(const std::vector<UnitProperties>& blocks,
                                                std::string_view unit);

    // The first value of `key`.
    std::optional<std::string_view> value(std::string_view key) const;
    // Every value of `key`, for a property printed once per item.
    std::vector<std::string_view> values(std::string_view key) const;

    bool operator==(const UnitProperties&) const = default;
};

}  // namespace vorn
