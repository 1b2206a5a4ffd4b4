#include <gtest/gtest.h>

#include "common/TempDir.h"
#include "service/HookLocator.h"

namespace vorn {
namespace {

using testing::TempDir;

// A name no real machine has in /usr/local/bin or /opt/homebrew/bin.
const std::string kTool = "vorn-test-hook-tool";

std::filesystem::path writeTool(const TempDir& temp, const std::string& relative,
                                std::filesystem::perms permissions) {
    const auto file = temp.write(relative, "#!/bin/sh\nexit 0\n");
    std::filesystem::permissions(file, permissions);
    return file;
}

constexpr auto kExecutable = std::filesystem::perms::owner_all;
constexpr auto kPlain = std::filesystem::perms::owner_read | std::filesystem::perms::owner_write;

SetupProbe probeFinding(std::map<std::string, std::string> answers) {
    SetupProbe probe;
    probe.resolve = [answers](const std::vector<std::string>& names) {
        std::map<std::string, std::string> result;
        for (const std::string& name : names) {
            if (auto hit = answers.find(name); hit != answers.end()) result.insert(*hit);
        }
        return result;
    };
    return probe;
}

TEST(HookLocatorDirectory, TakesTheFolderOrTheFilesFolderWhenItHoldsTheExecutable) {
    TempDir temp;
    writeTool(temp, "bin/" + kTool, kExecutable);
    writeTool(temp, "bin/sibling", kPlain);
    writeTool(temp, "plain/" + kTool, kPlain);
    std::filesystem::create_directories(temp / "folder-named/" / kTool);

    EXPECT_EQ(HookLocator::directory(temp / "bin", kTool), temp / "bin");
    EXPECT_EQ(HookLocator::directory(temp / "bin/sibling", kTool), temp / "bin");
    EXPECT_EQ(HookLocator::directory(temp / "plain", kTool), std::nullopt);
    EXPECT_EQ(HookLocator::directory(temp / "folder-named", kTool), std::nullopt);
    EXPECT_EQ(HookLocator::directory(temp / "missing", kTool), std::nullopt);
    EXPECT_EQ(HookLocator::directory(temp / "bin/missing", kTool), std::nullopt);
}

TEST(HookLocatorCandidates, ShellAnswerFirstThenFallbacksHoldingIt) {
    TempDir home;
    writeTool(home, ".local/bin/" + kTool, kExecutable);
    writeTool(home, ".volta/bin/" + kTool, kPlain);
    writeTool(home, ".nvm/versions/node/v9.11.0/bin/" + kTool, kExecutable);
    writeTool(home, ".nvm/versions/node/v22.1.0/bin/" + kTool, kExecutable);
    writeTool(home, "shell/bin/" + kTool, kExecutable);

    const Environment environment = {{"NVM_DIR", (home / ".nvm").string()}};
    EXPECT_EQ(HookLocator::candidates(
                  kTool, probeFinding({{kTool, (home / "shell/bin" / kTool).string()}}),
                  home.path(), environment),
              (std::vector<std::filesystem::path>{home / "shell/bin", home / ".local/bin",
                                                  home / ".nvm/versions/node/v22.1.0/bin",
                                                  home / ".nvm/versions/node/v9.11.0/bin"}));

    // A shell answer that is also a fallback stands once, first.
    EXPECT_EQ(HookLocator::candidates(
                  kTool, probeFinding({{kTool, (home / ".local/bin" / kTool).string()}}),
                  home.path(), {}),
              (std::vector<std::filesystem::path>{home / ".local/bin",
                                                  home / ".nvm/versions/node/v22.1.0/bin",
                                                  home / ".nvm/versions/node/v9.11.0/bin"}));
}

TEST(HookLocatorCandidates, NothingFoundAnywhereIsAnEmptyList) {
    TempDir home;
    EXPECT_TRUE(HookLocator::candidates(kTool, probeFinding({}), home.path(), {}).empty());
    EXPECT_TRUE(HookLocator::candidates(kTool, SetupProbe{}, home.path(), {}).empty());
}

}  // namespace
}  // namespace vorn
