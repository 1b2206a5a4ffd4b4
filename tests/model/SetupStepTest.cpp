#include <gtest/gtest.h>

#include "common/TempDir.h"
#include "model/SetupStep.h"

namespace vorn {
namespace {

using testing::TempDir;

// A configured machine on the disk: vorn.yaml, a route whose repository
// lives at `web`, and the state folder the scheduler resolves routes into.
struct Machine {
    TempDir root;
    VornInstallation installation{.configFile = root / "vorn.yaml", .configExists = true};

    Machine() { root.write("vorn.yaml", "ship:\n  name: Kestrel\n"); }

    VornSnapshot configured() const {
        VornConfig config;
        config.configFile = root / "vorn.yaml";
        config.ship.stateDir = root / "state";
        VornRoute route;
        route.name = "acme/web";
        route.repos.push_back(VornRepo{.name = "web", .dir = root / "src/web"});
        config.routes.push_back(route);
        VornSnapshot snapshot;
        snapshot.config = config;
        return snapshot;
    }
    void resolveRoute() const { root.write("state/resolved/acme/web.json", "{}"); }
    void checkOut() const { root.write("src/web/README", "web"); }
    void installTimer() {
        installation.runLaunchAgent =
            LaunchAgentLocation{root / "com.pelorinth.vorn.plist", "com.pelorinth.vorn"};
    }
};

TEST(SetupStep, ResumesAtTheFirstMissingFact) {
    Machine machine;
    EXPECT_EQ(SetupStep::resume(SetupStep::facts(VornSnapshot::empty(), std::nullopt)),
              SetupStep::requirements);
    EXPECT_TRUE(SetupStep::shouldAutoOpen(SetupStep::facts(VornSnapshot::empty(), std::nullopt)));

    // Set up enough to run, so nothing opens by itself, yet signed in nowhere.
    const VornSnapshot snapshot = machine.configured();
    machine.installTimer();
    const SetupStep::Facts unresolved = SetupStep::facts(snapshot, machine.installation);
    EXPECT_FALSE(SetupStep::shouldAutoOpen(unresolved));
    EXPECT_EQ(SetupStep::resume(unresolved), SetupStep::signIn);

    machine.installation.runLaunchAgent.reset();
    machine.resolveRoute();
    EXPECT_EQ(SetupStep::resume(SetupStep::facts(snapshot, machine.installation)),
              SetupStep::repositories);
    machine.checkOut();
    EXPECT_EQ(SetupStep::resume(SetupStep::facts(snapshot, machine.installation)),
              SetupStep::verify);
    machine.installTimer();
    const SetupStep::Facts all = SetupStep::facts(snapshot, machine.installation);
    EXPECT_EQ(all, (SetupStep::Facts{true, true, true, true, std::nullopt}));
    EXPECT_EQ(SetupStep::resume(all), SetupStep::start);
    EXPECT_TRUE(SetupStep::isSetUp(all));

    // The rail: done before the resume point, open up to and with it.
    EXPECT_FALSE(SetupStep::isComplete(SetupStep::start, SetupStep::start));
    EXPECT_TRUE(SetupStep::isReachable(SetupStep::start, SetupStep::start));
    EXPECT_FALSE(SetupStep::isReachable(SetupStep::verify, SetupStep::repositories));
}

TEST(SetupStep, AConfigurationThatCannotBeReadCountsAsPresentAndSendsBackToRequirements) {
    Machine machine;
    VornSnapshot unreadable;
    unreadable.configError = "vorn.yaml could not be read";
    const SetupStep::Facts facts = SetupStep::facts(unreadable, machine.installation);
    EXPECT_TRUE(facts.hasConfig);
    EXPECT_EQ(facts.configError, "vorn.yaml could not be read");
    EXPECT_EQ(SetupStep::resume(facts), SetupStep::requirements);

    // The error of a file that isn't there is no error of the configuration.
    std::filesystem::remove(machine.root / "vorn.yaml");
    EXPECT_EQ(SetupStep::facts(unreadable, machine.installation), SetupStep::Facts{});
}

}  // namespace
}  // namespace vorn
