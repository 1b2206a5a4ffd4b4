#include <gtest/gtest.h>

#include "common/TempDir.h"
#include "service/VornPaths.h"

namespace vorn {
namespace {

using testing::TempDir;
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

}  // namespace
}  // namespace vorn
