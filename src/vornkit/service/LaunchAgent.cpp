#include "service/LaunchAgent.h"

#include <system_error>

#include "service/VornPaths.h"

namespace vorn {

LaunchAgent::Outcome LaunchAgent::start() const {
    return start(*ServiceManager::forThisMachine());
}

LaunchAgent::Outcome LaunchAgent::start(const ServiceManager& manager) const {
    if (hasPropertyList()) return manager.start(label, plist);
    if (!manager.hasUnitFile(label)) return Unexpected(Failure::noPropertyList());
    return manager.start(label, std::nullopt);
}

LaunchAgent::Outcome LaunchAgent::stop() const {
    return stop(*ServiceManager::forThisMachine());
}

LaunchAgent::Outcome LaunchAgent::stop(const ServiceManager& manager) const {
    return manager.stop(label);
}

LaunchAgent::Outcome LaunchAgent::kickstart() const {
    return kickstart(*ServiceManager::forThisMachine());
}

LaunchAgent::Outcome LaunchAgent::kickstart(const ServiceManager& manager) const {
    return manager.kickstart(label);
}

TimerStatus LaunchAgent::status() const {
    return status(*ServiceManager::forThisMachine());
}

TimerStatus LaunchAgent::status(const ServiceManager& manager) const {
    const ServiceManager::UnitState unit = manager.state(label);
    TimerStatus timer;
    timer.label = label;
    timer.installed = hasPropertyList() || unit.hasUnitFile;
    timer.loaded = unit.loaded;
    timer.lastExitCode = unit.lastExitCode;
    if (plist) timer.intervalSeconds = VornPaths::startInterval(*plist);
    if (!timer.intervalSeconds) timer.intervalSeconds = unit.intervalSeconds;
    return timer;
}

bool LaunchAgent::hasPropertyList() const {
    std::error_code error;
    return plist && std::filesystem::is_regular_file(*plist, error);
}

}  // namespace vorn
