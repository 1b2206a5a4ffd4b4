#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/FakeTool.h"
#include "common/TempDir.h"
#include "platform/SystemdUserManager.h"

namespace vorn {
namespace {

using testing::FakeTool;
using testing::TempDir;
using Calls = std::vector<std::vector<std::string>>;

constexpr std::string_view kShowProperties =
    "--property=Id,LoadState,ActiveState,FragmentPath,TimersMonotonic,ExecMainCode,"
    "ExecMainStatus,ExecMainExitTimestampMonotonic";

// What `show` prints for a timer and its job that systemd has loaded.
std::string shownUnits(std::string_view timerState, std::string_view serviceExit) {
    return "Id=com.pelorinth.vorn.timer\n"
           "LoadState=loaded\n"
           "ActiveState=" +
           std::string(timerState) +
           "\n"
           "FragmentPath=/home/ada/.config/systemd/user/com.pelorinth.vorn.timer\n"
           "TimersMonotonic={ OnUnitActiveUSec=5min ; next_elapse=2min 10.5s }\n"
           "\n"
           "Id=com.pelorinth.vorn.service\n"
           "LoadState=loaded\n"
           "ActiveState=inactive\n"
           "FragmentPath=/home/ada/.config/systemd/user/com.pelorinth.vorn.service\n" +
           std::string(serviceExit);
}

constexpr std::string_view kNotFound =
    "Id=com.pelorinth.vorn.timer\n"
    "LoadState=not-found\n"
    "ActiveState=inactive\n"
    "FragmentPath=\n"
    "\n"
    "Id=com.pelorinth.vorn.service\n"
    "LoadState=not-found\n"
    "ActiveState=inactive\n"
    "FragmentPath=\n"
    "ExecMainCode=0\n"
    "ExecMainStatus=0\n"
    "ExecMainExitTimestampMonotonic=0\n";

class SystemdUserManagerTest : public ::testing::Test {
  protected:
    TempDir folder;
    FakeTool systemctl{folder.path(), "systemctl"};
    SystemdUserManager manager{systemctl.path()};
    std::string label{"com.pelorinth.vorn"};
};

TEST_F(SystemdUserManagerTest, StartEnablesAndStartsTheTimer) {
    EXPECT_TRUE(manager.start(label, std::nullopt).has_value());
    EXPECT_EQ(systemctl.calls(),
              (Calls{{"--user", "enable", "--now", "com.pelorinth.vorn.timer"}}));

    systemctl.on("enable", {"",
                            "Failed to enable unit: Unit file com.pelorinth.vorn.timer does "
                            "not exist.\n",
                            1});
    EXPECT_EQ(manager.start(label, std::nullopt).error().description(),
              "Failed to enable unit: Unit file com.pelorinth.vorn.timer does not exist.");
}

TEST_F(SystemdUserManagerTest, StopDisablesTheTimerAndStopsARunningJob) {
    EXPECT_TRUE(manager.stop(label).has_value());
    EXPECT_EQ(systemctl.calls(), (Calls{{"--user", "disable", "--now", "com.pelorinth.vorn.timer"},
                                        {"--user", "stop", "com.pelorinth.vorn.service"}}));
}

TEST_F(SystemdUserManagerTest, StopOfUnitsThatArentThereSucceeds) {
    systemctl
        .on("disable",
            {"", "Failed to disable unit: Unit file com.pelorinth.vorn.timer does not exist.\n", 1})
        .on("stop",
            {"",
             "Failed to stop com.pelorinth.vorn.service: Unit com.pelorinth.vorn.service not "
             "loaded.\n",
             5});
    EXPECT_TRUE(manager.stop(label).has_value());
    EXPECT_EQ(systemctl.calls().size(), 2u);
}

TEST_F(SystemdUserManagerTest, StopWithoutAServiceManagerFailsInItsWords) {
    systemctl.on("disable", {"", "Failed to connect to bus: No medium found\n", 1});
    EXPECT_EQ(manager.stop(label).error().description(),
              "Failed to connect to bus: No medium found");
    EXPECT_EQ(systemctl.calls().size(), 1u);

    FakeTool stuckJob(folder.path(), "systemctl-stuck");
    stuckJob.on("stop", {"", "Job for com.pelorinth.vorn.service canceled.\n", 1});
    EXPECT_EQ(SystemdUserManager(stuckJob.path()).stop(label).error().description(),
              "Job for com.pelorinth.vorn.service canceled.");
}

TEST_F(SystemdUserManagerTest, KickstartRestartsTheJobWithoutWaitingForIt) {
    EXPECT_TRUE(manager.kickstart(label).has_value());
    EXPECT_EQ(systemctl.calls(),
              (Calls{{"--user", "--no-block", "restart", "com.pelorinth.vorn.service"}}));

    systemctl.on("restart", {"",
                             "Failed to restart com.pelorinth.vorn.service: Unit "
                             "com.pelorinth.vorn.service not found.\n",
                             5});
    EXPECT_EQ(manager.kickstart(label).error().description(),
              "Failed to restart com.pelorinth.vorn.service: Unit com.pelorinth.vorn.service not "
              "found.");
}

TEST_F(SystemdUserManagerTest, StateOfAnActiveTimerWhoseJobExited) {
    systemctl.on("show", {shownUnits("active",
                                     "ExecMainCode=1\n"
                                     "ExecMainStatus=78\n"
                                     "ExecMainExitTimestampMonotonic=91234567\n"),
                          "", 0});
    EXPECT_EQ(manager.state(label), (ServiceManager::UnitState{true, 78, 300, true}));
    EXPECT_EQ(systemctl.calls(),
              (Calls{{"--user", "show", std::string(kShowProperties), "com.pelorinth.vorn.timer",
                      "com.pelorinth.vorn.service"}}));
    EXPECT_TRUE(manager.hasUnitFile(label));
}

TEST_F(SystemdUserManagerTest, AJobThatNeverExitedOrWasKilledHasNoExitCode) {
    systemctl.on("show", {shownUnits("inactive",
                                     "ExecMainCode=0\n"
                                     "ExecMainStatus=0\n"
                                     "ExecMainExitTimestampMonotonic=0\n"),
                          "", 0});
    EXPECT_EQ(manager.state(label), (ServiceManager::UnitState{false, std::nullopt, 300, true}));

    // Ended by SIGTERM: the status is the signal's number, no exit code.
    FakeTool killed(folder.path(), "systemctl-killed");
    killed.on("show", {shownUnits("active",
                                  "ExecMainCode=2\n"
                                  "ExecMainStatus=15\n"
                                  "ExecMainExitTimestampMonotonic=91234567\n"),
                       "", 0});
    EXPECT_EQ(SystemdUserManager(killed.path()).state(label).lastExitCode, std::nullopt);
}

TEST_F(SystemdUserManagerTest, UnitsSystemdDoesntKnowAreNotLoadedAndHaveNoFile) {
    systemctl.on("show", {std::string(kNotFound), "", 0});
    EXPECT_EQ(manager.state(label), ServiceManager::UnitState{});
    EXPECT_FALSE(manager.hasUnitFile(label));
}

TEST_F(SystemdUserManagerTest, WhereNoServiceManagerAnswersNothingIsKnown) {
    systemctl.on("show", {"", "Failed to connect to bus: No medium found\n", 1});
    EXPECT_EQ(manager.state(label), ServiceManager::UnitState{});

    const SystemdUserManager missing(folder / "nowhere/systemctl");
    EXPECT_EQ(missing.state(label), ServiceManager::UnitState{});
    EXPECT_EQ(
        missing.start(label, std::nullopt).error().description(),
        "could not run " + (folder / "nowhere/systemctl").string() + ": No such file or directory");
}

}  // namespace
}  // namespace vorn
