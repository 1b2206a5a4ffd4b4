#include "support/VornVersion.h"

#include <array>
#include <charconv>

#include "support/Text.h"

namespace vorn {

namespace {

std::optional<std::int64_t> decimal(std::string_view piece) {
    std::int64_t value = 0;
    const char* end = piece.data() + piece.size();
    const auto [stop, error] = std::from_chars(piece.data(), end, value);
    if (piece.empty() || error != std::errc() || stop != end) return std::nullopt;
    return value;
}

}  // namespace

std::optional<VornVersion> VornVersion::parse(std::string_view text) {
    text = Text::trimWhitespace(text);
    if (text.starts_with('v')) text.remove_prefix(1);
    if (text.empty() || text.find_first_not_of("0123456789.") != std::string_view::npos) {
        return std::nullopt;
    }
    // Absent pieces count as 0; pieces after the third are not looked at.
    std::array<std::int64_t, 3> numbers{};
    size_t index = 0;
    for (const std::string_view piece : Text::split(text, '.')) {
        if (index == numbers.size()) break;
        const auto number = decimal(piece);
        if (!number) return std::nullopt;
        numbers[index++] = *number;
    }
    return VornVersion{numbers[0], numbers[1], numbers[2]};
}

std::string VornVersion::description() const {
    return std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(patch);
}

}  // namespace vorn
