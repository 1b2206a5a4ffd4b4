#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "model/LaunchAgentFailure.h"
#include "model/TimerStatus.h"
#include "platform/ServiceManager.h"
#include "support/Expected.h"

namespace vorn {

// One of the scheduler's timed jobs, the run or the release one, through
// which the application looks at it and starts, stops or fires it. The
// scheduler installs its definitions; the application never writes them.
// Each operation blocks for at most its command's time limit, so the
// application calls them from worker threads. Without a manager given, the
// machine's own is used.
struct LaunchAgent {
    using Failure = LaunchAgentFailure;
    using Outcome = ServiceManager::Outcome;

    std::string label;
    std::optional<std::filesystem::path> plist;

    // Fails with no property list, without asking the manager, when the
    // job is defined neither by a property list nor by a unit file of its
    // own. A job already loaded counts as started.
    Outcome start() const;
    Outcome start(const ServiceManager& manager) const;
    // A job that isn't loaded counts as stopped.
    Outcome stop() const;
    Outcome stop(const ServiceManager& manager) const;
    // Fires the job now, ending a running one first.
    Outcome kickstart() const;
    Outcome kickstart(const ServiceManager& manager) const;
    // Never fails: a manager that doesn't answer leaves the job not loaded
    // and its exit code unknown. The interval is the property list's
    // StartInterval, else the manager's own.
    TimerStatus status() const;
    TimerStatus status(const ServiceManager& manager) const;

    // A property list is given and a file exists there.
    bool hasPropertyList() const;

    bool operator==(const LaunchAgent&) const = default;
};

}  // namespace vorn
