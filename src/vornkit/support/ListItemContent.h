#pragma once

#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace vorn {

// What appendListItem writes: one scalar item, or a mapping item whose pairs
// are written in the order given, the first on the dash line.
struct ListItemContent {
    using Pairs = std::vector<std::pair<std::string, std::string>>;

    std::variant<std::string, Pairs> value;

    static ListItemContent scalar(std::string text) { return {std::move(text)}; }
    static ListItemContent mapping(Pairs pairs) { return {std::move(pairs)}; }

    bool operator==(const ListItemContent&) const = default;
};

}  // namespace vorn
