#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string_view>
#include <vector>

#include "platform/ServiceManager.h"

namespace vorn {

// launchd, through its command. Every command but `bootstrap` names the
// job as gui/{uid}/{label}; `bootstrap` names the domain gui/{uid} and the
// property list.
class LaunchctlManager : public ServiceManager {
  public:
    static constexpr std::string_view defaultTool = "/bin/launchctl";
    static constexpr double changeTimeout = 20;
    static constexpr double printTimeout = 10;

    LaunchctlManager();
    LaunchctlManager(std::filesystem::path tool, uid_t userId);

    // Fails with no property list, without asking launchd, when `plist` is
    // absent: launchd knows a job only through one.
    Outcome start(const std::string& label,
                  const std::optional<std::filesystem::path>& plist) const override;
    Outcome stop(const std::string& label) const override;
    Outcome kickstart(const std::string& label) const override;
    // Loaded when `print` succeeds; its "last exit code" line gives the
    // exit code. The interval is only in the property list.
    UnitState state(const std::string& label) const override;
    // Always false: the property list is launchd's one definition of a job.
    bool hasUnitFile(const std::string& label) const override;

  private:
    std::string domain() const;
    std::string target(const std::string& label) const;
    ShellResult launchctl(const std::vector<std::string>& arguments, double timeout) const;

    std::filesystem::path tool;
    uid_t userId;
};

}  // namespace vorn
