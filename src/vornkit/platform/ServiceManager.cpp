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

LaunchAgentFailure ServiceManager::refusal(const ShellResult& result) {
    std::string output = result.output();
    if (output.empty()) output = "exit " + std::to_string(result.status);
    return LaunchAgentFailure::failed(std::move(output));
}

}  // namespace vorn
