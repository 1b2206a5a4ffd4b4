#include "platform/SystemdUserManager.h"

#include <array>
#include <system_error>
#include <utility>

#include "service/Shell.h"
#include "support/ProcessEnvironment.h"
#include "support/Text.h"
#include "support/TimeSpan.h"
#include "support/UnitProperties.h"

namespace vorn {

namespace {

constexpr std::string_view kShownProperties =
    "--property=Id,LoadState,ActiveState,FragmentPath,TimersMonotonic,ExecMainCode,"
    "ExecMainStatus,ExecMainExitTimestampMonotonic";
// systemd's code for a main process that ended by exiting, as against one
// killed by a signal, whose status is the signal's number.
constexpr std::string_view kExitedCode = "1";

// systemctl's words for a unit that isn't there to stop: no unit file to
// disable, or no loaded unit.
constexpr std::string_view kNoUnitFile = "does not exist";
constexpr std::string_view kNotLoaded = "not loaded";

std::string timerUnit(const std::string& label) {
    return label + ".timer";
}

std::string serviceUnit(const std::string& label) {
    return label + ".service";
}

// From "{ OnUnitActiveUSec=5min ; next_elapse=... }", one line of
// TimersMonotonic per trigger.
std::optional<std::int64_t> onUnitActiveSeconds(const UnitProperties& timer) {
    constexpr std::string_view kTrigger = "OnUnitActiveUSec=";
    for (std::string_view trigger : timer.values("TimersMonotonic")) {
        const size_t start = trigger.find(kTrigger);
        if (start == std::string_view::npos) continue;
        std::string_view span = trigger.substr(start + kTrigger.size());
        span = span.substr(0, span.find_first_of(";}"));
        return TimeSpan::seconds(span);
    }
    return std::nullopt;
}

bool hasLoadedFile(const UnitProperties& timer) {
    const auto fragment = timer.value("FragmentPath");
    return fragment && !fragment->empty() && timer.value("LoadState") != "not-found";
}

// A job that never ran shows a status of 0 with no time of exit.
std::optional<std::int64_t> lastExitStatus(const UnitProperties& service) {
    const auto exitedAt = service.value("ExecMainExitTimestampMonotonic");
    const auto exitedAtValue = exitedAt ? Text::decimalInteger(*exitedAt) : std::nullopt;
    if (!exitedAtValue || *exitedAtValue == 0) return std::nullopt;
    if (service.value("ExecMainCode") != kExitedCode) return std::nullopt;
    const auto status = service.value("ExecMainStatus");
    return status ? Text::decimalInteger(*status) : std::nullopt;
}

}  // namespace

SystemdUserManager::SystemdUserManager() : SystemdUserManager(defaultTool()) {
    onlyWhenReachable = true;
}

SystemdUserManager::SystemdUserManager(std::filesystem::path tool) : tool(std::move(tool)) {}

std::filesystem::path SystemdUserManager::defaultTool() {
    constexpr std::array<std::string_view, 2> kPlaces{"/usr/bin/systemctl", "/bin/systemctl"};
    for (std::string_view place : kPlaces) {
        std::error_code error;
        if (std::filesystem::exists(place, error)) return place;
    }
    return kPlaces.front();
}

ServiceManager::Outcome SystemdUserManager::start(
    const std::string& label, const std::optional<std::filesystem::path>&) const {
    return outcome(systemctl({"enable", "--now", timerUnit(label)}, changeTimeout));
}

ServiceManager::Outcome SystemdUserManager::stop(const std::string& label) const {
    const Outcome timer = outcome(systemctl({"disable", "--now", timerUnit(label)}, changeTimeout),
                                  {kNoUnitFile, kNotLoaded});
    if (!timer) return timer;
    // Stopping the timer leaves a job it already fired running.
    return outcome(systemctl({"stop", serviceUnit(label)}, changeTimeout),
                   {kNoUnitFile, kNotLoaded});
}

ServiceManager::Outcome SystemdUserManager::kickstart(const std::string& label) const {
    // A job runs for as long as a cycle takes; waiting for it would run
    // into the time limit.
    return outcome(systemctl({"--no-block", "restart", serviceUnit(label)}, changeTimeout));
}

bool SystemdUserManager::userManagerReachable(const Environment& environment) {
    if (!ProcessEnvironment::value(environment, "DBUS_SESSION_BUS_ADDRESS").empty()) return true;
    const std::string runtime = ProcessEnvironment::value(environment, "XDG_RUNTIME_DIR");
    if (runtime.empty()) return false;
    std::error_code error;
    return std::filesystem::exists(std::filesystem::path(runtime) / "systemd/private", error) ||
           std::filesystem::exists(std::filesystem::path(runtime) / "bus", error);
}

ServiceManager::UnitState SystemdUserManager::state(const std::string& label) const {
    // Asking would only fail, after the cost of starting the command.
    if (onlyWhenReachable && !userManagerReachable(ProcessEnvironment::current())) return {};
    const ShellResult result = systemctl(
        {"show", std::string(kShownProperties), timerUnit(label), serviceUnit(label)}, showTimeout);
    UnitState state;
    if (!result.ok()) return state;
    const auto blocks = UnitProperties::parse(result.stdout);
    if (const auto timer = UnitProperties::ofUnit(blocks, timerUnit(label))) {
        state.loaded = timer->value("ActiveState") == "active";
        state.intervalSeconds = onUnitActiveSeconds(*timer);
        state.hasUnitFile = hasLoadedFile(*timer);
    }
    if (const auto service = UnitProperties::ofUnit(blocks, serviceUnit(label))) {
        state.lastExitCode = lastExitStatus(*service);
    }
    return state;
}

bool SystemdUserManager::hasUnitFile(const std::string& label) const {
    return state(label).hasUnitFile;
}

ShellResult SystemdUserManager::systemctl(std::vector<std::string> arguments,
                                          double timeout) const {
    arguments.insert(arguments.begin(), "--user");
    return Shell::run(tool, arguments, std::nullopt, std::nullopt, timeout);
}

}  // namespace vorn
