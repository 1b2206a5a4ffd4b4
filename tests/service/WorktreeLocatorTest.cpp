#include <gtest/gtest.h>

#include "common/Git.h"
#include "common/TempDir.h"
#include "service/WorktreeLocator.h"

namespace vorn {
namespace {

using testing::TempDir;

VornRepo repoAt(std::string name, const std::filesystem::path& dir) {
    return VornRepo{std::move(name), dir, std::nullopt, std::nullopt, std::nullopt};
}

VornRoute routeWith(std::vector<VornRepo> repos, std::string prefix = "web-issue-") {
    VornRoute route;
    route.name = "acme/web";
    route.workspace = "acme";
    route.project = "web";
    route.worktreePrefix = std::move(prefix);
    route.repos = std::move(repos);
    return route;
}

WorktreeLocator::Found found(std::int64_t ticket, std::string repo,
                             const std::filesystem::path& path) {
    return {ticket, {std::move(repo), path.string()}};
}

// src/web and src/api are the route's checkouts; src/other is a checkout the
// route doesn't know. Beside them stand real worktrees and decoys.
class WorktreeLocatorOnDisk : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(testing::makeRepository(web));
        ASSERT_NO_FATAL_FAILURE(testing::makeRepository(api));
        ASSERT_NO_FATAL_FAILURE(testing::makeRepository(other));
    }

    void add(const std::filesystem::path& repository, std::string_view name) {
        ASSERT_NO_FATAL_FAILURE(testing::addWorktree(repository, src / name));
    }

    VornRoute route() const { return routeWith({repoAt("web", web), repoAt("api", api)}); }

    TempDir temp;
    std::filesystem::path src = temp / "src";
    std::filesystem::path web = src / "web";
    std::filesystem::path api = src / "api";
    std::filesystem::path other = src / "other";
};

TEST_F(WorktreeLocatorOnDisk, CheckoutReadsTheGitFileOfARealWorktree) {
    add(web, "web-issue-12");
    EXPECT_EQ(WorktreeLocator::checkout(src / "web-issue-12"), web);
    // A main checkout has a .git folder; a plain folder has none.
    EXPECT_EQ(WorktreeLocator::checkout(web), std::nullopt);
    std::filesystem::create_directories(src / "plain");
    EXPECT_EQ(WorktreeLocator::checkout(src / "plain"), std::nullopt);
    EXPECT_EQ(WorktreeLocator::checkout(src / "missing"), std::nullopt);
}

TEST_F(WorktreeLocatorOnDisk, CheckoutNeedsTheLabelAndTheWorktreesMarker) {
    temp.write("a/.git", "\n  gitdir:\t /x/repo/.git/worktrees/a  \n\n");
    EXPECT_EQ(WorktreeLocator::checkout(temp / "a"), "/x/repo");
    temp.write("b/.git", "gitdir: ../repo/.git/worktrees/b\n");
    EXPECT_EQ(WorktreeLocator::checkout(temp / "b"), "../repo");
    temp.write("c/.git", "gitdir: /x/repo/.git/modules/c\n");
    EXPECT_EQ(WorktreeLocator::checkout(temp / "c"), std::nullopt);
    temp.write("d/.git", "worktree: /x/repo/.git/worktrees/d\n");
    EXPECT_EQ(WorktreeLocator::checkout(temp / "d"), std::nullopt);
}

TEST_F(WorktreeLocatorOnDisk, AllListsTheRoutesWorktreesAndSkipsDecoys) {
    add(web, "web-issue-12");
    add(web, "web-issue-3");
    add(api, "api-issue-7");
    add(api, "web-issue-30");  // a prefix of one repo, a worktree of the other
    // Decoys: another checkout's worktree under a matching name, names that
    // aren't a prefix and a number, and a plain folder.
    add(other, "web-issue-14");
    add(web, "web-issue-12x");
    add(web, "web-issue-");
    add(web, "unrelated-5");
    std::filesystem::create_directories(src / "web-issue-15");

    EXPECT_EQ(WorktreeLocator::all(route()),
              (std::vector<WorktreeLocator::Found>{
                  found(3, "web", src / "web-issue-3"), found(7, "api", src / "api-issue-7"),
                  found(12, "web", src / "web-issue-12"), found(30, "api", src / "web-issue-30")}));
}

TEST_F(WorktreeLocatorOnDisk, ARelativeGitdirLineCountsFromTheWorktree) {
    add(web, "web-issue-16");
    temp.write("src/web-issue-16/.git", "gitdir: ../web/.git/worktrees/web-issue-16\n");
    EXPECT_EQ(WorktreeLocator::all(route()),
              (std::vector<WorktreeLocator::Found>{found(16, "web", src / "web-issue-16")}));
    EXPECT_EQ(WorktreeLocator::locate(16, route()),
              (WorktreeLocator::Match{"web", (src / "web-issue-16").string()}));

    // Without the marker the line names no checkout at all.
    temp.write("src/web-issue-16/.git", "gitdir: ../web/.git\n");
    EXPECT_EQ(WorktreeLocator::all(route()), std::vector<WorktreeLocator::Found>{});
    EXPECT_EQ(WorktreeLocator::locate(16, route()), std::nullopt);
}

TEST_F(WorktreeLocatorOnDisk, LocateFindsATicketsWorktreeOnlyWhenItIsTheRoutes) {
    add(web, "web-issue-12");
    add(other, "web-issue-14");
    std::filesystem::create_directories(src / "web-issue-15");
    add(api, "api-issue-12");

    // Repositories are tried in order: web's own prefix comes first.
    EXPECT_EQ(WorktreeLocator::locate(12, route()),
              (WorktreeLocator::Match{"web", (src / "web-issue-12").string()}));
    EXPECT_EQ(WorktreeLocator::locate(14, route()), std::nullopt);
    EXPECT_EQ(WorktreeLocator::locate(15, route()), std::nullopt);
    EXPECT_EQ(WorktreeLocator::locate(99, route()), std::nullopt);
}

TEST_F(WorktreeLocatorOnDisk, TheRepositorysOwnFileNamesAPrefix) {
    temp.write("src/web/.vorn.yaml", "# hooks and worktrees\nworktrees:\n  prefix: wt-\n");
    add(web, "wt-20");
    EXPECT_EQ(WorktreeLocator::locate(20, route()),
              (WorktreeLocator::Match{"web", (src / "wt-20").string()}));
    EXPECT_EQ(WorktreeLocator::all(route()),
              (std::vector<WorktreeLocator::Found>{found(20, "web", src / "wt-20")}));
}

TEST(WorktreeLocatorPrefixes, InOrderWithoutRepeats) {
    TempDir temp;
    VornRepo repo = repoAt("site", temp / "checkouts/website");
    EXPECT_EQ(WorktreeLocator::prefixes(repo, routeWith({repo})),
              (std::vector<std::string>{"site-issue-", "website-issue-", "web-issue-"}));

    repo.worktreePrefix = "own-";
    temp.write("checkouts/website/.vorn.yaml", "worktrees:\n  prefix: file-\n");
    EXPECT_EQ(WorktreeLocator::prefixes(repo, routeWith({repo}, "site-issue-")),
              (std::vector<std::string>{"own-", "file-", "site-issue-", "website-issue-"}));

    // A file that doesn't parse, or a prefix that isn't a scalar, adds nothing.
    temp.write("checkouts/website/.vorn.yaml", "worktrees:\n  prefix: [a, b]\n");
    EXPECT_EQ(WorktreeLocator::prefixes(repo, routeWith({repo})).size(), 4u);
    temp.write("checkouts/website/.vorn.yaml", "worktrees:\n  prefix:\n    - a\n");
    EXPECT_EQ(WorktreeLocator::prefixes(repo, routeWith({repo})).size(), 4u);
}

}  // namespace
}  // namespace vorn
