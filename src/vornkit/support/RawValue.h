#pragma once

#include <array>
#include <optional>
#include <string_view>
#include <utility>

namespace vorn {

// Enumerations with string raw values specialise RawValues<E> with a
// constexpr `table` of {case, raw value} pairs in declaration order. That one
// table then gives rawValue, fromRaw and allCases.
template <class Enum>
struct RawValues;

template <class Enum>
constexpr std::string_view rawValue(Enum value) {
    for (const auto& [candidate, raw] : RawValues<Enum>::table) {
        if (candidate == value) return raw;
    }
    return {};
}

template <class Enum>
constexpr std::optional<Enum> fromRaw(std::string_view raw) {
    for (const auto& [candidate, text] : RawValues<Enum>::table) {
        if (text == raw) return candidate;
    }
    return std::nullopt;
}

template <class Enum>
constexpr auto allCases() {
    constexpr auto& table = RawValues<Enum>::table;
    std::array<Enum, table.size()> cases{};
    for (size_t index = 0; index < table.size(); ++index)
        cases[index] = table[index].first;
    return cases;
}

}  // namespace vorn
