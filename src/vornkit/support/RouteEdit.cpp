#include "support/RouteEdit.h"

#include <algorithm>
#include <cmath>

#include "support/Text.h"

namespace vorn {

namespace {

constexpr std::string_view kWorktreeName = "worktreeName";

YAMLPath appended(YAMLPath path, std::string_view component) {
    path.emplace_back(component);
    return path;
}

// Sets a key that must already be there.
RouteEdit::Result setExisting(EditableYAML& document, const YAMLPath& routePath,
                              std::string_view key, std::string_view text) {
    return document.setScalar(appended(routePath, key), text);
}

}  // namespace

YAMLPath RouteEdit::routePath(size_t routeIndex) {
    return {"routes", std::to_string(routeIndex)};
}

YAMLPath RouteEdit::repoPath(const YAMLPath& routePath, const std::string& repo) {
    return appended(appended(routePath, "repos"), repo);
}

bool RouteEdit::isBlank(std::string_view text) {
    return Text::trimBlanksAndTabs(text).empty();
}

RouteEdit::Result RouteEdit::setEnabled(EditableYAML& document, const YAMLPath& routePath,
                                        bool enabled) {
    return document.setBool(appended(routePath, "enabled"), enabled);
}

RouteEdit::Result RouteEdit::setRouteName(EditableYAML& document, const YAMLPath& routePath,
                                          std::string_view text) {
    return setExisting(document, routePath, "route", text);
}

RouteEdit::Result RouteEdit::setProject(EditableYAML& document, const YAMLPath& routePath,
                                        std::string_view text) {
    if (document.node(appended(routePath, "area")) != nullptr) {
        return setExisting(document, routePath, "area", text);
    }
    if (isBlank(text)) return {};
    return document.appendMapEntry(routePath, "area", text);
}

RouteEdit::Result RouteEdit::setToolchain(EditableYAML& document, const YAMLPath& routePath,
                                          std::string_view text) {
    const YAMLPath path = appended(routePath, "toolchain");
    const bool exists = document.node(path) != nullptr;
    if (isBlank(text)) return exists ? document.removeKey(path) : Result{};
    if (exists) return document.setScalar(path, text);
    return document.appendMapEntry(routePath, "toolchain", text);
}

RouteEdit::Result RouteEdit::setWeight(EditableYAML& document, const YAMLPath& routePath,
                                       int weight) {
    return document.setNumber(appended(routePath, "weight"), weight);
}

RouteEdit::Result RouteEdit::setAPIKey(EditableYAML& document, const YAMLPath& routePath,
                                       std::string_view text) {
    return setExisting(document, routePath, "apiKey", text);
}

RouteEdit::Result RouteEdit::setWorktreePrefix(EditableYAML& document, const YAMLPath& routePath,
                                               std::string_view text) {
    return setExisting(document, routePath, "worktreePrefix", text);
}

RouteEdit::Result RouteEdit::setBranchField(EditableYAML& document, const YAMLPath& ownerPath,
                                            BranchField field, std::string_view text) {
    return document.setOrCreateNested(ownerPath, "branch", rawValue(field), text);
}

RouteEdit::Result RouteEdit::renameRepo(EditableYAML& document, const YAMLPath& routePath,
                                        const std::string& repo, std::string_view newName) {
    return document.renameMapKey(repoPath(routePath, repo), newName);
}

RouteEdit::Result RouteEdit::setRepoFolder(EditableYAML& document, const YAMLPath& routePath,
                                           const std::string& repo, std::string_view folder) {
    const YAMLPath path = repoPath(routePath, repo);
    const EditNode* node = document.node(path);
    if (node != nullptr && node->map() != nullptr) {
        return document.setScalar(appended(path, "dir"), folder);
    }
    return document.setScalar(path, folder);
}

RouteEdit::Result RouteEdit::setWorktreeName(EditableYAML& document, const YAMLPath& routePath,
                                             const std::string& repo, std::string_view text) {
    const YAMLPath path = repoPath(routePath, repo);
    const YAMLPath namePath = appended(path, kWorktreeName);
    if (isBlank(text)) {
        // The long form stays: the repository doesn't fold back.
        return document.node(namePath) != nullptr ? document.removeKey(namePath) : Result{};
    }
    EditableYAML expanded = document;
    if (auto result = expanded.expandScalarToMap(path, "dir"); !result) return result;
    // The expansion moved lines, so the rest works on a fresh parse.
    auto reparsed = EditableYAML::parse(expanded.text());
    if (!reparsed) return Unexpected(reparsed.error());
    const std::string stored = storedWorktreeName(text);
    const Result result = reparsed->node(namePath) != nullptr
                              ? reparsed->setScalar(namePath, stored)
                              : reparsed->appendMapEntry(path, kWorktreeName, stored);
    if (result) document = std::move(*reparsed);
    return result;
}

RouteEdit::Result RouteEdit::addRepo(EditableYAML& document, const YAMLPath& routePath,
                                     std::string_view name, std::string_view folder) {
    return document.appendMapEntry(appended(routePath, "repos"), name, folder);
}

RouteEdit::Result RouteEdit::removeRepo(EditableYAML& document, const YAMLPath& routePath,
                                        const std::string& repo) {
    return document.removeKey(repoPath(routePath, repo));
}

RouteEdit::Result RouteEdit::addRoute(EditableYAML& document) {
    return document.appendListItem(
        {"routes"}, ListItemContent::mapping({{"route", std::string(newRouteName)},
                                              {"enabled", "false"},
                                              {"dir", std::string(newRouteFolder)}}));
}

RouteEdit::Result RouteEdit::removeRoute(EditableYAML& document, const YAMLPath& routePath) {
    return document.removeKey(routePath);
}

std::string RouteEdit::storedWorktreeName(std::string_view text) {
    if (text.find('{') == std::string_view::npos) return std::string(text);
    return quoted(text);
}

std::string RouteEdit::quoted(std::string_view text) {
    std::string result;
    result.reserve(text.size() + 2);
    result.push_back('"');
    result.append(text);
    result.push_back('"');
    return result;
}

int RouteEdit::weightStepperValue(std::optional<double> weight) {
    const double value = weight.value_or(1.0);
    if (std::isnan(value)) return 1;
    return static_cast<int>(std::clamp(std::trunc(value), 1.0, 10.0));
}

}  // namespace vorn
