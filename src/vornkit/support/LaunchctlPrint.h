#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace vorn {

// What this application reads in the answer of `launchctl print` for one
// job.
struct LaunchctlPrint {
    // The first line that, trimmed of blanks and tabs, begins
    // "last exit code = " and goes on with a decimal integer. A job that
    // never ran has text there, "(never exited)", and such lines are passed
    // over.
    static std::optional<std::int64_t> lastExitCode(std::string_view output);
};

}  // namespace vorn
