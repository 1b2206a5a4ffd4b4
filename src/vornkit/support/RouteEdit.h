#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "support/BranchField.h"
#include "support/EditableYAML.h"
#include "support/YAMLPath.h"

namespace vorn {

// Every change the settings screens make to a route of vorn.yaml, each as
// one edit of the document. A route is addressed by its place in the list
// (`routePath` is "routes" and its index), a repository by its key under the
// route's `repos`. Values go in as typed, unquoted, except a worktree name
// that holds a "{".
//
// Some fields can only be changed, not introduced: an edit of `weight`,
// `apiKey` or `worktreePrefix` on a route whose file lacks the key fails
// with "no node at …", and a key written blank stays as "key: ", which the
// next change refuses as "… is not a scalar". `toolchain` and `area` add
// their key when it is missing; a blank toolchain removes its key.
struct RouteEdit {
    using Result = EditableYAML::Result;

    static constexpr std::string_view newRouteName = "workspace-slug/project-slug";
    static constexpr std::string_view newRouteFolder = "~/src/CHANGE-ME";

    static YAMLPath routePath(size_t routeIndex);
    static YAMLPath repoPath(const YAMLPath& routePath, const std::string& repo);

    static Result setEnabled(EditableYAML& document, const YAMLPath& routePath, bool enabled);
    static Result setRouteName(EditableYAML& document, const YAMLPath& routePath,
                               std::string_view text);
    // The Project field, stored as `area`.
    static Result setProject(EditableYAML& document, const YAMLPath& routePath,
                             std::string_view text);
    static Result setToolchain(EditableYAML& document, const YAMLPath& routePath,
                               std::string_view text);
    static Result setWeight(EditableYAML& document, const YAMLPath& routePath, int weight);
    static Result setAPIKey(EditableYAML& document, const YAMLPath& routePath,
                            std::string_view text);
    static Result setWorktreePrefix(EditableYAML& document, const YAMLPath& routePath,
                                    std::string_view text);
    // `ownerPath` is a route's or a repository's path.
    static Result setBranchField(EditableYAML& document, const YAMLPath& ownerPath,
                                 BranchField field, std::string_view text);

    static Result renameRepo(EditableYAML& document, const YAMLPath& routePath,
                             const std::string& repo, std::string_view newName);
    // The short form's value, or the long form's `dir`.
    static Result setRepoFolder(EditableYAML& document, const YAMLPath& routePath,
                                const std::string& repo, std::string_view folder);
    // A blank name removes the key; any other turns a short-form repository
    // into the long form first. Assumes the name passed its template check.
    static Result setWorktreeName(EditableYAML& document, const YAMLPath& routePath,
                                  const std::string& repo, std::string_view text);
    static Result addRepo(EditableYAML& document, const YAMLPath& routePath, std::string_view name,
                          std::string_view folder);
    static Result removeRepo(EditableYAML& document, const YAMLPath& routePath,
                             const std::string& repo);

    // A disabled route with a folder for the person to fill in, so the
    // scheduler leaves it alone until then.
    static Result addRoute(EditableYAML& document);
    static Result removeRoute(EditableYAML& document, const YAMLPath& routePath);

    // A worktree name as it goes into the file: in double quotes when it
    // holds a "{" (a bare "{" would open a flow collection), else bare.
    static std::string storedWorktreeName(std::string_view text);
    // The text in double quotes, nothing inside escaped: the only quoting
    // this system does in vorn.yaml.
    static std::string quoted(std::string_view text);
    // What the priority stepper shows: the weight, or 1 without one,
    // truncated and kept within 1 to 10.
    static int weightStepperValue(std::optional<double> weight);
    // Empty or blanks and tabs only.
    static bool isBlank(std::string_view text);
};

}  // namespace vorn
