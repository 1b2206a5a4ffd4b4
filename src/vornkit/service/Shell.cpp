#include "service/Shell.h"

#include "service/ChildProcess.h"
#include "support/Text.h"

namespace vorn {

namespace {

// Output can run to megabytes, so valid text is moved rather than copied.
std::string decoded(std::string bytes) {
    return Text::isValidUTF8(bytes) ? bytes : Text::repairedUTF8(bytes);
}

std::string completeStream(PipeBuffer& pipe) {
    return pipe.reachedEnd() ? decoded(pipe.takeBytes()) : std::string();
}

ShellResult launchFailure(const std::filesystem::path& tool, const std::string& reason) {
    return ShellResult{-1, "", "could not run " + tool.string() + ": " + reason};
}

// The limit as it was given, cut to whole seconds.
std::string timeoutMessage(double timeout) {
    const auto seconds = static_cast<long long>(ChildProcess::boundedSeconds(timeout));
    return "timed out after " + std::to_string(seconds) + " s";
}

}  // namespace

ShellResult Shell::run(const std::filesystem::path& tool, const std::vector<std::string>& arguments,
                       const std::optional<std::filesystem::path>& workingDirectory,
                       const std::optional<Environment>& environment, double timeout) {
    auto child = ChildProcess::start({tool, arguments, workingDirectory, environment});
    if (!child) return launchFailure(tool, child.error());

    const bool timedOut = !child->waitForExit(ChildProcess::deadlineAfter(timeout));
    if (timedOut) child->terminate(terminationGrace);
    const auto linger = timedOut ? lingerAfterTimeout : lingerAfterExit;
    child->drainOutput(std::chrono::steady_clock::now() + linger);

    ShellResult result{child->status(), completeStream(child->standardOutput()),
                       completeStream(child->standardError())};
    if (timedOut) {
        result.status = -1;
        // Exactly one line end between the child's words and the runner's.
        if (!result.stderr.empty() && !result.stderr.ends_with('\n')) result.stderr += '\n';
        result.stderr += timeoutMessage(timeout);
    }
    return result;
}

}  // namespace vorn
