#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "model/TimerStatus.h"
#include "model/VornConfig.h"
#include "model/VornInstallation.h"
#include "service/ProbeReport.h"
#include "service/VornPaths.h"

namespace vorn {

// The headless report of the reading side: one look at configuration and
// installation, as plain text, with no screen and no event loop.
class Probe {
  public:
    // Reads this machine as the running process sees it, and the summary of
    // the last built-in install from the application's preferences.
    static ProbeReport run();
    // What the application carries beside the machine's own state: where it
    // keeps its built-in scheduler's payloads (one folder per architecture;
    // without it none is carried) and the stored summary of its last install.
    struct Carried {
        std::optional<std::filesystem::path> resources;
        std::optional<std::string> lastInstallSummary;
    };
    static ProbeReport run(const VornPaths::DiscoverOptions& options, const Carried& carried = {});

    // A report line: the label left-justified to 13 columns, then the value.
    static std::string line(std::string_view label, std::string_view value);
    // A timer's line, "run timer" or "release timer" as `name`, padded to 14
    // columns: "{label} installed={b} loaded={b}", then " every {n}s" and
    // " lastExit={n}" for what is known.
    static std::string timerLine(std::string_view name, const TimerStatus& timer);

  private:
    static void appendBuiltIn(std::string& report, const Carried& carried,
                              const std::filesystem::path& home);
    static void appendInstallation(std::string& report, const VornInstallation& installation,
                                   const Environment& environment);
    static void appendConfiguration(std::string& report, const VornConfig& config);
    static void appendWorktrees(std::string& report, const VornConfig& config);
};

}  // namespace vorn
