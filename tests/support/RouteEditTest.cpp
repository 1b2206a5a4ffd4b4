#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <sstream>

#include "support/MiniYAML.h"
#include "support/RouteEdit.h"

namespace vorn {
namespace {

std::string fixture() {
    std::ifstream stream(VORN_TEST_FIXTURES "/route-settings.yaml", std::ios::binary);
    std::stringstream contents;
    contents << stream.rdbuf();
    return contents.str();
}

// The fixture's text after one edit of the first route (or the second),
// or "error: {reason}".
template <class Edit>
std::string afterEdit(Edit edit, size_t routeIndex = 0, std::string text = fixture()) {
    auto document = EditableYAML::parse(text);
    EXPECT_TRUE(document.has_value());
    if (!document) return {};
    const auto result = edit(*document, RouteEdit::routePath(routeIndex));
    if (!result) return "error: " + result.error().reason;
    return document->text();
}

// The fixture with `from` replaced by `to`, once.
std::string fixtureWith(std::string_view from, std::string_view to) {
    std::string text = fixture();
    const size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    if (at != std::string::npos) text.replace(at, from.size(), to);
    return text;
}

TEST(RouteEditScalars, ChangeOnlyTheirOwnLine) {
    EXPECT_EQ(afterEdit([](auto& d, const auto& p) { return RouteEdit::setEnabled(d, p, false); }),
              fixtureWith("    enabled: true\n", "    enabled: false\n"));
    EXPECT_EQ(
        afterEdit([](auto& d, const auto& p) { return RouteEdit::setRouteName(d, p, "acme/app"); }),
        fixtureWith("  - route: acme/web\n", "  - route: acme/app\n"));
    EXPECT_EQ(afterEdit([](auto& d, const auto& p) { return RouteEdit::setWeight(d, p, 7); }),
              fixtureWith("weight: 3", "weight: 7"));
    EXPECT_EQ(afterEdit([](auto& d, const auto& p) { return RouteEdit::setAPIKey(d, p, ""); }),
              fixtureWith("apiKey: secret", "apiKey: "));
    EXPECT_EQ(
        afterEdit([](auto& d, const auto& p) { return RouteEdit::setWorktreePrefix(d, p, "w-"); }),
        fixtureWith("worktreePrefix: web-issue-", "worktreePrefix: w-"));
}

TEST(RouteEditScalars, KeysThatCanOnlyBeChangedNotIntroduced) {
    EXPECT_EQ(afterEdit([](auto& d, const auto& p) { return RouteEdit::setWeight(d, p, 2); }, 1),
              "error: no node at [\"routes\", \"1\", \"weight\"]");
    EXPECT_EQ(afterEdit([](auto& d, const auto& p) { return RouteEdit::setAPIKey(d, p, "k"); }, 1),
              "error: no node at [\"routes\", \"1\", \"apiKey\"]");
    // A key written blank reads as null next time, and then refuses a value.
    const std::string blanked =
        afterEdit([](auto& d, const auto& p) { return RouteEdit::setAPIKey(d, p, ""); });
    EXPECT_EQ(afterEdit([](auto& d, const auto& p) { return RouteEdit::setAPIKey(d, p, "k"); }, 0,
                        blanked),
              "error: [\"routes\", \"0\", \"apiKey\"] is not a scalar");
}

TEST(RouteEditProject, AddsTheAreaOnlyForAValue) {
    EXPECT_EQ(afterEdit([](auto& d, const auto& p) { return RouteEdit::setProject(d, p, ""); }),
              fixtureWith("area: Frontend", "area: "));
    EXPECT_EQ(afterEdit([](auto& d, const auto& p) { return RouteEdit::setProject(d, p, " "); }, 1),
              fixture());
    EXPECT_EQ(
        afterEdit([](auto& d, const auto& p) { return RouteEdit::setProject(d, p, "Docs"); }, 1),
        fixtureWith("      site: /src/site\n", "      site: /src/site\n  area: Docs\n"));
}

TEST(RouteEditToolchain, BlankRemovesTheKeyWithItsComments) {
    EXPECT_EQ(afterEdit([](auto& d, const auto& p) { return RouteEdit::setToolchain(d, p, ""); }),
              fixtureWith("    # Why this toolchain.\n    toolchain: claude  # fast\n", ""));
    EXPECT_EQ(
        afterEdit([](auto& d, const auto& p) { return RouteEdit::setToolchain(d, p, "codex"); }),
        fixtureWith("toolchain: claude  # fast", "toolchain: codex  # fast"));
    EXPECT_EQ(
        afterEdit([](auto& d, const auto& p) { return RouteEdit::setToolchain(d, p, ""); }, 1),
        fixture());
    // The route's first key stands on the dash line, so the new key takes
    // the dash's indentation.
    EXPECT_EQ(
        afterEdit([](auto& d, const auto& p) { return RouteEdit::setToolchain(d, p, "x"); }, 1),
        fixtureWith("      site: /src/site\n", "      site: /src/site\n  toolchain: x\n"));
}

TEST(RouteEditBranch, CreatesTheBlockOrSetsTheField) {
    EXPECT_EQ(afterEdit([](auto& d, const auto& p) {
                  return RouteEdit::setBranchField(d, p, BranchField::name, "issue-{number}");
              }),
              // At the dash's indentation, as every key added to such a route.
              fixtureWith("        worktreeName: \"{dir}-{issue}\"\n",
                          "        worktreeName: \"{dir}-{issue}\"\n"
                          "  branch:\n    name: issue-{number}\n"));
    EXPECT_EQ(afterEdit([](auto& d, const auto& p) {
                  return RouteEdit::setBranchField(d, RouteEdit::repoPath(p, "api"),
                                                   BranchField::remote, "upstream");
              }),
              fixtureWith("        worktreeName: \"{dir}-{issue}\"\n",
                          "        worktreeName: \"{dir}-{issue}\"\n"
                          "        branch:\n          remote: upstream\n"));
    // The short form has no room for a block.
    EXPECT_EQ(afterEdit([](auto& d, const auto& p) {
                  return RouteEdit::setBranchField(d, RouteEdit::repoPath(p, "web"),
                                                   BranchField::base, "main");
              }),
              "error: [\"routes\", \"0\", \"repos\", \"web\"] is not a map");
}

TEST(RouteEditRepos, RenameFolderAddAndRemove) {
    EXPECT_EQ(afterEdit([](auto& d, const auto& p) {
                  return RouteEdit::renameRepo(d, p, "web", "site");
              }),
              fixtureWith("      web: /src/web", "      site: /src/web"));
    EXPECT_EQ(afterEdit([](auto& d, const auto& p) {
                  return RouteEdit::setRepoFolder(d, p, "web", "/w");
              }),
              fixtureWith("web: /src/web  # the main one", "web: /w  # the main one"));
    EXPECT_EQ(afterEdit([](auto& d, const auto& p) {
                  return RouteEdit::setRepoFolder(d, p, "api", "/a");
              }),
              fixtureWith("dir: /src/api", "dir: /a"));
    EXPECT_EQ(
        afterEdit([](auto& d, const auto& p) { return RouteEdit::addRepo(d, p, "docs", "/d"); }),
        fixtureWith("        worktreeName: \"{dir}-{issue}\"\n",
                    "        worktreeName: \"{dir}-{issue}\"\n      docs: /d\n"));
    EXPECT_EQ(
        afterEdit([](auto& d, const auto& p) { return RouteEdit::removeRepo(d, p, "api"); }),
        fixtureWith("      api:\n        dir: /src/api\n        worktreeName: \"{dir}-{issue}\"\n",
                    ""));
}

TEST(RouteEditWorktreeName, QuotesOnABraceAndExpandsTheShortForm) {
    EXPECT_EQ(RouteEdit::storedWorktreeName("{dir}-{issue}"), "\"{dir}-{issue}\"");
    EXPECT_EQ(RouteEdit::storedWorktreeName("fixed-{number}"), "\"fixed-{number}\"");
    EXPECT_EQ(RouteEdit::storedWorktreeName("plain"), "plain");

    EXPECT_EQ(afterEdit([](auto& d, const auto& p) {
                  return RouteEdit::setWorktreeName(d, p, "web", "{dir}-{tag}");
              }),
              fixtureWith("      web: /src/web  # the main one\n",
                          "      web:  # the main one\n        dir: /src/web\n"
                          "        worktreeName: \"{dir}-{tag}\"\n"));
    EXPECT_EQ(afterEdit([](auto& d, const auto& p) {
                  return RouteEdit::setWorktreeName(d, p, "api", "wt-{slug}");
              }),
              fixtureWith("\"{dir}-{issue}\"", "\"wt-{slug}\""));
    // Clearing removes the key and leaves the long form in place.
    EXPECT_EQ(afterEdit([](auto& d, const auto& p) {
                  return RouteEdit::setWorktreeName(d, p, "api", "");
              }),
              fixtureWith("        worktreeName: \"{dir}-{issue}\"\n", ""));
    EXPECT_EQ(afterEdit([](auto& d, const auto& p) {
                  return RouteEdit::setWorktreeName(d, p, "web", "");
              }),
              fixture());
    EXPECT_EQ(afterEdit([](auto& d, const auto& p) {
                  return RouteEdit::setWorktreeName(d, p, "x", "{issue}");
              }),
              "error: no node at [\"routes\", \"0\", \"repos\", \"x\"]");
}

TEST(RouteEditRoutes, RemovingTheOnlyRouteThenAddingOne) {
    const std::string one =
        "ship:\n  name: x\nroutes:\n  # mine\n  - route: a\n    enabled: true\n";
    const std::string removed =
        afterEdit([](auto& d, const auto& p) { return RouteEdit::removeRoute(d, p); }, 0, one);
    EXPECT_EQ(removed, "ship:\n  name: x\nroutes:\n");
    const std::string added =
        afterEdit([](auto& d, const auto&) { return RouteEdit::addRoute(d); }, 0, removed);
    EXPECT_EQ(added,
              "ship:\n  name: x\nroutes:\n  - route: workspace-slug/project-slug\n"
              "    enabled: false\n    dir: ~/src/CHANGE-ME\n");
    // It reads back as a disabled route.
    const auto node = MiniYAML::parse(added);
    ASSERT_TRUE(node);
    const std::vector<YAMLNode> routes = (*node)["routes"]->array();
    ASSERT_EQ(routes.size(), 1u);
    EXPECT_EQ(routes.front()["enabled"]->boolValue(), false);

    EXPECT_EQ(afterEdit([](auto& d, const auto&) { return RouteEdit::addRoute(d); }, 0, "ship:\n"),
              "error: no node at [\"routes\"]");
}

TEST(RouteEditWeight, StepperShowsAWholeNumberFromOneToTen) {
    EXPECT_EQ(RouteEdit::weightStepperValue(std::nullopt), 1);
    EXPECT_EQ(RouteEdit::weightStepperValue(3.9), 3);
    EXPECT_EQ(RouteEdit::weightStepperValue(0.5), 1);
    EXPECT_EQ(RouteEdit::weightStepperValue(-4), 1);
    EXPECT_EQ(RouteEdit::weightStepperValue(1e300), 10);
    EXPECT_EQ(RouteEdit::weightStepperValue(std::nan("")), 1);
}

}  // namespace
}  // namespace vorn
