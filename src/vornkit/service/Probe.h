#pragma once

#include <string>
#include <string_view>

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
    // `lastInstallSummary` is that summary as stored; none when none is.
    static ProbeReport run(const VornPaths::DiscoverOptions& options,
                           const std::optional<std::string>& lastInstallSummary);

    // A report line: the label left-justified to 13 columns, then the value.
    static std::string line(std::string_view label, std::string_view value);

  private:
    static void appendBuiltIn(std::string& report,
                              const std::optional<std::string>& lastInstallSummary);
    static void appendInstallation(std::string& report, const VornInstallation& installation);
    static void appendConfiguration(std::string& report, const VornConfig& config);
    static void appendWorktrees(std::string& report, const VornConfig& config);
};

}  // namespace vorn
