#include "service/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <system_error>
#include <utility>

namespace vorn {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// How long the wait sleeps at most between looks at the child, where no
// process descriptor wakes it at the child's end.
constexpr milliseconds kTick{20};
// Long enough for any caller, short enough for the clock's arithmetic.
constexpr double kLongestSpan = 1e9;

std::string systemText(int error) {
    return std::generic_category().message(error);
}

// A descriptor moved above the three standard ones, so that setting up the
// child's streams can never overwrite one pipe end with another, even in a
// process started with some of them closed.
int aboveStandardStreams(int descriptor) {
    if (descriptor > STDERR_FILENO) return descriptor;
    const int moved = ::fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    ::close(descriptor);
    return moved;
}

class Pipe {
  public:
    Pipe() {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0) {
            failure = errno;
            return;
        }
        readEnd = aboveStandardStreams(ends[0]);
        writeEnd = aboveStandardStreams(ends[1]);
        if (readEnd < 0 || writeEnd < 0) {
            failure = errno;
            return;
        }
        // Only our end: the child's writes must block on a full pipe.
        ::fcntl(readEnd, F_SETFL, O_NONBLOCK);
    }
    ~Pipe() {
        closeEnd(readEnd);
        closeEnd(writeEnd);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    int error() const { return failure; }
    int writer() const { return writeEnd; }
    int takeReader() { return std::exchange(readEnd, -1); }

  private:
    static void closeEnd(int descriptor) {
        if (descriptor >= 0) ::close(descriptor);
    }

    int readEnd = -1;
    int writeEnd = -1;
    int failure = 0;
};

// What the child does between its creation and the program's start.
class SpawnSetup {
  public:
    SpawnSetup(const ChildProcess::Launch& launch, int outputWriter, int errorWriter) {
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawnattr_init(&attributes);
        if (launch.workingDirectory) {
            ::posix_spawn_file_actions_addchdir_np(&actions, launch.workingDirectory->c_str());
        }
        ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        ::posix_spawn_file_actions_adddup2(&actions, outputWriter, STDOUT_FILENO);
        if (launch.captureStandardError) {
            ::posix_spawn_file_actions_adddup2(&actions, errorWriter, STDERR_FILENO);
        } else {
            ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        }
        // Descriptors other code opened without close-on-exec stay behind.
        ::posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);

        // An ignored SIGPIPE or a blocked signal of this process must not
        // change how the child behaves.
        sigset_t all;
        ::sigfillset(&all);
        ::posix_spawnattr_setsigdefault(&attributes, &all);
        sigset_t none;
        ::sigemptyset(&none);
        ::posix_spawnattr_setsigmask(&attributes, &none);
        short flags = POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK;
        if (launch.ownSession) flags |= POSIX_SPAWN_SETSID;
        ::posix_spawnattr_setflags(&attributes, flags);
    }
    ~SpawnSetup() {
        ::posix_spawnattr_destroy(&attributes);
        ::posix_spawn_file_actions_destroy(&actions);
    }
    SpawnSetup(const SpawnSetup&) = delete;
    SpawnSetup& operator=(const SpawnSetup&) = delete;

    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
};

// Pointers into `texts`, ended by the null pointer exec wants.
std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<std::string> environmentEntries(const Environment& environment) {
    std::vector<std::string> entries;
    entries.reserve(environment.size());
    for (const auto& [name, value] : environment)
        entries.push_back(name + "=" + value);
    return entries;
}

// A descriptor that becomes readable when the child ends, or -1 where the
// kernel has none. Called through syscall: glibc 2.36's own declaration
// lacks C linkage.
int processDescriptor(pid_t pid) {
    return static_cast<int>(::syscall(SYS_pidfd_open, pid, 0));
}

int32_t statusOf(int waitStatus) {
    if (WIFEXITED(waitStatus)) return WEXITSTATUS(waitStatus);
    if (WIFSIGNALED(waitStatus)) return WTERMSIG(waitStatus);
    return -1;
}

}  // namespace

Expected<ChildProcess, std::string> ChildProcess::start(const Launch& launch) {
    Pipe outputPipe;
    Pipe errorPipe;
    if (const int error = outputPipe.error() ? outputPipe.error() : errorPipe.error()) {
        return Unexpected(systemText(error));
    }
    SpawnSetup setup(launch, outputPipe.writer(), errorPipe.writer());

    std::vector<std::string> argumentTexts{launch.tool.string()};
    argumentTexts.insert(argumentTexts.end(), launch.arguments.begin(), launch.arguments.end());
    std::vector<char*> argumentPointers = pointersTo(argumentTexts);
    std::vector<std::string> environmentTexts;
    std::vector<char*> environmentPointers;
    char** environment = ::environ;
    if (launch.environment) {
        environmentTexts = environmentEntries(*launch.environment);
        environmentPointers = pointersTo(environmentTexts);
        environment = environmentPointers.data();
    }

    pid_t pid = -1;
    const int error = ::posix_spawn(&pid, launch.tool.c_str(), &setup.actions, &setup.attributes,
                                    argumentPointers.data(), environment);
    if (error != 0) return Unexpected(systemText(error));
    return ChildProcess(pid, PipeBuffer(outputPipe.takeReader()),
                        PipeBuffer(errorPipe.takeReader()));
}

ChildProcess::ChildProcess(pid_t pid, PipeBuffer output, PipeBuffer errors)
    : pid(pid),
      exitNotice(processDescriptor(pid)),
      output(std::move(output)),
      errors(std::move(errors)) {}

ChildProcess::ChildProcess(ChildProcess&& other) noexcept
    : pid(std::exchange(other.pid, -1)),
      exitNotice(std::exchange(other.exitNotice, -1)),
      ended(other.ended),
      exitStatus(other.exitStatus),
      output(std::move(other.output)),
      errors(std::move(other.errors)) {}

ChildProcess::~ChildProcess() {
    if (pid > 0 && !ended) {
        ::kill(pid, SIGKILL);
        reapNow();
    }
    if (exitNotice >= 0) ::close(exitNotice);
}

double ChildProcess::boundedSeconds(double seconds) {
    return std::isnan(seconds) ? 0.0 : std::clamp(seconds, 0.0, kLongestSpan);
}

ChildProcess::Deadline ChildProcess::deadlineAfter(double seconds) {
    const std::chrono::duration<double> span(boundedSeconds(seconds));
    return steady_clock::now() + std::chrono::duration_cast<steady_clock::duration>(span);
}

bool ChildProcess::waitForExit(Deadline deadline) {
    while (!hasEnded()) {
        if (steady_clock::now() >= deadline) return false;
        pump(std::min(deadline, steady_clock::now() + kTick));
    }
    return true;
}

void ChildProcess::terminate(milliseconds grace) {
    if (hasEnded()) return;
    ::kill(pid, SIGTERM);
    if (waitForExit(steady_clock::now() + grace)) return;
    ::kill(pid, SIGKILL);
    waitForExit(Deadline::max());
}

bool ChildProcess::drainOutput(Deadline deadline) {
    while (output.isOpen() || errors.isOpen()) {
        if (steady_clock::now() >= deadline) {
            output.abandon();
            errors.abandon();
            return false;
        }
        pump(std::min(deadline, steady_clock::now() + kTick));
    }
    return true;
}

bool ChildProcess::hasEnded() {
    if (ended) return true;
    int waitStatus = 0;
    const pid_t reaped = ::waitpid(pid, &waitStatus, WNOHANG);
    if (reaped == 0 || (reaped < 0 && errno == EINTR)) return false;
    // Anything else ends the wait; a child that vanished from under us
    // (someone else reaped it) keeps the status -1.
    ended = true;
    if (reaped == pid) exitStatus = statusOf(waitStatus);
    return true;
}

// Sleeps until a pipe has bytes or reaches its end, the child ends, or
// `until` comes, then takes what the pipes hold.
void ChildProcess::pump(Deadline until) {
    std::array<pollfd, 3> watched{};
    nfds_t count = 0;
    for (const PipeBuffer* pipe : {&output, &errors}) {
        if (pipe->isOpen()) watched[count++] = {pipe->descriptor(), POLLIN, 0};
    }
    if (exitNotice >= 0 && !ended) watched[count++] = {exitNotice, POLLIN, 0};
    const auto wait = std::chrono::ceil<milliseconds>(until - steady_clock::now());
    const int ready =
        ::poll(watched.data(), count, static_cast<int>(std::max<int64_t>(0, wait.count())));
    if (ready <= 0) return;
    output.readAvailable();
    errors.readAvailable();
}

void ChildProcess::reapNow() {
    int waitStatus = 0;
    pid_t reaped = -1;
    do {
        reaped = ::waitpid(pid, &waitStatus, 0);
    } while (reaped < 0 && errno == EINTR);
    ended = true;
    if (reaped == pid) exitStatus = statusOf(waitStatus);
}

}  // namespace vorn
