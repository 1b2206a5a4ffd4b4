#include "service/VornYAMLWriter.h"

#include "support/BranchTemplate.h"
#include "support/RouteEdit.h"
#include "support/TextFile.h"
#include "support/WorktreeTemplate.h"

namespace vorn {

VornYAMLWriter::VornYAMLWriter(ConfigFile configFile, Reload reload)
    : configFile(std::move(configFile)), reload(std::move(reload)) {}

bool VornYAMLWriter::write(const std::function<EditableYAML::Result(EditableYAML&)>& edit) {
    const auto file = configFile ? configFile() : std::nullopt;
    if (!file) return false;
    const auto fail = [this](std::string reason) {
        lastError = std::move(reason);
        return false;
    };
    const auto text = TextFile::read(*file);
    if (!text) return fail(text.error());
    auto document = EditableYAML::parse(*text);
    if (!document) return fail(document.error().reason);
    // What the edit produced is written even if it would not parse again:
    // the only gates are the template checks before an edit is made.
    if (auto edited = edit(*document); !edited) return fail(edited.error().reason);
    if (auto written = TextFile::writeAtomically(*file, document->text()); !written) {
        return fail(written.error());
    }
    lastError.reset();
    if (reload) reload();
    return true;
}

void VornYAMLWriter::apply(size_t routeIndex, const Edit& edit) {
    const YAMLPath routePath = RouteEdit::routePath(routeIndex);
    write([&](EditableYAML& document) { return edit(document, routePath); });
}

std::optional<std::string> VornYAMLWriter::commitWorktreeName(size_t routeIndex,
                                                              const std::string& repo,
                                                              const std::string& text) {
    if (auto problem = WorktreeTemplate::problem(text)) return problem;
    apply(routeIndex, [&](EditableYAML& document, const YAMLPath& routePath) {
        return RouteEdit::setWorktreeName(document, routePath, repo, text);
    });
    return std::nullopt;
}

std::optional<std::string> VornYAMLWriter::commitBranchField(size_t routeIndex,
                                                             const std::optional<std::string>& repo,
                                                             BranchField field,
                                                             const std::string& text) {
    if (field == BranchField::name) {
        if (auto problem = BranchTemplate::problem(text)) return problem;
    }
    apply(routeIndex, [&](EditableYAML& document, const YAMLPath& routePath) {
        const YAMLPath owner = repo ? RouteEdit::repoPath(routePath, *repo) : routePath;
        return RouteEdit::setBranchField(document, owner, field, text);
    });
    return std::nullopt;
}

bool VornYAMLWriter::addRoute() {
    return write([](EditableYAML& document) { return RouteEdit::addRoute(document); });
}

void VornYAMLWriter::removeRoute(size_t routeIndex) {
    apply(routeIndex, [](EditableYAML& document, const YAMLPath& routePath) {
        return RouteEdit::removeRoute(document, routePath);
    });
}

}  // namespace vorn
