#include "support/ExtraPathEdit.h"

#include <algorithm>

#include "support/EditableYAML.h"
#include "support/MiniYAML.h"
#include "support/RouteEdit.h"
#include "support/Text.h"
#include "support/TextFile.h"

namespace vorn {

std::vector<std::string> ExtraPathEdit::existing(std::string_view text) {
    const auto document = MiniYAML::parse(text);
    if (!document) return {};
    const YAMLNode* ship = (*document)["ship"];
    const YAMLNode* extraPath = ship == nullptr ? nullptr : (*ship)["extraPath"];
    const auto value = extraPath == nullptr ? std::nullopt : extraPath->string();
    if (!value) return {};
    std::vector<std::string> directories;
    for (const std::string_view piece : Text::split(*value, ':')) {
        if (!piece.empty()) directories.emplace_back(piece);
    }
    return directories;
}

Expected<std::optional<std::string>, YAMLEditError> ExtraPathEdit::adding(
    std::string_view directory, std::string_view text) {
    auto document = EditableYAML::parse(text);
    if (!document) return Unexpected(document.error());
    std::vector<std::string> directories = existing(text);
    if (std::find(directories.begin(), directories.end(), directory) != directories.end()) {
        return std::optional<std::string>();
    }
    directories.emplace_back(directory);
    const std::string quoted = RouteEdit::quoted(Text::joined(directories, ":"));
    if (auto result = document->setOrCreateNested({}, "ship", "extraPath", quoted); !result) {
        return Unexpected(result.error());
    }
    return std::optional<std::string>(document->text());
}

Expected<bool, std::string> ExtraPathEdit::add(std::string_view directory,
                                               const std::filesystem::path& file) {
    const auto text = TextFile::read(file);
    if (!text) return Unexpected(text.error());
    const auto changed = adding(directory, *text);
    if (!changed) return Unexpected(changed.error().reason);
    if (!*changed) return false;
    if (auto written = TextFile::writeAtomically(file, **changed); !written) {
        return Unexpected(written.error());
    }
    return true;
}

}  // namespace vorn
