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
using UnitState = ServiceManager::UnitState;

// What `show` prints for a loaded timer and its job; `serviceExit` holds
// the job's ExecMain properties.
std::string shownUnits(std::string_view timerState, std::string_view serviceExit) {
    return "Id=com.pelorinth.vorn.timer\nLoadState=loaded\nActiveState=" + std::string(timerState) +
           "\nFragmentPath=/home/ada/.config/systemd/user/com.pelorinth.vorn.timer\n"
           "TimersMonotonic={ OnUnitActiveUSec=5min ; next_elapse=2min 10.5s }\n"
           "\n"
           "Id=com.pelorinth.vorn.service\nLoadState=loaded\nActiveState=inactive\n" +
           std::string(serviceExit);
}

class SystemdUserManagerTest : public ::testing::Test {
  protected:
    // A systemctl answering `verb` so, and the manager that runs it.
    SystemdUserManager answering(std::string verb, FakeTool::Answer answer) {
        systemctl.on(std::move(verb), std::move(answer));
        return SystemdUserManager(systemctl.path());
    }

    TempDir folder;
    FakeTool systemctl{folder.path(), "systemctl"};
    SystemdUserManager manager{systemctl.path()};
    std::string label = "com.pelorinth.vorn";
};

TEST_F(SystemdUserManagerTest, EachOperationNamesTheTimerOrTheJobOfTheLabel) {
    EXPECT_TRUE(manager.start(label, std::nullopt).has_value());
    EXPECT_TRUE(manager.stop(label).has_value());
    // Restarting waits for nothing: a job runs as long as its cycle.
    EXPECT_TRUE(manager.kickstart(label).has_value());
    manager.state(label);
    EXPECT_EQ(systemctl.calls(),
              (Calls{{"--user", "enable", "--now", "com.pelorinth.vorn.timer"},
                     {"--user", "disable", "--now", "com.pelorinth.vorn.timer"},
                     {"--user", "stop", "com.pelorinth.vorn.service"},
                     {"--user", "--no-block", "restart", "com.pelorinth.vorn.service"},
                     {"--user", "show",
                      "--property=Id,LoadState,ActiveState,FragmentPath,TimersMonotonic,"
                      "ExecMainCode,ExecMainStatus,ExecMainExitTimestampMonotonic",
                      "com.pelorinth.vorn.timer", "com.pelorinth.vorn.service"}}));
}

TEST_F(SystemdUserManagerTest, RefusalsAreSystemctlsOwnWords) {
    const std::string noUnitFile =
        "Failed to enable unit: Unit file com.pelorinth.vorn.timer does not exist.";
    EXPECT_EQ(answering("enable", {"", noUnitFile + "\n", 1}).start(label, std::nullopt).error(),
              LaunchAgentFailure::failed(noUnitFile));
    EXPECT_EQ(answering("restart", {"", "", 5}).kickstart(label).error().description(), "exit 5");
}

TEST_F(SystemdUserManagerTest, StoppingUnitsThatArentThereSucceeds) {
    answering(
        "disable",
        {"", "Failed to disable unit: Unit file com.pelorinth.vorn.timer does not exist.\n", 1});
    answering("stop", {"",
                       "Failed to stop com.pelorinth.vorn.service: Unit "
                       "com.pelorinth.vorn.service not loaded.\n",
                       5});
    EXPECT_TRUE(manager.stop(label).has_value());
    EXPECT_EQ(systemctl.calls().size(), 2u);
}

TEST_F(SystemdUserManagerTest, StopWithoutAServiceManagerFailsAtTheTimer) {
    answering("disable", {"", "Failed to connect to bus: No medium found\n", 1});
    EXPECT_EQ(manager.stop(label).error().description(),
              "Failed to connect to bus: No medium found");
    EXPECT_EQ(systemctl.calls().size(), 1u);
}

TEST_F(SystemdUserManagerTest, StateOfAnActiveTimerWhoseJobExited) {
    answering("show", {shownUnits("active",
                                  "ExecMainCode=1\nExecMainStatus=78\n"
                                  "ExecMainExitTimestampMonotonic=91234567\n"),
                       "", 0});
    EXPECT_EQ(manager.state(label), (UnitState{true, 78, 300, true}));
    EXPECT_TRUE(manager.hasUnitFile(label));
}

TEST_F(SystemdUserManagerTest, AJobThatNeverExitedHasNoExitCode) {
    answering("show", {shownUnits("inactive",
                                  "ExecMainCode=0\nExecMainStatus=0\n"
                                  "ExecMainExitTimestampMonotonic=0\n"),
                       "", 0});
    EXPECT_EQ(manager.state(label), (UnitState{false, std::nullopt, 300, true}));
}

TEST_F(SystemdUserManagerTest, AJobKilledBySignalHasNoExitCode) {
    // The status is then the signal's number.
    answering("show", {shownUnits("active",
                                  "ExecMainCode=2\nExecMainStatus=15\n"
                                  "ExecMainExitTimestampMonotonic=91234567\n"),
                       "", 0});
    EXPECT_EQ(manager.state(label).lastExitCode, std::nullopt);
}

TEST_F(SystemdUserManagerTest, UnitsSystemdDoesntKnowAreNotLoadedAndHaveNoFile) {
    answering("show", {"Id=com.pelorinth.vorn.timer\nLoadState=not-found\nActiveState=inactive\n"
                       "FragmentPath=\n\n"
                       "Id=com.pelorinth.vorn.service\nLoadState=not-found\n"
                       "ExecMainCode=0\nExecMainStatus=0\nExecMainExitTimestampMonotonic=0\n",
                       "", 0});
    EXPECT_EQ(manager.state(label), UnitState{});
    EXPECT_FALSE(manager.hasUnitFile(label));
}

TEST_F(SystemdUserManagerTest, WhereNoServiceManagerAnswersNothingIsKnown) {
    answering("show", {"", "Failed to connect to bus: No medium found\n", 1});
    EXPECT_EQ(manager.state(label), UnitState{});

    const SystemdUserManager missing(folder / "nowhere/systemctl");
    EXPECT_EQ(missing.state(label), UnitState{});
    EXPECT_EQ(
        missing.start(label, std::nullopt).error().description(),
        "could not run " + (folder / "nowhere/systemctl").string() + ": No such file or directory");
}

}  // namespace
}  // namespace vorn

namespace vorn {
namespace {

TEST(SystemdUserManagerReach, OnlyASessionBusOrTheManagersSocketsCanAnswer) {
    TempDir runtime;
    const auto reachable = [](Environment environment) {
        return SystemdUserManager::userManagerReachable(environment);
    };
    EXPECT_FALSE(reachable({}));
    EXPECT_FALSE(reachable({{"XDG_RUNTIME_DIR", runtime.path().string()}}));
    EXPECT_TRUE(reachable({{"DBUS_SESSION_BUS_ADDRESS", "unix:path=/run/user/1000/bus"}}));
    runtime.write("bus", "");
    EXPECT_TRUE(reachable({{"XDG_RUNTIME_DIR", runtime.path().string()}}));
    std::filesystem::remove(runtime / "bus");
    runtime.write("systemd/private", "");
    EXPECT_TRUE(reachable({{"XDG_RUNTIME_DIR", runtime.path().string()}}));
}

}  // namespace
}  // namespace vorn
