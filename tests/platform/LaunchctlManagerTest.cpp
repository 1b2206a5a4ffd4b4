#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/FakeTool.h"
#include "common/TempDir.h"
#include "platform/LaunchctlManager.h"

namespace vorn {
namespace {

using testing::FakeTool;
using testing::TempDir;
using Calls = std::vector<std::vector<std::string>>;

constexpr std::string_view kLabel = "com.pelorinth.vorn";
constexpr uid_t kUser = 501;

class LaunchctlManagerTest : public ::testing::Test {
  protected:
    TempDir folder;
    FakeTool launchctl{folder.path(), "launchctl"};
    LaunchctlManager manager{launchctl.path(), kUser};
    std::filesystem::path plist = folder / "Library/LaunchAgents/com.pelorinth.vorn.plist";
    std::string label{kLabel};
};

TEST_F(LaunchctlManagerTest, StartBootstrapsThePropertyListIntoTheLoginDomain) {
    EXPECT_TRUE(manager.start(label, plist).has_value());
    EXPECT_EQ(launchctl.calls(), (Calls{{"bootstrap", "gui/501", plist.string()}}));
}

TEST_F(LaunchctlManagerTest, StartOfALoadedJobSucceeds) {
    launchctl.on("bootstrap", {"",
                               "Bootstrap failed: 5: Input/output error\n"
                               "service already loaded\n",
                               5});
    EXPECT_TRUE(manager.start(label, plist).has_value());

    FakeTool older(folder.path(), "older-launchctl");
    older.on("bootstrap", {"Service is already bootstrapped\n", "", 37});
    EXPECT_TRUE(LaunchctlManager(older.path(), kUser).start(label, plist).has_value());
}

TEST_F(LaunchctlManagerTest, AnyOtherRefusalIsLaunchdsOwnWords) {
    launchctl.on("bootstrap", {"", "  Bootstrap failed: 5: Input/output error\n", 5});
    EXPECT_EQ(manager.start(label, plist).error(),
              LaunchAgentFailure::failed("Bootstrap failed: 5: Input/output error"));

    FakeTool silent(folder.path(), "silent-launchctl");
    silent.on("bootstrap", {"", "", 3});
    EXPECT_EQ(LaunchctlManager(silent.path(), kUser).start(label, plist).error().description(),
              "exit 3");
}

TEST_F(LaunchctlManagerTest, StartWithoutAPropertyListDoesntAskLaunchd) {
    EXPECT_EQ(manager.start(label, std::nullopt).error().description(),
              "No launchd plist is installed for this vorn.");
    EXPECT_FALSE(manager.hasUnitFile(label));
    EXPECT_TRUE(launchctl.calls().empty());
}

TEST_F(LaunchctlManagerTest, StopBootsTheJobOutAndAJobNotLoadedCountsAsStopped) {
    EXPECT_TRUE(manager.stop(label).has_value());
    EXPECT_EQ(launchctl.calls(), (Calls{{"bootout", "gui/501/com.pelorinth.vorn"}}));

    FakeTool noSuchProcess(folder.path(), "launchctl-no-such-process");
    noSuchProcess.on("bootout", {"", "Boot-out failed: 3: No such process\n", 3});
    EXPECT_TRUE(LaunchctlManager(noSuchProcess.path(), kUser).stop(label).has_value());
    FakeTool notFound(folder.path(), "launchctl-not-found");
    notFound.on("bootout", {"Could not find service in domain\n", "", 113});
    EXPECT_TRUE(LaunchctlManager(notFound.path(), kUser).stop(label).has_value());

    launchctl.on("bootout", {"", "Boot-out failed: 1: Operation not permitted\n", 1});
    EXPECT_EQ(manager.stop(label).error().description(),
              "Boot-out failed: 1: Operation not permitted");
}

TEST_F(LaunchctlManagerTest, KickstartKillsARunningJobAndFailsOnAnyRefusal) {
    EXPECT_TRUE(manager.kickstart(label).has_value());
    EXPECT_EQ(launchctl.calls(), (Calls{{"kickstart", "-k", "gui/501/com.pelorinth.vorn"}}));

    // Kickstart has no idempotent reading: a job that isn't loaded can't run.
    launchctl.on("kickstart", {"", "Could not find service \"com.pelorinth.vorn\"\n", 113});
    EXPECT_EQ(manager.kickstart(label).error().description(),
              "Could not find service \"com.pelorinth.vorn\"");
}

TEST_F(LaunchctlManagerTest, StateReadsThePrintOfTheJob) {
    launchctl.on("print", {"gui/501/com.pelorinth.vorn = {\n"
                           "\tactive count = 0\n"
                           "\tstate = not running\n"
                           "\trun interval = 300 seconds\n"
                           "\tlast exit code = 78: EX_CONFIG\n"
                           "\tlast exit code = 78\n"
                           "}\n",
                           "", 0});
    EXPECT_EQ(manager.state(label), (ServiceManager::UnitState{true, 78, std::nullopt, false}));
    EXPECT_EQ(launchctl.calls(), (Calls{{"print", "gui/501/com.pelorinth.vorn"}}));
}

TEST_F(LaunchctlManagerTest, AJobThatNeverExitedHasNoExitCode) {
    launchctl.on("print", {"\tlast exit code = (never exited)\n", "", 0});
    EXPECT_EQ(manager.state(label),
              (ServiceManager::UnitState{true, std::nullopt, std::nullopt, false}));
}

TEST_F(LaunchctlManagerTest, AJobLaunchdDoesntKnowIsNotLoaded) {
    launchctl.on("print",
                 {"", "Could not find service \"com.pelorinth.vorn\" in domain for port\n", 113});
    EXPECT_EQ(manager.state(label), ServiceManager::UnitState{});
}

TEST_F(LaunchctlManagerTest, ALaunchctlThatCannotRunRefusesAndKnowsNothing) {
    const LaunchctlManager missing(folder / "nowhere/launchctl", kUser);
    EXPECT_EQ(missing.state(label), ServiceManager::UnitState{});
    EXPECT_EQ(
        missing.stop(label).error().description(),
        "could not run " + (folder / "nowhere/launchctl").string() + ": No such file or directory");
}

}  // namespace
}  // namespace vorn
