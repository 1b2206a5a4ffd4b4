#include <gtest/gtest.h>

#include <QProcess>
#include <QProcessEnvironment>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include "app/Entry.h"
#include "common/TempDir.h"

namespace vorn {
namespace {

using testing::TempDir;

struct AppRun {
    int status = -1;
    std::string out;
    std::string err;
};

// Runs the built program with a home of the test's own and nothing else of
// this machine's configuration in its environment.
AppRun runApp(const QStringList& arguments, const TempDir& home) {
    QProcess process;
    QProcessEnvironment environment;
    environment.insert("HOME", QString::fromStdString(home.path().string()));
    environment.insert("PATH", "/usr/bin:/bin");
    process.setProcessEnvironment(environment);
    process.start(VORN_APP_BINARY, arguments);
    EXPECT_TRUE(process.waitForFinished(60000));
    return {process.exitCode(), process.readAllStandardOutput().toStdString(),
            process.readAllStandardError().toStdString()};
}

TEST(EntryArguments, ProbeIsSelectedOnlyByTheExactWordAnywhere) {
    EXPECT_TRUE(Entry::wantsProbe({"vorn-app", "--probe"}));
    EXPECT_TRUE(Entry::wantsProbe({"vorn-app", "-x", "--probe", "y"}));
    EXPECT_TRUE(Entry::wantsProbe({"--probe"}));  // even as the program name
    EXPECT_FALSE(Entry::wantsProbe({"vorn-app", "--PROBE"}));
    EXPECT_FALSE(Entry::wantsProbe({"vorn-app", "--probe=1"}));
    EXPECT_FALSE(Entry::wantsProbe({"vorn-app"}));
}

TEST(EntryBridge, ReturnsTheJobsStatusAsSoonAsItEnds) {
    EXPECT_EQ(Entry::runBlocking([] { return 7; }), 7);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Entry::runBlocking([] {
                  std::this_thread::sleep_for(std::chrono::milliseconds(120));
                  return -3;
              }),
              -3);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(120));
}

TEST(EntryProcess, UnconfiguredProbeExitsZeroOnStandardOutput) {
    TempDir home;
    const AppRun run = runApp({"--probe"}, home);
    EXPECT_EQ(run.status, 0);
    EXPECT_TRUE(run.err.empty()) << run.err;
    EXPECT_TRUE(run.out.starts_with("built-in     "));
    EXPECT_TRUE(run.out.ends_with("launchd release (no plist installed)\n")) << run.out;
}

TEST(EntryProcess, ProbeReadsTheLastInstallFromTheApplicationsSettings) {
    TempDir home;
    home.write(".config/Pelorinth/Vorn.conf",
               "[General]\nbundledInstallSummary=up to date (1.3.2)\nconfigPath=/elsewhere\n");
    const AppRun run = runApp({"--probe"}, home);
    EXPECT_EQ(run.status, 0);
    EXPECT_NE(run.out.find("\n  last install up to date (1.3.2)\n"), std::string::npos) << run.out;
    // No other preference reaches the report.
    EXPECT_NE(run.out.find("config       not yet, will be written at " +
                           (home / ".config/vorn/vorn.yaml").string() + "\n"),
              std::string::npos)
        << run.out;
}

TEST(EntryProcess, MalformedProbeWritesOnlyStandardErrorAndExitsOne) {
    TempDir home;
    home.write(".config/vorn/vorn.yaml", "routes: [x]\n");
    const AppRun run = runApp({"first", "--probe"}, home);
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(run.out.empty()) << run.out;
    EXPECT_TRUE(
        run.err.ends_with("ERROR        vorn.yaml could not be read \u2014 line 1: flow "
                          "collections are not supported: `[x]`\n"))
        << run.err;
}

TEST(EntryProcess, WithoutProbeTheApplicationRunsItsMonitorUntilStopped) {
    TempDir home;
    QProcess process;
    QProcessEnvironment environment;
    environment.insert("HOME", QString::fromStdString(home.path().string()));
    environment.insert("PATH", "/usr/bin:/bin");
    environment.insert("VORN_DEBUG", "1");
    environment.insert("QT_QPA_PLATFORM", "offscreen");
    process.setProcessEnvironment(environment);
    process.start(VORN_APP_BINARY, QStringList{});
    ASSERT_TRUE(process.waitForStarted(10000));

    // The monitor's first pass over an empty machine reaches the log.
    const std::filesystem::path log = home / "Library/Logs/Vorn.log";
    std::string text;
    for (int wait = 0; wait < 600 && text.find("snapshot loaded:") == std::string::npos; ++wait) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        std::ifstream stream(log);
        text.assign(std::istreambuf_iterator<char>(stream), {});
    }
    EXPECT_NE(text.find("--- Vorn launched (debug logging on) ---"), std::string::npos) << text;
    EXPECT_NE(text.find("snapshot loaded: config=no unit=no cli=yes"), std::string::npos) << text;
    EXPECT_EQ(process.state(), QProcess::Running) << process.readAllStandardError().toStdString();

    process.terminate();
    EXPECT_TRUE(process.waitForFinished(30000));
}

}  // namespace
}  // namespace vorn
