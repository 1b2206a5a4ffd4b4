#include "model/VornRoute.h"

namespace vorn {

std::string VornRoute::workspaceOf(const std::string& name) {
    return name.substr(0, name.find('/'));
}

std::optional<std::string> VornRoute::projectOf(const std::string& name) {
    const size_t slash = name.find('/');
    if (slash == std::string::npos) return std::nullopt;
    return name.substr(slash + 1);
}

std::string VornRoute::defaultWorktreePrefix(const std::string& name) {
    return projectOf(name).value_or(workspaceOf(name)) + "-issue-";
}

}  // namespace vorn
