#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "service/PipeBuffer.h"
#include "support/Expected.h"
#include "support/ProcessEnvironment.h"

namespace vorn {

// A started program whose output streams are pipes read by the thread that
// waits for it. Its standard input is the null device, it inherits no other
// descriptor of this process, and it starts with every signal at its default
// and none blocked. The destructor kills and reaps a child still running, so
// no path leaves a zombie.
class ChildProcess {
  public:
    using Deadline = std::chrono::steady_clock::time_point;

    struct Launch {
        std::filesystem::path tool;
        std::vector<std::string> arguments;
        std::optional<std::filesystem::path> workingDirectory;
        // Replaces the environment entirely when given.
        std::optional<Environment> environment;
        // Without it standard error goes to the null device.
        bool captureStandardError = true;
        // A session of its own keeps the child off the controlling terminal,
        // which an interactive shell would otherwise try to take over.
        bool ownSession = false;
    };

    // Fails with the system's words for why the program could not start.
    static Expected<ChildProcess, std::string> start(const Launch& launch);

    ChildProcess(ChildProcess&& other) noexcept;
    ChildProcess& operator=(ChildProcess&&) = delete;
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess();

    // A span in seconds as the clock arithmetic can take it: a negative or
    // NaN span is none, and a huge one is held to about thirty years.
    static double boundedSeconds(double seconds);
    // `seconds` from now, bounded as above.
    static Deadline deadlineAfter(double seconds);

    // Reads the pipes while the child runs; false when `deadline` came first.
    bool waitForExit(Deadline deadline);
    // SIGTERM, then `grace` to end, then SIGKILL; returns once it has ended.
    void terminate(std::chrono::milliseconds grace);
    // Reads until every pipe reached its end; false when `deadline` came
    // first, and then the pipes still open are abandoned.
    bool drainOutput(Deadline deadline);

    // The exit status, or the number of the signal that ended the child.
    // Meaningful once `waitForExit` returned true.
    int32_t status() const { return exitStatus; }

    PipeBuffer& standardOutput() { return output; }
    PipeBuffer& standardError() { return errors; }

  private:
    ChildProcess(pid_t pid, PipeBuffer output, PipeBuffer errors);

    bool hasEnded();
    void pump(Deadline deadline);
    void reapNow();

    pid_t pid;
    // Readable when the child ends, so the wait needs no polling; -1 where
    // the kernel offers no process descriptors.
    int exitNotice;
    bool ended = false;
    int32_t exitStatus = -1;
    PipeBuffer output;
    PipeBuffer errors;
};

}  // namespace vorn
