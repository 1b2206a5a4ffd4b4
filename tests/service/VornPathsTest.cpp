#include <gtest/gtest.h>

#include <atomic>

#include "common/PlistFile.h"
#include "common/TempDir.h"
#include "service/Diagnostics.h"
#include "service/DiagnosticsLog.h"
#include "service/VornPaths.h"
#include "support/TextFile.h"

namespace vorn {
namespace {

using testing::makeExecutable;
using testing::TempDir;
using testing::writeLaunchAgentPlist;
using Paths = std::vector<std::filesystem::path>;

TEST(VornPathsSearch, OrderIsVornConfigThenXdgThenHome) {
    const Environment environment{{"VORN_CONFIG", "/etc/v.yaml"}, {"XDG_CONFIG_HOME", "/xdg"}};
    EXPECT_EQ(VornPaths::configSearchPath(environment, "/h"),
              (Paths{"/etc/v.yaml", "/xdg/vorn/vorn.yaml", "/h/.config/vorn/vorn.yaml"}));
}

TEST(VornPathsSearch, EmptyValuesAndEmptyEnvironmentAreSkipped) {
    EXPECT_EQ(VornPaths::configSearchPath({}, "/h"), (Paths{"/h/.config/vorn/vorn.yaml"}));
    const Environment empties{{"VORN_CONFIG", ""}, {"XDG_CONFIG_HOME", ""}, {"PATH", "/bin"}};
    EXPECT_EQ(VornPaths::configSearchPath(empties, "/h"), (Paths{"/h/.config/vorn/vorn.yaml"}));
}

TEST(VornPathsSearch, TildeExpandsAndAFolderTakesVornYaml) {
    TempDir home;
    std::filesystem::create_directories(home / "conf");
    const Environment environment{{"VORN_CONFIG", "~/conf"}, {"XDG_CONFIG_HOME", "~/x"}};
    EXPECT_EQ(VornPaths::configSearchPath(environment, home.path()),
              (Paths{home / "conf/vorn.yaml", home / "x/vorn/vorn.yaml",
                     home / ".config/vorn/vorn.yaml"}));
}

TEST(VornPathsDiscover, FirstExistingCandidateWins) {
    TempDir home;
    const auto homeConfig = home.write(".config/vorn/vorn.yaml", "ship:\n");
    const VornPaths::DiscoverOptions options{
        std::nullopt, std::nullopt, home.path(), {{"VORN_CONFIG", (home / "gone.yaml").string()}}};
    const auto found = VornPaths::discover(options);
    ASSERT_TRUE(found.has_value());
    EXPECT_EQ(found->configFile, homeConfig);
    EXPECT_TRUE(found->configExists);
}

TEST(VornPathsDiscover, WithNothingThereTheFirstCandidateIsWhereItWillBeWritten) {
    TempDir home;
    const VornPaths::DiscoverOptions options{
        std::nullopt, std::nullopt, home.path(), {{"VORN_CONFIG", (home / "v.yaml").string()}}};
    const auto found = VornPaths::discover(options);
    ASSERT_TRUE(found.has_value());
    EXPECT_EQ(found->configFile, home / "v.yaml");
    EXPECT_FALSE(found->configExists);
    EXPECT_FALSE(found->executable.has_value());
}

TEST(VornPathsDiscover, AMissingOverrideIsNotFoundWithThatOnePath) {
    TempDir home;
    home.write(".config/vorn/vorn.yaml", "ship:\n");
    const VornPaths::DiscoverOptions options{home / "nope.yaml", std::nullopt, home.path(), {}};
    const auto found = VornPaths::discover(options);
    ASSERT_FALSE(found.has_value());
    EXPECT_EQ(found.error(), VornConfigError::notFound({home / "nope.yaml"}));
    const auto present = home.write("other.yaml", "ship:\n");
    EXPECT_EQ(VornPaths::discover({present, std::nullopt, home.path(), {}})->configFile, present);
}

// A machine laid out in a temporary home: config present, lookups scripted.
class VornPathsExecutable : public ::testing::Test {
  protected:
    void SetUp() override { home.write(".config/vorn/vorn.yaml", "ship:\n"); }

    VornPaths::DiscoverOptions options(CommandLookups lookups = CommandLookups::none()) const {
        VornPaths::DiscoverOptions options{std::nullopt, std::nullopt, home.path(), {}};
        options.lookups = std::move(lookups);
        return options;
    }
    std::filesystem::path runAgent(const std::vector<std::string>& arguments,
                                   const std::string& hash = "1a2b3c4d") const {
        const std::string label = "com.pelorinth.vorn." + hash;
        const auto plist = home / ("Library/LaunchAgents/" + label + ".plist");
        writeLaunchAgentPlist(plist, label, arguments);
        return plist;
    }
    static CommandLookups answering(std::optional<std::filesystem::path> onPath,
                                    std::optional<std::filesystem::path> npm) {
        return {[onPath] { return onPath; }, [npm] { return npm; }};
    }
    std::filesystem::path builtIn() const {
        return home / "Library/Application Support/Vorn/vorn/vorn";
    }

    TempDir home;
};

TEST_F(VornPathsExecutable, TimerCommandWithItsInterpreter) {
    const auto node = makeExecutable(home / "usr/local/bin/node");
    const auto vorn = makeExecutable(home / "opt/x/bin/vorn");
    const auto plist = runAgent({node.string(), vorn.string(), "run"});
    const auto found = VornPaths::discover(options());
    ASSERT_TRUE(found.has_value());
    EXPECT_EQ(found->executable, vorn);
    EXPECT_EQ(found->executableSource, ExecutableSource::timer);
    EXPECT_EQ(found->interpreter, node);
    EXPECT_EQ(found->runLaunchAgent, (LaunchAgentLocation{plist, "com.pelorinth.vorn.1a2b3c4d"}));
    EXPECT_EQ(found->vornHome(), home / "opt/x");
}

TEST_F(VornPathsExecutable, NoInterpreterAtIndexZeroOrWhenItIsGone) {
    const auto vorn = makeExecutable(home / "opt/x/bin/vorn");
    runAgent({vorn.string(), "run"});
    auto found = VornPaths::discover(options());
    EXPECT_EQ(found->executable, vorn);
    EXPECT_FALSE(found->interpreter.has_value());

    runAgent({(home / "gone/node").string(), vorn.string(), "run"});
    found = VornPaths::discover(options());
    EXPECT_EQ(found->executable, vorn);
    EXPECT_FALSE(found->interpreter.has_value());
}

TEST_F(VornPathsExecutable, SourcesAreTriedInOrderAndLookupsOnlyWhenNeeded) {
    const auto timerVorn = makeExecutable(home / "timer/bin/vorn");
    const auto pathVorn = makeExecutable(home / "path/bin/vorn");
    const auto npmVorn = makeExecutable(home / "npm/bin/vorn");
    std::atomic<int> asked = 0;
    CommandLookups counting{[&] {
                                ++asked;
                                return std::optional(pathVorn);
                            },
                            [&] {
                                ++asked;
                                return std::optional(npmVorn);
                            }};
    runAgent({timerVorn.string()});
    EXPECT_EQ(VornPaths::discover(options(counting))->executableSource, ExecutableSource::timer);
    EXPECT_EQ(asked, 0);

    std::filesystem::remove(timerVorn);
    EXPECT_EQ(VornPaths::discover(options(counting))->executable, pathVorn);
    EXPECT_EQ(asked, 1);

    const auto npmOnly = VornPaths::discover(options(answering(home / "nothing/vorn", npmVorn)));
    EXPECT_EQ(npmOnly->executable, npmVorn);
    EXPECT_EQ(npmOnly->executableSource, ExecutableSource::npm);

    makeExecutable(builtIn());
    const auto bundled = VornPaths::discover(options());
    EXPECT_EQ(bundled->executable, builtIn());
    EXPECT_EQ(bundled->executableSource, ExecutableSource::bundled);
    EXPECT_EQ(bundled->vornHome(), builtIn().parent_path());
}

TEST_F(VornPathsExecutable, AnOverrideWinsAFolderResolvesAndABadOneIsPassedOver) {
    const auto timerVorn = makeExecutable(home / "timer/bin/vorn");
    const auto mine = makeExecutable(home / "mine/vorn");
    runAgent({timerVorn.string()});
    auto withOverride = options();
    withOverride.vornCommandOverride = home / "mine";
    auto found = VornPaths::discover(withOverride);
    EXPECT_EQ(found->executable, mine);
    EXPECT_EQ(found->executableSource, ExecutableSource::userSet);

    withOverride.vornCommandOverride = home / "missing/vorn";
    found = VornPaths::discover(withOverride);
    EXPECT_EQ(found->executable, timerVorn);
    EXPECT_EQ(found->executableSource, ExecutableSource::timer);
}

TEST_F(VornPathsExecutable, ALinkToTheBuiltInCopyCountsAsBuiltInWithoutInterpreter) {
    makeExecutable(builtIn());
    const auto node = makeExecutable(home / "bin/node");
    std::filesystem::create_directories(home / "links");
    std::filesystem::create_symlink(builtIn(), home / "links/vorn");
    const auto found = VornPaths::discover(options(answering(home / "links/vorn", std::nullopt)));
    EXPECT_EQ(found->executable, home / "links/vorn");
    EXPECT_EQ(found->executableSource, ExecutableSource::bundled);

    // Found through the timer, the built-in copy still has no interpreter.
    runAgent({node.string(), (home / "links/vorn").string()});
    const auto viaTimer = VornPaths::discover(options());
    EXPECT_EQ(viaTimer->executableSource, ExecutableSource::bundled);
    EXPECT_FALSE(viaTimer->interpreter.has_value());
}

TEST_F(VornPathsExecutable, AGivenBuiltInFolderReplacesTheUnpackedOne) {
    const auto payload = makeExecutable(home / "payload/vorn");
    auto withBundled = options();
    withBundled.bundled = home / "payload";
    const auto found = VornPaths::discover(withBundled);
    EXPECT_EQ(found->executable, payload);
    EXPECT_EQ(found->executableSource, ExecutableSource::bundled);
}

TEST_F(VornPathsExecutable, TheLogNamesTheSourceAsFoundBeforeTheBuiltInCheck) {
    makeExecutable(builtIn());
    std::filesystem::create_symlink(builtIn(), home / "linked");
    DiagnosticsLog log(home / "diagnostics.log", true);
    {
        Diagnostics::Redirect redirect(log);
        VornPaths::discover(options(answering(home / "linked", std::nullopt)));
        std::filesystem::remove(builtIn());
        VornPaths::discover(options());
    }
    log.waitUntilWritten();
    const std::string text = TextFile::read(home / "diagnostics.log").value_or("");
    EXPECT_NE(text.find(" discovery: executable from PATH at " + (home / "linked").string() + "\n"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find(" discovery: executable not found\n"), std::string::npos) << text;
}

TEST_F(VornPathsExecutable, NothingFoundLeavesBothFieldsAbsent) {
    const auto found = VornPaths::discover(options(answering(home / "a", home / "b")));
    EXPECT_FALSE(found->executable.has_value());
    EXPECT_FALSE(found->executableSource.has_value());
    EXPECT_FALSE(found->vornHome().has_value());
}

class VornPathsLaunchAgent : public VornPathsExecutable {
  protected:
    std::filesystem::path agentsFolder() const { return home / "Library/LaunchAgents"; }
    void age(const std::filesystem::path& plist, int hoursAgo) const {
        std::filesystem::last_write_time(
            plist, std::filesystem::file_time_type::clock::now() - std::chrono::hours(hoursAgo));
    }
};

TEST_F(VornPathsLaunchAgent, HashedNamesNeedEightLowerCaseHexDigits) {
    const std::string stem(VornPaths::defaultLabel);
    EXPECT_EQ(VornPaths::hashedLabel("com.pelorinth.vorn.1a2b3c4d.plist", stem),
              "com.pelorinth.vorn.1a2b3c4d");
    EXPECT_FALSE(VornPaths::hashedLabel("com.pelorinth.vorn-release.1a2b3c4d.plist", stem));
    EXPECT_FALSE(VornPaths::hashedLabel("com.pelorinth.vorn.ABCDEF12.plist", stem));
    EXPECT_FALSE(VornPaths::hashedLabel("com.pelorinth.vorn.1a2b3c4.plist", stem));
    EXPECT_FALSE(VornPaths::hashedLabel("com.pelorinth.vorn.1a2b3c4d", stem));
    EXPECT_FALSE(VornPaths::hashedLabel("com.pelorinth.vorn.plist", stem));
    EXPECT_EQ(VornPaths::hashedLabel("com.pelorinth.vorn-release.00ff00ff.plist",
                                     VornPaths::releaseLabelStem),
              "com.pelorinth.vorn-release.00ff00ff");
}

TEST_F(VornPathsLaunchAgent, TheNewerWinsUnlessTheOverrideNamesTheOther) {
    const auto first = makeExecutable(home / "one/bin/vorn");
    const auto second = makeExecutable(home / "two/bin/vorn");
    const auto older = runAgent({first.string()}, "00000001");
    const auto newer = runAgent({second.string()}, "00000002");
    age(older, 5);
    age(newer, 1);
    const std::string stem(VornPaths::defaultLabel);
    EXPECT_EQ(VornPaths::discoverLaunchAgent(stem, true, std::nullopt, home.path())->plist, newer);
    // The override may name the package folder; it is resolved, and links
    // are followed on both sides.
    std::filesystem::create_symlink(home / "one", home / "alias");
    EXPECT_EQ(VornPaths::discoverLaunchAgent(stem, true, home / "alias/bin", home.path())->plist,
              older);
    // An override no agent names falls back to the newest.
    EXPECT_EQ(VornPaths::discoverLaunchAgent(stem, true, home / "else", home.path())->plist, newer);
}

TEST_F(VornPathsLaunchAgent, OnlyTheRunAgentFallsBackToTheBareName) {
    writeLaunchAgentPlist(agentsFolder() / "com.pelorinth.vorn.plist", "com.pelorinth.vorn", {});
    writeLaunchAgentPlist(agentsFolder() / "com.pelorinth.vorn-release.plist",
                          "com.pelorinth.vorn-release", {});
    const auto found = VornPaths::discover(options());
    EXPECT_EQ(
        found->runLaunchAgent,
        (LaunchAgentLocation{agentsFolder() / "com.pelorinth.vorn.plist", "com.pelorinth.vorn"}));
    EXPECT_FALSE(found->releaseLaunchAgent.has_value());

    // A hashed agent hides the bare one.
    const auto hashed = runAgent({});
    EXPECT_EQ(VornPaths::discover(options())->runLaunchAgent->plist, hashed);
}

TEST_F(VornPathsLaunchAgent, WithoutAFolderThereAreNoAgents) {
    const auto found = VornPaths::discover(options());
    EXPECT_FALSE(found->runLaunchAgent.has_value());
    EXPECT_FALSE(found->releaseLaunchAgent.has_value());
}

TEST(VornPathsPlist, ReadsXmlAndBinaryAndRefusesWrongTypes) {
    TempDir folder;
    writeLaunchAgentPlist(folder / "x.plist", "x", {"/bin/a", "b"}, 300);
    writeLaunchAgentPlist(folder / "b.plist", "b", {"/bin/c"}, 60, true);
    EXPECT_EQ(VornPaths::programArguments(folder / "x.plist"),
              (std::vector<std::string>{"/bin/a", "b"}));
    EXPECT_EQ(VornPaths::startInterval(folder / "x.plist"), 300);
    EXPECT_EQ(VornPaths::programArguments(folder / "b.plist"),
              (std::vector<std::string>{"/bin/c"}));
    EXPECT_EQ(VornPaths::startInterval(folder / "b.plist"), 60);

    const auto mixed = folder.write("m.plist", R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict>
<key>ProgramArguments</key><array><string>/bin/a</string><integer>3</integer></array>
<key>StartInterval</key><string>300</string>
</dict></plist>
)");
    EXPECT_FALSE(VornPaths::programArguments(mixed));
    EXPECT_FALSE(VornPaths::startInterval(mixed));
    EXPECT_FALSE(VornPaths::programArguments(folder.write("junk.plist", "\x01\x02 not a plist")));
    EXPECT_FALSE(VornPaths::programArguments(folder / "missing.plist"));
    // A NUL byte inside a string once aborted the whole process.
    EXPECT_FALSE(VornPaths::programArguments(VORN_TEST_FIXTURES "/plist/nul-in-string.plist"));
    EXPECT_FALSE(VornPaths::programArguments(folder.path()));
    const auto list = folder.write("list.plist", R"(<?xml version="1.0"?>
<plist version="1.0"><array><string>ProgramArguments</string></array></plist>
)");
    EXPECT_FALSE(VornPaths::programArguments(list));
}

TEST(VornPathsCommands, ResolveCommandAndMigratedPaths) {
    TempDir home;
    const auto package = makeExecutable(home / "pkg/bin/vorn").parent_path().parent_path();
    EXPECT_EQ(VornPaths::resolveCommand(home / "pkg/bin"), home / "pkg/bin/vorn");
    EXPECT_EQ(VornPaths::resolveCommand(home / "pkg/bin/vorn"), home / "pkg/bin/vorn");
    EXPECT_FALSE(VornPaths::resolveCommand(package));
    EXPECT_FALSE(VornPaths::resolveCommand(home / "nothing"));
    home.write("plain/vorn", "not executable");
    EXPECT_FALSE(VornPaths::resolveCommand(home / "plain"));

    EXPECT_EQ(VornPaths::migratedCommandPath("", home.path()), "");
    EXPECT_EQ(VornPaths::migratedCommandPath("~/pkg", home.path()), "~/pkg/bin");
    EXPECT_EQ(VornPaths::migratedCommandPath("~/pkg/", home.path()), "~/pkg/bin");
    EXPECT_EQ(VornPaths::migratedCommandPath("~/pkg/bin", home.path()), "~/pkg/bin");
    EXPECT_EQ(VornPaths::migratedCommandPath("~/pkg/bin/vorn", home.path()), "~/pkg/bin/vorn");
    EXPECT_EQ(VornPaths::migratedCommandPath("~/elsewhere", home.path()), "~/elsewhere");
}

TEST(VornPathsCommands, AlternativeToBundledSkipsTheBuiltInCopy) {
    TempDir home;
    const auto builtIn = makeExecutable(home / "Library/Application Support/Vorn/vorn/vorn");
    std::filesystem::create_symlink(builtIn, home / "linked");
    const auto npm = makeExecutable(home / "npm/bin/vorn");
    std::atomic<int> asked = 0;
    const CommandLookups lookups{[&] {
                                     ++asked;
                                     return std::optional(home / "linked");
                                 },
                                 [&] {
                                     ++asked;
                                     return std::optional(npm);
                                 }};
    EXPECT_EQ(VornPaths::alternativeToBundled(lookups, home.path()), npm);
    EXPECT_EQ(asked, 2);
    EXPECT_FALSE(
        VornPaths::alternativeToBundled({[&] { return std::optional(builtIn); },
                                         [] { return std::optional<std::filesystem::path>(); }},
                                        home.path()));
}

}  // namespace
}  // namespace vorn
