#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vorn {

// How setup finds the programs the scheduler needs. A desktop session starts
// with a poor search path, so the lookups ask the person's shells first and
// then the places where installers put these tools. The two lookups are
// callables so that tests can stand in for the machine.
struct SetupProbe {
    // Names to the paths where they were found; a name not found is absent.
    std::function<std::map<std::string, std::string>(const std::vector<std::string>& names)>
        resolve;
    std::function<bool()> developerToolsInstalled;

    // Where installers put these tools, in the order they are tried, each
    // once. Node version managers come last, newest version first. `nvmDir`
    // is the environment's NVM_DIR.
    static std::vector<std::filesystem::path> fallbackDirectories(
        const std::filesystem::path& home, const std::optional<std::filesystem::path>& nvmDir);
};

}  // namespace vorn
