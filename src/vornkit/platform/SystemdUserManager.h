#pragma once

#include <filesystem>
#include <string_view>
#include <vector>

#include "platform/ServiceManager.h"
#include "support/ProcessEnvironment.h"

namespace vorn {

// The user's own systemd, through `systemctl --user`. A launch agent's
// label names two units: `{label}.service`, the job, and `{label}.timer`,
// which fires it. Loaded means the timer is active.
class SystemdUserManager : public ServiceManager {
  public:
    static constexpr double changeTimeout = 20;
    static constexpr double showTimeout = 10;

    // systemctl where the system keeps it, for this session's own manager:
    // where none can answer (a session without a runtime folder, as under
    // cron, ssh without a login session, or a container), no command runs
    // and every unit reads as not loaded, as a failed answer would.
    SystemdUserManager();
    // The command at `tool`, asked every time.
    explicit SystemdUserManager(std::filesystem::path tool);

    // Enables and starts the timer; enabling one that is already enabled
    // and running changes nothing and succeeds. The property list plays no
    // part: systemd runs the units.
    Outcome start(const std::string& label,
                  const std::optional<std::filesystem::path>& plist) const override;
    // Disables and stops the timer, then stops a running job; a unit that
    // doesn't exist or isn't loaded counts as stopped.
    Outcome stop(const std::string& label) const override;
    // Restarts the job without waiting for it to finish.
    Outcome kickstart(const std::string& label) const override;
    // One `show` of both units: loaded is the timer's active state, the
    // interval its OnUnitActiveSec, the exit code the job's last exit
    // status when it ended by exiting.
    UnitState state(const std::string& label) const override;
    // The timer has a unit file that systemd loaded.
    bool hasUnitFile(const std::string& label) const override;

    static std::filesystem::path defaultTool();
    // Whether `systemctl --user` could reach a manager in this environment:
    // a session bus is named, or the runtime folder holds the manager's
    // private socket or the bus.
    static bool userManagerReachable(const Environment& environment);

  private:
    ShellResult systemctl(std::vector<std::string> arguments, double timeout) const;

    std::filesystem::path tool;
    bool onlyWhenReachable = false;
};

}  // namespace vorn
