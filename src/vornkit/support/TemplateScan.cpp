#include "support/TemplateScan.h"

#include <algorithm>
#include <optional>

namespace vorn {

Expected<std::vector<std::string>, TemplateScan::Fault> TemplateScan::names(
    std::string_view text, std::span<const std::string_view> placeholders) {
    std::vector<std::string> found;
    // Braces are ASCII, so walking bytes never splits a character that matters.
    std::optional<size_t> openedAt;
    for (size_t index = 0; index < text.size(); ++index) {
        const char character = text[index];
        if (character == '{') {
            if (openedAt) return Unexpected(Fault{Fault::Kind::openInsideOpen, {}});
            openedAt = index;
        } else if (character == '}') {
            if (!openedAt) return Unexpected(Fault{Fault::Kind::strayClose, {}});
            const std::string_view name = text.substr(*openedAt + 1, index - *openedAt - 1);
            if (std::find(placeholders.begin(), placeholders.end(), name) == placeholders.end()) {
                return Unexpected(Fault{Fault::Kind::unknownName, std::string(name)});
            }
            found.emplace_back(name);
            openedAt.reset();
        }
    }
    if (openedAt) return Unexpected(Fault{Fault::Kind::openAtEnd, {}});
    return found;
}

std::string TemplateScan::braced(std::span<const std::string_view> placeholders,
                                 std::string_view separator) {
    std::string result;
    for (size_t index = 0; index < placeholders.size(); ++index) {
        if (index > 0) result.append(separator);
        result.push_back('{');
        result.append(placeholders[index]);
        result.push_back('}');
    }
    return result;
}

}  // namespace vorn
