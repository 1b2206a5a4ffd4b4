#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "model/StructureSource.h"
#include "model/TimerStatus.h"
#include "model/VornConfig.h"
#include "model/VornInstallation.h"
#include "model/VornSnapshot.h"
#include "service/ProbeReport.h"
#include "service/VornReader.h"

namespace vorn {

// The headless report of the reading side: one snapshot of the scheduler as
// plain text, with no screen and no event loop.
class Probe {
  public:
    // What the application carries beside the machine's own state: where it
    // keeps its built-in scheduler's payloads (one folder per architecture;
    // without it none is carried) and the stored summary of its last install.
    struct Carried {
        std::optional<std::filesystem::path> resources;
        std::optional<std::string> lastInstallSummary;
    };

    // Reads this machine as the running process sees it, and what the
    // application carries.
    static ProbeReport run();
    static ProbeReport run(const VornReader::Options& options, const Carried& carried = {});

    // A report line: the label left-justified to 13 columns, then the value.
    static std::string line(std::string_view label, std::string_view value);
    // A timer's line, "run timer" or "release timer" as `name`, padded to 14
    // columns: "{label} installed={b} loaded={b}", then " every {n}s" and
    // " lastExit={n}" for what is known.
    static std::string timerLine(std::string_view name, const TimerStatus& timer);
    // A recent event's line: local clock time, step (with its role), ticket
    // and message.
    static std::string eventLine(const VornEvent& event);

  private:
    static void appendBuiltIn(std::string& report, const Carried& carried,
                              const std::filesystem::path& home);
    static void appendInstallation(std::string& report, const VornInstallation& installation,
                                   const Environment& environment);
    static void appendConfiguration(std::string& report, const VornConfig& config,
                                    const StructureSource& source);
    static void appendState(std::string& report, const VornSnapshot& snapshot);
    static void appendCycle(std::string& report, const CycleState& cycle);
    static void appendSeats(std::string& report, const std::vector<RoleStatus>& roles);
    static void appendWorkers(std::string& report, const std::vector<ActiveWorker>& workers);
    static void appendWorktrees(std::string& report, const VornConfig& config);
    static void appendRecentEvents(std::string& report, const std::vector<VornEvent>& recent);
};

}  // namespace vorn
