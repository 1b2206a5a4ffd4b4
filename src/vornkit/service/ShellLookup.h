#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vorn {

// Runs one command line inside the person's login shell and gives the one
// path it printed. It exists because an application started by the desktop
// doesn't inherit the PATH people set up for their terminals. Synchronous,
// and up to about twelve seconds per attempt: never on the main thread.
struct ShellLookup {
    struct Attempt {
        std::string shell;
        std::string flags;

        bool operator==(const Attempt&) const = default;
    };

    static constexpr double attemptTimeout = 10.0;

    // With the login shell of this user (the user database, then $SHELL).
    static std::optional<std::string> run(const std::string& command);
    // The first attempt that answers gives the result.
    static std::optional<std::string> run(const std::string& command,
                                          const std::vector<Attempt>& attempts);

    // The login shell interactive ("-lic"), because that is where people
    // extend their PATH; then, unless it was "/bin/zsh" already, "/bin/zsh"
    // non-interactive ("-lc"). With no login shell known, only the latter.
    static std::vector<Attempt> attempts(const std::optional<std::string>& loginShell);

    // The status and standard output of `tool`, run with this process's
    // environment and TERM "dumb", standard error discarded. Nothing when
    // it could not start or ran over `timeout` seconds, even if it printed.
    // Unlike `Shell::run` it doesn't wait for a process the child left
    // holding its output: a shell's start-up files may well leave one.
    static std::optional<std::pair<int32_t, std::string>> runTimed(
        const std::filesystem::path& tool, const std::vector<std::string>& arguments,
        double timeout);

  private:
    static std::optional<std::string> ask(const Attempt& attempt, const std::string& command);
};

}  // namespace vorn
