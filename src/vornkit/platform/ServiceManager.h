#pragma once

#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "model/LaunchAgentFailure.h"
#include "service/ShellResult.h"
#include "support/Expected.h"

namespace vorn {

// The operating system's manager of the user's timed jobs, as the launch
// agents of the scheduler need it. Each kind of manager has its own
// commands and reads its own answers; what an operation means, and that
// asking for what already holds succeeds, is the same for all.
class ServiceManager {
  public:
    using Outcome = Expected<void, LaunchAgentFailure>;

    // What the manager tells of one unit. A manager that doesn't answer
    // tells nothing: not loaded, and nothing else known.
    struct UnitState {
        bool loaded = false;
        std::optional<std::int64_t> lastExitCode;
        // The manager's own interval, for a unit defined apart from the
        // property list.
        std::optional<std::int64_t> intervalSeconds;
        bool hasUnitFile = false;

        bool operator==(const UnitState&) const = default;
    };

    virtual ~ServiceManager() = default;

    // Loads the unit, or enables and starts it; already loaded is success.
    // `plist` is the unit's property list when a file exists there.
    virtual Outcome start(const std::string& label,
                          const std::optional<std::filesystem::path>& plist) const = 0;
    // Unloads the unit and stops a running job; not loaded is success.
    virtual Outcome stop(const std::string& label) const = 0;
    // Runs the job now, ending a running one first.
    virtual Outcome kickstart(const std::string& label) const = 0;
    virtual UnitState state(const std::string& label) const = 0;
    // Whether the unit is defined to the manager other than by its
    // property list. Only a manager that has such definitions is asked.
    virtual bool hasUnitFile(const std::string& label) const = 0;

    // launchd where its command exists, else the user's systemd.
    static std::shared_ptr<const ServiceManager> forThisMachine();

  protected:
    // Success when the command succeeded, or when its output holds one of
    // `meaningDone`, the manager's words for what was asked holding
    // already. Otherwise a refusal in the manager's own words: its trimmed
    // output, or "exit {status}" when it printed nothing.
    static Outcome outcome(const ShellResult& result,
                           std::initializer_list<std::string_view> meaningDone = {});
};

}  // namespace vorn
