#include <gtest/gtest.h>

#include "common/TempDir.h"
#include "model/VornConfig.h"

namespace vorn {
namespace {

using testing::TempDir;

const std::filesystem::path kHome = "/home/tester";
const std::filesystem::path kFile = "/a/b/vorn.yaml";

VornConfig loaded(std::string_view text, const std::filesystem::path& file = kFile) {
    auto config = VornConfig::parse(text, file, kHome);
    EXPECT_TRUE(config.has_value()) << (config ? "" : config.error().description());
    return config ? *config : VornConfig{};
}

std::string failure(std::string_view text) {
    auto config = VornConfig::parse(text, kFile, kHome);
    EXPECT_FALSE(config.has_value());
    return config ? "" : config.error().description();
}

VornRoute onlyRoute(std::string_view routeBody) {
    const VornConfig config = loaded("ship:\nroutes:\n" + std::string(routeBody));
    EXPECT_EQ(config.routes.size(), 1u);
    return config.routes.empty() ? VornRoute{} : config.routes.front();
}

TEST(VornConfigShip, BareShipBlockTakesEveryDefault) {
    const VornConfig config = loaded("ship:\n");
    EXPECT_EQ(config.ship.name, "this ship");
    EXPECT_EQ(config.ship.platform, "macos");
    EXPECT_EQ(config.ship.stateDir, "/a/b/state");
    EXPECT_EQ(config.ship.logFile, "/tmp/vorn.log");
    EXPECT_TRUE(config.routes.empty());
    EXPECT_TRUE(config.seats.empty());
    EXPECT_EQ(config.configFile, kFile);
    EXPECT_FALSE(config.eventFileOverride.has_value());
    // A scalar where the block should be is an empty block.
    EXPECT_EQ(loaded("ship: x\n").ship.name, "this ship");
}

TEST(VornConfigShip, FieldsToolchainsAndAgent) {
    const VornConfig config = loaded(
        "ship:\n  name: Nautilus\n  platform: linux\n  agent:\n    bin: /opt/claude\n"
        "    model: opus\n  toolchain: fast\n  toolchains:\n    fast:\n      harness: codex\n"
        "      launcher: npx\n      model: o4\n    plain: x\n  stateDir: ~/s\n"
        "  logFile: $HOME/log\n");
    EXPECT_EQ(config.ship.name, "Nautilus");
    EXPECT_EQ(config.ship.platform, "linux");
    EXPECT_EQ(config.ship.agentBin, "/opt/claude");
    EXPECT_EQ(config.ship.agentModel, "opus");
    EXPECT_EQ(config.ship.defaultToolchain, "fast");
    ASSERT_EQ(config.ship.toolchains.size(), 2u);
    EXPECT_EQ(config.ship.toolchains[0].summary(), "fast \u00B7 codex \u00B7 via npx \u00B7 o4");
    EXPECT_EQ(config.ship.toolchains[1], (VornToolchain{"plain"}));
    EXPECT_EQ(config.ship.stateDir, "/home/tester/s");
    EXPECT_EQ(config.ship.logFile, "/home/tester/log");
}

TEST(VornConfigShip, MissingShipIsMalformed) {
    EXPECT_EQ(failure(""), "vorn.yaml could not be read \u2014 no `ship:` block");
    EXPECT_EQ(failure("routes:\n"), "vorn.yaml could not be read \u2014 no `ship:` block");
    EXPECT_EQ(failure("- ship: x\n"), "vorn.yaml could not be read \u2014 no `ship:` block");
    EXPECT_EQ(failure("ship:\n  a: 1\n b: 2\n"),
              "vorn.yaml could not be read \u2014 line 3: unexpected indentation");
}

TEST(VornConfigRoutes, NameSplitsAtTheFirstSlash) {
    const VornRoute plain = onlyRoute("  - route: acme\n");
    EXPECT_EQ(plain.workspace, "acme");
    EXPECT_FALSE(plain.project.has_value());
    EXPECT_EQ(plain.worktreePrefix, "acme-issue-");
    const VornRoute deep = onlyRoute("  - route: acme/web/x\n");
    EXPECT_EQ(deep.workspace, "acme");
    EXPECT_EQ(deep.project, "web/x");
    EXPECT_EQ(deep.worktreePrefix, "web/x-issue-");
    EXPECT_EQ(onlyRoute("  - route: a\n    worktreePrefix: ~/x-\n").worktreePrefix, "~/x-");
}

TEST(VornConfigRoutes, ItemsWithoutAUsableRouteAreDropped) {
    const VornConfig config = loaded(
        "ship:\nroutes:\n  - route: \"\"\n  - x\n  - area: y\n  - route:\n      a: 1\n"
        "  - route: kept\n");
    ASSERT_EQ(config.routes.size(), 1u);
    EXPECT_EQ(config.routes[0].name, "kept");
}

TEST(VornConfigRoutes, SingleMappingCountsAsAListOfOne) {
    EXPECT_EQ(loaded("ship:\nroutes:\n  route: solo\n").routes.size(), 1u);
    EXPECT_TRUE(loaded("ship:\nroutes: solo\n").routes.empty());  // a scalar isn't a mapping
    EXPECT_TRUE(loaded("ship:\nroutes:\n").routes.empty());
}

TEST(VornConfigRoutes, OnlyTrueYesOnEnable) {
    EXPECT_FALSE(onlyRoute("  - route: a\n    enabled: off\n").enabled);
    EXPECT_FALSE(onlyRoute("  - route: a\n    enabled: maybe\n").enabled);
    EXPECT_FALSE(onlyRoute("  - route: a\n").enabled);
    EXPECT_TRUE(onlyRoute("  - route: a\n    enabled: YES\n").enabled);
    EXPECT_TRUE(onlyRoute("  - route: a\n    enabled: On\n").enabled);
}

TEST(VornConfigRoutes, WeightMustBeAWholeDecimalNumber) {
    EXPECT_EQ(onlyRoute("  - route: a\n    weight: 1e3\n").weight, 1000.0);
    EXPECT_EQ(onlyRoute("  - route: a\n    weight: +2.5\n").weight, 2.5);
    EXPECT_EQ(onlyRoute("  - route: a\n    weight: \" 2\"\n").weight, std::nullopt);
    EXPECT_EQ(onlyRoute("  - route: a\n    weight: 2x\n").weight, std::nullopt);
    EXPECT_EQ(onlyRoute("  - route: a\n    weight: +-2\n").weight, std::nullopt);
}

TEST(VornConfigRoutes, ScalarFieldsAndBranch) {
    const VornRoute route = onlyRoute(
        "  - route: acme/web\n    area: ui\n    toolchain: fast\n    baseUrl: https://x\n"
        "    apiKey: k\n    apiKeyFile: f\n    apiKeyVar: V\n    branch:\n      base: main\n"
        "      push: always\n");
    EXPECT_EQ(route.area, "ui");
    EXPECT_EQ(route.toolchain, "fast");
    EXPECT_EQ(route.baseUrl, "https://x");
    EXPECT_EQ(route.apiKey, "k");
    EXPECT_EQ(route.apiKeyFile, "f");
    EXPECT_EQ(route.apiKeyVar, "V");
    EXPECT_EQ(route.branch, (VornBranchOverride{"main", std::nullopt, "always", std::nullopt}));
    // A branch that isn't a mapping is present with nothing set.
    EXPECT_EQ(onlyRoute("  - route: a\n    branch: main\n").branch, VornBranchOverride{});
    EXPECT_FALSE(onlyRoute("  - route: a\n").branch.has_value());
    // A mapping where a scalar belongs counts as absent.
    EXPECT_FALSE(onlyRoute("  - route: a\n    area:\n      x: 1\n").area.has_value());
}

TEST(VornConfigRepos, ScalarAndMappingForms) {
    const VornRoute route = onlyRoute(
        "  - route: acme/web\n    repos:\n      web: ../web\n      api:\n        dir: /src/api\n"
        "        worktreeName: \"{ticket}-x\"\n        branch:\n          name: b\n"
        "      nodir:\n        worktreeName: x\n      list:\n        - a\n");
    ASSERT_EQ(route.repos.size(), 2u);
    EXPECT_EQ(route.repos[0], (VornRepo{"web", "/a/web"}));
    EXPECT_EQ(route.repos[1].dir, "/src/api");
    EXPECT_EQ(route.repos[1].worktreeName, "{ticket}-x");
    EXPECT_EQ(route.repos[1].branch->name, "b");
    EXPECT_EQ(route.repos[1].worktreeParent(), "/src");
}

TEST(VornConfigRepos, RouteDirStandsInOnlyWhenReposGaveNone) {
    const VornRoute fallback = onlyRoute("  - route: acme/web\n    repos: {}\n    dir: /w\n");
    EXPECT_EQ(fallback.repos, (std::vector<VornRepo>{{"web", "/w"}}));
    EXPECT_EQ(onlyRoute("  - route: acme\n    dir: w\n").repos,
              (std::vector<VornRepo>{{"acme", "/a/b/w"}}));
    const VornRoute both = onlyRoute("  - route: acme/web\n    repos:\n      r: /r\n    dir: /w\n");
    EXPECT_EQ(both.repos, (std::vector<VornRepo>{{"r", "/r"}}));
}

TEST(VornConfigPaths, ExpansionRules) {
    const auto dirOf = [](std::string_view dir) {
        return onlyRoute("  - route: a\n    dir: " + std::string(dir) + "\n").repos.at(0).dir;
    };
    EXPECT_EQ(dirOf("../x"), "/a/x");
    EXPECT_EQ(dirOf("/a/../x"), "/a/../x");
    EXPECT_EQ(dirOf("./x/./y/"), "/a/b/x/y");
    EXPECT_EQ(dirOf("~"), "/home/tester");
    EXPECT_EQ(dirOf("~/src"), "/home/tester/src");
    EXPECT_EQ(dirOf("${HOME}/src"), "/home/tester/src");
    EXPECT_EQ(dirOf("$HOMEWORK"), "/home/testerWORK");
    EXPECT_EQ(dirOf("~root/x"), "/root/x");
    EXPECT_EQ(dirOf("~no-such-user-here/x"), "/a/b/~no-such-user-here/x");
}

TEST(VornConfigLookups, DerivedValues) {
    VornConfig config = loaded(
        "ship:\n  stateDir: /s\nroutes:\n  - route: one\n    repos:\n      r1: /r1\n"
        "  - route: acme/web\n    enabled: true\n    repos:\n      r1: /other\n");
    EXPECT_EQ(config.eventFile(), "/s/events.jsonl");
    EXPECT_EQ(config.streamsDir(), "/s/streams");
    ASSERT_EQ(config.allRepos().size(), 2u);  // not merged by name
    EXPECT_EQ(config.route(std::nullopt)->name, "one");
    EXPECT_EQ(config.route("acme/web")->name, "acme/web");
    EXPECT_EQ(config.route("acme"), nullptr);
    EXPECT_EQ(config.resolvedFile(config.routes[1]), "/s/resolved/acme/web.json");
    EXPECT_EQ(config.resolvedFile(config.routes[0], "/t"), "/t/resolved/one.json");
    config.eventFileOverride = "/e.jsonl";
    EXPECT_EQ(config.eventFile(), "/e.jsonl");
    EXPECT_FALSE(config.seat(VornRole::qa).has_value());
    config.seats = {{VornRole::qa, "Quinn", std::nullopt}, {VornRole::qa, "Second", std::nullopt}};
    EXPECT_EQ(config.seat(VornRole::qa)->name, "Quinn");
}

TEST(VornConfigLookups, SetupRoutePrefersResolvedThenEnabledThenFirst) {
    TempDir dir;
    const std::string yaml = "ship:\n  stateDir: " + dir.path().string() +
                             "\nroutes:\n  - route: a\n  - route: b\n    enabled: yes\n"
                             "  - route: c/d\n";
    VornConfig config = loaded(yaml);
    EXPECT_EQ(config.setupRoute()->name, "b");
    EXPECT_FALSE(config.setupRouteIsResolved());
    dir.write("resolved/c/d.json", "{}");
    EXPECT_EQ(config.setupRoute()->name, "c/d");
    EXPECT_TRUE(config.setupRouteIsResolved());
    EXPECT_EQ(loaded("ship:\nroutes:\n  - route: a\n  - route: b\n").setupRoute()->name, "a");
    EXPECT_EQ(loaded("ship:\n").setupRoute(), nullptr);
}

TEST(VornConfigFiles, ReadFailuresCarryTheSystemsWords) {
    TempDir dir;
    const auto loadError = [](const std::filesystem::path& file) {
        auto config = VornConfig::load(file, kHome);
        return config ? std::string() : config.error().description();
    };
    EXPECT_EQ(loadError(dir / "missing.yaml"),
              "vorn.yaml could not be read \u2014 No such file or directory");
    EXPECT_EQ(loadError(dir.path()), "vorn.yaml could not be read \u2014 Is a directory");
    EXPECT_EQ(loadError(dir.write("latin1.yaml", "ship:\n  name: caf\xE9\n")),
              "vorn.yaml could not be read \u2014 the file is not UTF-8 text");
    auto good = VornConfig::load(dir.write("good/vorn.yaml", "ship:\n  stateDir: st\n"), kHome);
    ASSERT_TRUE(good.has_value());
    EXPECT_EQ(good->ship.stateDir, dir / "good/st");
}

TEST(VornConfigErrors, Descriptions) {
    EXPECT_EQ(VornConfigError::notFound({"/a/vorn.yaml", "/b/vorn.yaml"}).description(),
              "no vorn.yaml found. Looked in:\n  /a/vorn.yaml\n  /b/vorn.yaml");
    EXPECT_EQ(VornConfigError::malformed("x").description(),
              "vorn.yaml could not be read \u2014 x");
}

}  // namespace
}  // namespace vorn
