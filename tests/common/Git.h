#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace vorn::testing {

// Runs the real git for a test, with an argument list and a time-out, in a
// configuration of its own so the machine's settings don't leak in. A
// failure to start, a time-out or a non-zero exit fails the test.
void runGit(const std::filesystem::path& workingFolder, const std::vector<std::string>& arguments);

// A repository with one commit at `folder`, created with its parents.
void makeRepository(const std::filesystem::path& folder);

// `git worktree add` of a new branch named like the folder.
void addWorktree(const std::filesystem::path& repository, const std::filesystem::path& worktree);

}  // namespace vorn::testing
