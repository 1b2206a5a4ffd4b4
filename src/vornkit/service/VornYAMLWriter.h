#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "support/BranchField.h"
#include "support/EditableYAML.h"
#include "support/YAMLPath.h"

namespace vorn {

// The one way the application writes vorn.yaml: read the file fresh from
// disk (so an edit a person just made in an editor is respected), parse it,
// run one edit, replace the file atomically, and ask for a reload. Nothing
// locks against the scheduler or an editor; the window for a lost update is
// that of one call.
//
// A failure leaves the file as it was and its text stands in `editError`
// until the next successful edit. With no configuration loaded every edit
// is silently nothing.
class VornYAMLWriter {
  public:
    // An edit of the document, given the path of the route it concerns.
    using Edit = std::function<EditableYAML::Result(EditableYAML&, const YAMLPath& routePath)>;
    // The file of the configuration in force; nothing when none is loaded.
    using ConfigFile = std::function<std::optional<std::filesystem::path>()>;
    using Reload = std::function<void()>;

    VornYAMLWriter(ConfigFile configFile, Reload reload);

    void apply(size_t routeIndex, const Edit& edit);

    // Runs only when the typed name passes the template check; otherwise
    // nothing is written and the problem to show under the field comes back.
    std::optional<std::string> commitWorktreeName(size_t routeIndex, const std::string& repo,
                                                  const std::string& text);
    // A branch field of a route, or of one of its repositories. Only the
    // name is a template and checked.
    std::optional<std::string> commitBranchField(size_t routeIndex,
                                                 const std::optional<std::string>& repo,
                                                 BranchField field, const std::string& text);

    // Appends a disabled placeholder route. True when it was written, and
    // the screen then selects RouteEdit::newRouteName.
    bool addRoute();
    void removeRoute(size_t routeIndex);

    const std::optional<std::string>& editError() const { return lastError; }

  private:
    bool write(const std::function<EditableYAML::Result(EditableYAML&)>& edit);

    ConfigFile configFile;
    Reload reload;
    std::optional<std::string> lastError;
};

}  // namespace vorn
