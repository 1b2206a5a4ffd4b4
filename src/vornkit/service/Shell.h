#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "service/ShellResult.h"
#include "support/ProcessEnvironment.h"

namespace vorn {

// Runs external programs. Every call names its program by path (there is no
// search of PATH and no shell in between), states its own time limit, and
// always comes back with a result: a failure to start and a time-out are
// results too. The call blocks its thread for the child's whole life; the
// application makes it from worker threads (see `Background`).
struct Shell {
    // What a child that ran over its time is given to end on SIGTERM before
    // SIGKILL follows.
    static constexpr std::chrono::seconds terminationGrace{2};
    // How long the output pipes may stay open after the child ended, held by
    // a process it left behind: after a normal end, and after a time-out.
    static constexpr std::chrono::seconds lingerAfterExit{5};
    static constexpr std::chrono::seconds lingerAfterTimeout{1};

    // `workingDirectory` and `environment` are inherited from this process
    // when absent; a given environment replaces the child's entirely.
    // `timeout` is in seconds. A stream that a lingering process still held
    // open when the wait for it ended is reported empty: its end was never
    // seen, so what was read of it may be cut anywhere.
    static ShellResult run(const std::filesystem::path& tool,
                           const std::vector<std::string>& arguments,
                           const std::optional<std::filesystem::path>& workingDirectory,
                           const std::optional<Environment>& environment, double timeout);
};

}  // namespace vorn
