#include "support/SHA256Sums.h"

#include <vector>

#include "support/Text.h"

namespace vorn {

namespace {

std::vector<std::string_view> pieces(std::string_view line) {
    std::vector<std::string_view> found;
    size_t start = 0;
    while (start < line.size()) {
        while (start < line.size() && Text::isWhitespace(line[start]))
            ++start;
        size_t end = start;
        while (end < line.size() && !Text::isWhitespace(line[end]))
            ++end;
        if (end > start) found.push_back(line.substr(start, end - start));
        start = end;
    }
    return found;
}

}  // namespace

std::optional<std::string> SHA256Sums::digest(std::string_view name, std::string_view sums) {
    for (const std::string_view line : Text::split(sums, '\n')) {
        const auto parts = pieces(line);
        if (parts.size() < 2) continue;
        std::string_view listed = parts[1];
        if (listed.starts_with('*')) listed.remove_prefix(1);
        if (listed == name) return Text::lowercasedASCII(parts[0]);
    }
    return std::nullopt;
}

}  // namespace vorn
