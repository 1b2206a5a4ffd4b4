#pragma once

#include <cstdint>
#include <string>

namespace vorn {

// What an external command gave back. glibc defines `stdout` and `stderr` as
// macros that name themselves, so they are safe as member names here.
struct ShellResult {
    // The exit status, or the number of the signal that ended the child; -1
    // when it could not be started or ran over its time.
    int32_t status = 0;
    // Both streams decoded as UTF-8, invalid bytes replaced.
    std::string stdout;
    // Also carries the runner's own words on a failed start or a time-out.
    std::string stderr;

    bool operator==(const ShellResult&) const = default;

    bool ok() const { return status == 0; }
    // Both streams trimmed of whitespace; those left non-empty joined by a
    // line end, standard output first.
    std::string output() const;
};

}  // namespace vorn
