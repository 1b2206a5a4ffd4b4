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

class LaunchctlManagerTest : public ::testing::Test {
  protected:
    // A launchctl answering `verb` so, and the manager that runs it.
    LaunchctlManager answering(std::string verb, FakeTool::Answer answer) {
        tools.emplace_back(folder.path(), "launchctl-" + std::to_string(tools.size()));
        tools.back().on(std::move(verb), std::move(answer));
        return LaunchctlManager(tools.back().path(), 501);
    }

    TempDir folder;
    std::vector<FakeTool> tools;
    FakeTool launchctl{folder.path(), "launchctl"};
    LaunchctlManager manager{launchctl.path(), 501};
    std::filesystem::path plist = folder / "Library/LaunchAgents/com.pelorinth.vorn.plist";
    std::string label = "com.pelorinth.vorn";
};

TEST_F(LaunchctlManagerTest, EachOperationNamesTheJobInTheUsersLoginDomain) {
    EXPECT_TRUE(manager.start(label, plist).has_value());
    EXPECT_TRUE(manager.stop(label).has_value());
    EXPECT_TRUE(manager.kickstart(label).has_value());
    EXPECT_TRUE(manager.state(label).loaded);
    EXPECT_EQ(launchctl.calls(), (Calls{{"bootstrap", "gui/501", plist.string()},
                                        {"bootout", "gui/501/com.pelorinth.vorn"},
                                        {"kickstart", "-k", "gui/501/com.pelorinth.vorn"},
                                        {"print", "gui/501/com.pelorinth.vorn"}}));
}

TEST_F(LaunchctlManagerTest, StartingALoadedJobSucceedsAndOtherRefusalsAreLaunchdsOwnWords) {
    EXPECT_TRUE(answering("bootstrap", {"",
                                        "Bootstrap failed: 5: Input/output error\n"
                                        "service already loaded\n",
                                        5})
                    .start(label, plist)
                    .has_value());
    EXPECT_TRUE(answering("bootstrap", {"Service is already bootstrapped\n", "", 37})
                    .start(label, plist)
                    .has_value());
    EXPECT_EQ(answering("bootstrap", {"", "  Bootstrap failed: 5: Input/output error\n", 5})
                  .start(label, plist)
                  .error(),
              LaunchAgentFailure::failed("Bootstrap failed: 5: Input/output error"));
    EXPECT_EQ(answering("bootstrap", {"", "", 3}).start(label, plist).error().description(),
              "exit 3");
}

TEST_F(LaunchctlManagerTest, StartWithoutAPropertyListDoesntAskLaunchd) {
    EXPECT_EQ(manager.start(label, std::nullopt).error().description(),
              "No launchd plist is installed for this vorn.");
    EXPECT_FALSE(manager.hasUnitFile(label));
    EXPECT_TRUE(launchctl.calls().empty());
}

TEST_F(LaunchctlManagerTest, StoppingAJobThatIsntLoadedSucceedsButKickstartingOneFails) {
    EXPECT_TRUE(answering("bootout", {"", "Boot-out failed: 3: No such process\n", 3})
                    .stop(label)
                    .has_value());
    EXPECT_TRUE(answering("bootout", {"Could not find service in domain\n", "", 113})
                    .stop(label)
                    .has_value());
    EXPECT_EQ(answering("bootout", {"", "Boot-out failed: 1: Operation not permitted\n", 1})
                  .stop(label)
                  .error()
                  .description(),
              "Boot-out failed: 1: Operation not permitted");
    EXPECT_EQ(answering("kickstart", {"", "Could not find service \"com.pelorinth.vorn\"\n", 113})
                  .kickstart(label)
                  .error()
                  .description(),
              "Could not find service \"com.pelorinth.vorn\"");
}

TEST_F(LaunchctlManagerTest, StateReadsTheLastExitCodeOfTheJobsPrint) {
    const std::string print =
        "gui/501/com.pelorinth.vorn = {\n"
        "\tstate = not running\n"
        "\tlast exit code = 78: EX_CONFIG\n"
        "\tlast exit code = 78\n"
        "}\n";
    EXPECT_EQ(answering("print", {print, "", 0}).state(label),
              (ServiceManager::UnitState{true, 78, std::nullopt, false}));
    EXPECT_EQ(answering("print", {"\tlast exit code = (never exited)\n", "", 0}).state(label),
              (ServiceManager::UnitState{true, std::nullopt, std::nullopt, false}));
    EXPECT_EQ(answering("print", {"", "Could not find service \"com.pelorinth.vorn\"\n", 113})
                  .state(label),
              ServiceManager::UnitState{});
}

TEST_F(LaunchctlManagerTest, ALaunchctlThatCannotRunRefusesAndKnowsNothing) {
    const LaunchctlManager missing(folder / "nowhere/launchctl", 501);
    EXPECT_EQ(missing.state(label), ServiceManager::UnitState{});
    EXPECT_EQ(
        missing.stop(label).error().description(),
        "could not run " + (folder / "nowhere/launchctl").string() + ": No such file or directory");
}

}  // namespace
}  // namespace vorn
