#include "platform/ServiceManager.h"

#include <system_error>

#include "platform/LaunchctlManager.h"
#include "platform/SystemdUserManager.h"

namespace vorn {

std::shared_ptr<const ServiceManager> ServiceManager::forThisMachine() {
    std::error_code error;
    if (std::filesystem::exists(LaunchctlManager::defaultTool, error)) {
        return std::make_shared<LaunchctlManager>();
    }
    return std::make_shared<SystemdUserManager>();
}

ServiceManager::Outcome ServiceManager::outcome(
    const ShellResult& result, std::initializer_list<std::string_view> meaningDone) {
    if (result.ok()) return {};
    std::string output = result.output();
    for (std::string_view words : meaningDone) {
        if (output.find(words) != std::string::npos) return {};
    }
    if (output.empty()) output = "exit " + std::to_string(result.status);
    return Unexpected(LaunchAgentFailure::failed(std::move(output)));
}

}  // namespace vorn
