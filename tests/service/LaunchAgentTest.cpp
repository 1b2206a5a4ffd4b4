#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "common/FakeTool.h"
#include "common/PlistFile.h"
#include "common/TempDir.h"
#include "platform/LaunchctlManager.h"
#include "platform/SystemdUserManager.h"
#include "service/LaunchAgent.h"
#include "service/Probe.h"

namespace vorn {

void PrintTo(const TimerStatus& timer, std::ostream* stream) {
    *stream << Probe::timerLine("timer", timer);
}

namespace {

using testing::FakeTool;
using testing::TempDir;
using testing::writeLaunchAgentPlist;

constexpr std::string_view kTimerUnknown =
    "Id=com.pelorinth.vorn.timer\nLoadState=not-found\nActiveState=inactive\nFragmentPath=\n\n"
    "Id=com.pelorinth.vorn.service\nLoadState=not-found\nActiveState=inactive\n";

std::string timerEvery(std::string_view span) {
    return "Id=com.pelorinth.vorn.timer\nLoadState=loaded\nActiveState=active\n"
           "FragmentPath=/home/ada/.config/systemd/user/com.pelorinth.vorn.timer\n"
           "TimersMonotonic={ OnUnitActiveUSec=" +
           std::string(span) + " ; next_elapse=1min }\n";
}

class LaunchAgentTest : public ::testing::Test {
  protected:
    LaunchAgent agentWithPlist(std::optional<std::int64_t> startInterval) const {
        const auto plist = home / "Library/LaunchAgents/com.pelorinth.vorn.plist";
        writeLaunchAgentPlist(plist, "com.pelorinth.vorn", {"/usr/local/bin/vorn", "run"},
                              startInterval);
        return {"com.pelorinth.vorn", plist};
    }
    // Named where no file is, whatever the test wrote.
    LaunchAgent agentWithoutPlist() const {
        return {"com.pelorinth.vorn", home / "Library/Gone/com.pelorinth.vorn.plist"};
    }

    TempDir home;
    TempDir tools;
};

TEST_F(LaunchAgentTest, APropertyListTheServiceManagerDoesntKnowIsInstalledButNotLoaded) {
    FakeTool systemctl(tools.path(), "systemctl");
    systemctl.on("show", {std::string(kTimerUnknown), "", 0});
    const TimerStatus status = agentWithPlist(300).status(SystemdUserManager(systemctl.path()));
    EXPECT_EQ(status, (TimerStatus{"com.pelorinth.vorn", true, false, 300, std::nullopt}));
    EXPECT_EQ(Probe::timerLine("run timer", status),
              "run timer     com.pelorinth.vorn installed=true loaded=false every 300s\n");

    // The same where no service manager answers at all.
    const SystemdUserManager absent(tools / "nowhere/systemctl");
    EXPECT_EQ(agentWithPlist(300).status(absent), status);
}

TEST_F(LaunchAgentTest, ThisMachinesOwnManagerDoesntKnowALabelNoOneInstalled) {
    // Whichever manager this machine has, and whether or not it answers.
    const std::string label = "com.pelorinth.vorn-test." + std::to_string(::getpid());
    const auto plist = home / ("Library/LaunchAgents/" + label + ".plist");
    writeLaunchAgentPlist(plist, label, {"/usr/local/bin/vorn", "run"}, 300);
    const TimerStatus status = LaunchAgent{label, plist}.status();
    EXPECT_EQ(status, (TimerStatus{label, true, false, 300, std::nullopt}));
    EXPECT_EQ(Probe::timerLine("run timer", status),
              "run timer     " + label + " installed=true loaded=false every 300s\n");
}

TEST_F(LaunchAgentTest, StatusThroughLaunchdReadsThePropertyListsInterval) {
    FakeTool launchctl(tools.path(), "launchctl");
    launchctl.on("print", {"\tlast exit code = 78\n", "", 0});
    EXPECT_EQ(agentWithPlist(600).status(LaunchctlManager(launchctl.path(), 501)),
              (TimerStatus{"com.pelorinth.vorn", true, true, 600, 78}));
    EXPECT_EQ(agentWithoutPlist().status(LaunchctlManager(launchctl.path(), 501)),
              (TimerStatus{"com.pelorinth.vorn", false, true, std::nullopt, 78}));
}

TEST_F(LaunchAgentTest, AUnitFileAloneInstallsTheAgentAndGivesTheInterval) {
    FakeTool systemctl(tools.path(), "systemctl");
    systemctl.on("show", {timerEvery("15min"), "", 0});
    const SystemdUserManager manager(systemctl.path());
    EXPECT_EQ(agentWithoutPlist().status(manager),
              (TimerStatus{"com.pelorinth.vorn", true, true, 900, std::nullopt}));
    // A property list without an interval leaves the timer's; one with an
    // interval comes first.
    EXPECT_EQ(agentWithPlist(std::nullopt).status(manager).intervalSeconds, 900);
    EXPECT_EQ(agentWithPlist(300).status(manager).intervalSeconds, 300);
}

TEST_F(LaunchAgentTest, APropertyListPathWithNoFileIsNoPropertyList) {
    FakeTool launchctl(tools.path(), "launchctl");
    const LaunchctlManager manager(launchctl.path(), 501);
    const LaunchAgent folderNotFile{"com.pelorinth.vorn", home.path()};
    for (const LaunchAgent& agent :
         {agentWithoutPlist(), LaunchAgent{"com.pelorinth.vorn", std::nullopt}, folderNotFile}) {
        EXPECT_FALSE(agent.hasPropertyList());
        EXPECT_EQ(agent.start(manager).error().description(),
                  "No launchd plist is installed for this vorn.");
    }
    EXPECT_TRUE(launchctl.calls().empty());

    EXPECT_TRUE(agentWithPlist(300).start(manager).has_value());
    EXPECT_EQ(launchctl.calls().at(0).at(0), "bootstrap");
}

TEST_F(LaunchAgentTest, StartUnderSystemdNeedsAPropertyListOrAUnitFile) {
    FakeTool unknown(tools.path(), "systemctl-unknown");
    unknown.on("show", {std::string(kTimerUnknown), "", 0});
    EXPECT_EQ(agentWithoutPlist().start(SystemdUserManager(unknown.path())).error(),
              LaunchAgentFailure::noPropertyList());
    EXPECT_EQ(unknown.calls().size(), 1u);

    FakeTool known(tools.path(), "systemctl-known");
    known.on("show", {timerEvery("5min"), "", 0});
    EXPECT_TRUE(agentWithoutPlist().start(SystemdUserManager(known.path())).has_value());
    EXPECT_EQ(known.calls().back(),
              (std::vector<std::string>{"--user", "enable", "--now", "com.pelorinth.vorn.timer"}));

    // With the property list there, systemd itself is asked and answers.
    FakeTool withPlist(tools.path(), "systemctl-plist");
    withPlist.on("enable", {"",
                            "Failed to enable unit: Unit file com.pelorinth.vorn.timer does "
                            "not exist.\n",
                            1});
    EXPECT_EQ(agentWithPlist(300).start(SystemdUserManager(withPlist.path())).error(),
              LaunchAgentFailure::failed(
                  "Failed to enable unit: Unit file com.pelorinth.vorn.timer does not exist."));
    EXPECT_EQ(withPlist.calls().size(), 1u);
}

}  // namespace
}  // namespace vorn
