#include "service/ShellLookup.h"

#include <chrono>

#include "platform/UserShell.h"
#include "service/ChildProcess.h"
#include "service/Diagnostics.h"
#include "service/Shell.h"
#include "support/LoginShell.h"
#include "support/Text.h"

namespace vorn {

namespace {

constexpr std::string_view kFallbackShell = "/bin/zsh";
// A child that ended may still have bytes on their way to the pipe.
constexpr std::chrono::milliseconds kLastBytes{20};

std::optional<std::string> environmentShell(const Environment& environment) {
    const auto found = environment.find("SHELL");
    if (found == environment.end()) return std::nullopt;
    return found->second;
}

}  // namespace

std::optional<std::string> ShellLookup::run(const std::string& command) {
    const auto record = UserShell::record();
    const auto shell =
        LoginShell::loginShell(record, environmentShell(ProcessEnvironment::current()));
    return run(command, attempts(shell));
}

std::optional<std::string> ShellLookup::run(const std::string& command,
                                            const std::vector<Attempt>& attempts) {
    const auto started = std::chrono::steady_clock::now();
    std::optional<std::string> answer;
    for (const Attempt& attempt : attempts) {
        answer = ask(attempt, command);
        if (answer) break;
    }
    Diagnostics::log([&] {
        const auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(
            std::chrono::steady_clock::now() - started);
        return "discovery: '" + command + "' took " + std::to_string(elapsed.count()) + " ms";
    });
    return answer;
}

std::vector<ShellLookup::Attempt> ShellLookup::attempts(
    const std::optional<std::string>& loginShell) {
    std::vector<Attempt> list;
    if (loginShell) list.push_back({*loginShell, "-lic"});
    if (!loginShell || *loginShell != kFallbackShell)
        list.push_back({std::string(kFallbackShell), "-lc"});
    return list;
}

std::optional<std::string> ShellLookup::ask(const Attempt& attempt, const std::string& command) {
    const auto answer = runTimed(attempt.shell, {attempt.flags, command}, attemptTimeout);
    if (!answer) {
        // A shell that could not start at all lands here too.
        Diagnostics::log([&] {
            return "discovery: '" + command + "' via " + attempt.shell + " timed out after " +
                   std::to_string(static_cast<int>(attemptTimeout)) + " s";
        });
        return std::nullopt;
    }
    if (answer->first != 0) return std::nullopt;
    return LoginShell::answerPath(answer->second);
}

std::optional<std::pair<int32_t, std::string>> ShellLookup::runTimed(
    const std::filesystem::path& tool, const std::vector<std::string>& arguments, double timeout) {
    Environment environment = ProcessEnvironment::current();
    environment["TERM"] = "dumb";
    auto child = ChildProcess::start({.tool = tool,
                                      .arguments = arguments,
                                      .environment = std::move(environment),
                                      .captureStandardError = false,
                                      .ownSession = true});
    if (!child) return std::nullopt;
    if (!child->waitForExit(ChildProcess::deadlineAfter(timeout))) {
        child->terminate(Shell::terminationGrace);
        return std::nullopt;
    }
    child->drainOutput(std::chrono::steady_clock::now() + kLastBytes);
    return std::pair{child->status(), Text::repairedUTF8(child->standardOutput().bytes())};
}

}  // namespace vorn
