#include "support/UnitProperties.h"

#include "support/Text.h"

namespace vorn {

std::vector<UnitProperties> UnitProperties::parse(std::string_view text) {
    std::vector<UnitProperties> blocks(1);
    for (std::string_view line : Text::split(text, '\n')) {
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        if (Text::trimWhitespace(line).empty()) {
            if (!blocks.back().entries.empty()) blocks.emplace_back();
            continue;
        }
        const size_t equals = line.find('=');
        if (equals == std::string_view::npos) continue;
        blocks.back().entries.emplace_back(line.substr(0, equals), line.substr(equals + 1));
    }
    if (blocks.back().entries.empty()) blocks.pop_back();
    return blocks;
}

std::optional<UnitProperties> UnitProperties::ofUnit(const std::vector<UnitProperties>& blocks,
                                                     std::string_view unit) {
    for (const UnitProperties& block : blocks) {
        if (block.value("Id") == unit) return block;
    }
    return std::nullopt;
}

std::optional<std::string_view> UnitProperties::value(std::string_view key) const {
    for (const auto& [name, text] : entries) {
        if (name == key) return text;
    }
    return std::nullopt;
}

std::vector<std::string_view> UnitProperties::values(std::string_view key) const {
    std::vector<std::string_view> found;
    for (const auto& [name, text] : entries) {
        if (name == key) found.emplace_back(text);
    }
    return found;
}

}  // namespace vorn
