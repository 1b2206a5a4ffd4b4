#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <string>

#include "common/ShellResultPrinter.h"
#include "common/TempDir.h"
#include "service/Shell.h"
#include "support/TextFile.h"

namespace vorn {
namespace {

using testing::TempDir;
using Clock = std::chrono::steady_clock;

ShellResult sh(const std::string& script, double timeout = 30) {
    return Shell::run("/bin/sh", {"-c", script}, std::nullopt, std::nullopt, timeout);
}

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// Ends a process a test's child left running, whose id it wrote to `file`.
void killLeftover(const std::filesystem::path& file) {
    const auto pid = TextFile::read(file);
    ASSERT_TRUE(pid.has_value()) << pid.error();
    ::kill(std::stoi(*pid), SIGKILL);
}

TEST(ShellRun, CollectsBothStreamsAndTheExitStatus) {
    const ShellResult result = sh("echo out; echo err >&2; exit 3");
    EXPECT_EQ(result, (ShellResult{3, "out\n", "err\n"}));
    EXPECT_FALSE(result.ok());
    EXPECT_EQ(result.output(), "out\nerr");

    EXPECT_TRUE(sh("true").ok());
    EXPECT_EQ(sh("printf ' \\n\\t'; echo '  only err  ' >&2").output(), "only err");
    EXPECT_EQ(sh("echo '  only out'").output(), "only out");
}

TEST(ShellRun, ASignalThatEndsTheChildIsItsStatus) {
    EXPECT_EQ(sh("kill -KILL $$").status, SIGKILL);
    EXPECT_EQ(sh("kill -TERM $$").status, SIGTERM);
}

TEST(ShellRun, WorkingDirectoryAndEnvironmentAreInheritedUnlessGiven) {
    TempDir folder;
    EXPECT_EQ(Shell::run("/bin/pwd", {}, folder.path(), std::nullopt, 30).stdout,
              folder.path().string() + "\n");
    EXPECT_EQ(Shell::run("/bin/pwd", {}, std::nullopt, std::nullopt, 30).stdout,
              std::filesystem::current_path().string() + "\n");

    EXPECT_EQ(
        Shell::run("/usr/bin/env", {}, std::nullopt, Environment{{"ONLY", "this one"}}, 30).stdout,
        "ONLY=this one\n");
    ::setenv("VORN_SHELL_TEST_MARK", "inherited", 1);
    EXPECT_EQ(sh("echo \"$VORN_SHELL_TEST_MARK\"").stdout, "inherited\n");
    ::unsetenv("VORN_SHELL_TEST_MARK");
}

TEST(ShellRun, AProgramThatCannotStartGivesTheSystemsReason) {
    EXPECT_EQ(Shell::run("/nonexistent/tool", {"x"}, std::nullopt, std::nullopt, 30),
              (ShellResult{-1, "", "could not run /nonexistent/tool: No such file or directory"}));
    // The path is taken as it is: no search of PATH.
    EXPECT_EQ(Shell::run("sh", {"-c", "true"}, std::nullopt, std::nullopt, 30).stderr,
              "could not run sh: No such file or directory");

    TempDir folder;
    const auto notExecutable = folder.write("script", "#!/bin/sh\necho hi\n");
    EXPECT_EQ(Shell::run(notExecutable, {}, std::nullopt, std::nullopt, 30).stderr,
              "could not run " + notExecutable.string() + ": Permission denied");
    EXPECT_EQ(Shell::run("/bin/pwd", {}, folder / "gone", std::nullopt, 30),
              (ShellResult{-1, "", "could not run /bin/pwd: No such file or directory"}));
}

TEST(ShellRun, OutputBeyondThePipesCapacityArrivesWholeOnBothStreams) {
    // Standard error first: a runner that read one stream to its end before
    // the other would leave this child blocked on a full pipe.
    const ShellResult result =
        sh("head -c 1048576 /dev/zero | tr '\\0' e >&2; head -c 1500000 /dev/zero | tr '\\0' o");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.stdout, std::string(1500000, 'o'));
    EXPECT_EQ(result.stderr, std::string(1048576, 'e'));
}

TEST(ShellRun, BytesThatAreNotUTF8AreReplaced) {
    const ShellResult result = sh("printf 'a\\377b'; printf '\\300x' >&2");
    EXPECT_EQ(result.stdout,
              "a\xEF\xBF\xBD"
              "b");
    EXPECT_EQ(result.stderr, "\xEF\xBF\xBDx");
}

// The standard signals (1 to 31) of a mask line of /proc/{pid}/status; the
// C library keeps two real-time signals of its own ignored across a start.
uint64_t standardSignalsIn(const std::string& status, const std::string& key) {
    const size_t line = status.find(key + ":\t");
    if (line == std::string::npos) return ~uint64_t{0};
    return std::stoull(status.substr(line + key.size() + 2, 16), nullptr, 16) & 0x7fffffff;
}

TEST(ShellRun, TheChildStartsWithNullInputNoStrayDescriptorsAndDefaultSignals) {
    // Everything this process might hand down by accident: a descriptor
    // without close-on-exec, an ignored SIGPIPE, a blocked signal.
    const int stray = ::open("/dev/null", O_RDONLY);
    ASSERT_GE(stray, 0);
    ::signal(SIGPIPE, SIG_IGN);
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGUSR1);
    ::pthread_sigmask(SIG_BLOCK, &blocked, nullptr);

    const ShellResult descriptors = sh("ls /proc/$$/fd | tr '\\n' ' '; readlink /proc/$$/fd/0");
    // Read by the started program itself: a shell in between blocks signals
    // around its own forks, and reading it from outside could catch that.
    const ShellResult signals =
        Shell::run("/bin/cat", {"/proc/self/status"}, std::nullopt, std::nullopt, 30);

    ::pthread_sigmask(SIG_UNBLOCK, &blocked, nullptr);
    ::signal(SIGPIPE, SIG_DFL);
    ::close(stray);
    EXPECT_EQ(descriptors.stdout, "0 1 2 /dev/null\n");
    EXPECT_EQ(standardSignalsIn(signals.stdout, "SigIgn"), 0u);
    EXPECT_EQ(standardSignalsIn(signals.stdout, "SigBlk"), 0u);
}

TEST(ShellTimeout, TheMessageNamesWholeSecondsAndWhatWasReadIsKept) {
    const ShellResult result = sh("echo before; echo warning >&2; exec sleep 30", 2.5);
    EXPECT_EQ(result, (ShellResult{-1, "before\n", "warning\ntimed out after 2 s"}));
    EXPECT_EQ(sh("printf warning >&2; exec sleep 30", 0.2).stderr, "warning\ntimed out after 0 s");

    EXPECT_EQ(sh("exec sleep 30", 0.2), (ShellResult{-1, "", "timed out after 0 s"}));
}

TEST(ShellTimeout, AChildIgnoringSIGTERMIsKilledAfterTwoSeconds) {
    auto start = Clock::now();
    const ShellResult stubborn = sh("trap '' TERM; echo ready; exec sleep 30", 0.3);
    const double stubbornSeconds = secondsSince(start);
    EXPECT_EQ(stubborn, (ShellResult{-1, "ready\n", "timed out after 0 s"}));
    EXPECT_GE(stubbornSeconds, 2.3);
    EXPECT_LT(stubbornSeconds, 10.0);

    // One that honours SIGTERM is not made to wait for the grace period.
    start = Clock::now();
    EXPECT_EQ(sh("exec sleep 30", 0.3).status, -1);
    EXPECT_LT(secondsSince(start), 2.0);
}

TEST(ShellLinger, AProcessLeftHoldingTheOutputHoldsTheCallerAtMostFiveSeconds) {
    TempDir folder;
    const auto pidFile = folder / "pid";
    auto start = Clock::now();
    const ShellResult held = sh("sleep 30 & echo $! > '" + pidFile.string() + "'; echo done");
    const double heldSeconds = secondsSince(start);
    killLeftover(pidFile);
    // The end of the streams was never seen, so they count as empty.
    EXPECT_EQ(held, (ShellResult{0, "", ""}));
    EXPECT_GE(heldSeconds, 4.5);
    EXPECT_LT(heldSeconds, 10.0);

    // A background process that lets go of the streams costs nothing.
    start = Clock::now();
    const ShellResult released =
        sh("sleep 30 >/dev/null 2>&1 & echo $! > '" + pidFile.string() + "'; echo done");
    EXPECT_LT(secondsSince(start), 4.0);
    killLeftover(pidFile);
    EXPECT_EQ(released, (ShellResult{0, "done\n", ""}));
}

TEST(ShellLinger, AfterATimeOutTheWaitForTheOutputIsOneSecond) {
    TempDir folder;
    const auto pidFile = folder / "pid";
    const auto start = Clock::now();
    const ShellResult result =
        sh("sleep 30 & echo $! > '" + pidFile.string() + "'; exec sleep 30", 0.2);
    const double seconds = secondsSince(start);
    killLeftover(pidFile);
    EXPECT_EQ(result, (ShellResult{-1, "", "timed out after 0 s"}));
    EXPECT_GE(seconds, 1.1);
    EXPECT_LT(seconds, 4.0);
}

}  // namespace
}  // namespace vorn
