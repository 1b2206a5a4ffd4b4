#include <gtest/gtest.h>

#include "common/TempDir.h"
#include "service/SetupProbe.h"

namespace vorn {
namespace {

using testing::TempDir;

std::vector<std::filesystem::path> fixedDirectories(const std::filesystem::path& home) {
    return {"/opt/homebrew/bin",          "/usr/local/bin",
            "/opt/homebrew/opt/node/bin", home / ".local/bin",
            home / ".claude/local",       home / ".npm-global/bin",
            home / ".docker/bin",         "/Applications/Docker.app/Contents/Resources/bin",
            home / ".volta/bin",          home / ".local/share/fnm",
            home / "Library/pnpm"};
}

TEST(SetupProbeFallbackDirectories, FixedPlacesWhenNoVersionManagerIsInstalled) {
    TempDir home;
    EXPECT_EQ(SetupProbe::fallbackDirectories(home.path(), std::nullopt),
              fixedDirectories(home.path()));
    // An NVM_DIR that can't be listed adds nothing.
    EXPECT_EQ(SetupProbe::fallbackDirectories(home.path(), home / "nowhere"),
              fixedDirectories(home.path()));
}

TEST(SetupProbeFallbackDirectories, NodeVersionsNewestFirstPerManagerInOrder) {
    TempDir home;
    for (const char* version : {"v9.11.0", "v22.1.0", "v18.20.4", "v18.3.0"}) {
        std::filesystem::create_directories(home / ".nvm/versions/node" / version / "bin");
    }
    std::filesystem::create_directories(home / "custom/versions/node/v20.0.0");
    std::filesystem::create_directories(home / ".local/share/nvm/versions/node/v16.0.0");

    auto expected = fixedDirectories(home.path());
    expected.push_back(home / "custom/versions/node/v20.0.0/bin");
    for (const char* version : {"v22.1.0", "v18.20.4", "v18.3.0", "v9.11.0"}) {
        expected.push_back(home / ".nvm/versions/node" / version / "bin");
    }
    expected.push_back(home / ".local/share/nvm/versions/node/v16.0.0/bin");
    EXPECT_EQ(SetupProbe::fallbackDirectories(home.path(), home / "custom"), expected);

    // NVM_DIR naming the default root lists its versions once, in its place.
    expected.erase(expected.begin() + 11);
    EXPECT_EQ(SetupProbe::fallbackDirectories(home.path(), home / ".nvm"), expected);
}

}  // namespace
}  // namespace vorn
