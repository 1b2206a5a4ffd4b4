#include "platform/LaunchctlManager.h"

#include <unistd.h>

#include <utility>

#include "service/Shell.h"
#include "support/LaunchctlPrint.h"

namespace vorn {

LaunchctlManager::LaunchctlManager() : LaunchctlManager(defaultTool, ::getuid()) {}

LaunchctlManager::LaunchctlManager(std::filesystem::path tool, uid_t userId)
    : tool(std::move(tool)), userId(userId) {}

ServiceManager::Outcome LaunchctlManager::start(
    const std::string& label, const std::optional<std::filesystem::path>& plist) const {
    (void)label;  // bootstrap takes the job's label from its property list
    if (!plist) return Unexpected(LaunchAgentFailure::noPropertyList());
    // A job that is already loaded is what the caller wanted. The second
    // words are covered by the first and kept as launchd's own.
    return outcome(launchctl({"bootstrap", domain(), plist->string()}, changeTimeout),
                   {"already", "service already loaded"});
}

ServiceManager::Outcome LaunchctlManager::stop(const std::string& label) const {
    // launchd's words for a job it doesn't have loaded.
    return outcome(launchctl({"bootout", target(label)}, changeTimeout),
                   {"No such process", "not find"});
}

ServiceManager::Outcome LaunchctlManager::kickstart(const std::string& label) const {
    return outcome(launchctl({"kickstart", "-k", target(label)}, changeTimeout));
}

ServiceManager::UnitState LaunchctlManager::state(const std::string& label) const {
    const ShellResult result = launchctl({"print", target(label)}, printTimeout);
    UnitState state;
    state.loaded = result.ok();
    state.lastExitCode = LaunchctlPrint::lastExitCode(result.stdout);
    return state;
}

bool LaunchctlManager::hasUnitFile(const std::string&) const {
    return false;
}

std::string LaunchctlManager::domain() const {
    return "gui/" + std::to_string(userId);
}

std::string LaunchctlManager::target(const std::string& label) const {
    return domain() + "/" + label;
}

ShellResult LaunchctlManager::launchctl(const std::vector<std::string>& arguments,
                                        double timeout) const {
    return Shell::run(tool, arguments, std::nullopt, std::nullopt, timeout);
}

}  // namespace vorn
