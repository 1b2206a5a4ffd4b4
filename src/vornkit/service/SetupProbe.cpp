#include "service/SetupProbe.h"

#include <algorithm>
#include <system_error>

#include "support/Text.h"
#include "support/UniqueInOrder.h"

namespace vorn {

namespace {

// {root}/versions/node/{version}/bin for every version installed under a
// node version manager's root, highest version first.
std::vector<std::filesystem::path> nodeVersionDirectories(const std::filesystem::path& root) {
    const std::filesystem::path versions = root / "versions" / "node";
    std::vector<std::string> entries;
    std::error_code error;
    for (std::filesystem::directory_iterator it(versions, error), end; !error && it != end;
         it.increment(error)) {
        entries.push_back(it->path().filename().string());
    }
    std::sort(entries.begin(), entries.end(),
              [](const std::string& left, const std::string& right) {
                  return Text::compareNumerically(left, right) > 0;
              });
    std::vector<std::filesystem::path> directories;
    for (const std::string& entry : entries)
        directories.push_back(versions / entry / "bin");
    return directories;
}

}  // namespace

std::vector<std::filesystem::path> SetupProbe::fallbackDirectories(
    const std::filesystem::path& home, const std::optional<std::filesystem::path>& nvmDir) {
    std::vector<std::filesystem::path> candidates = {
        "/opt/homebrew/bin",          "/usr/local/bin",
        "/opt/homebrew/opt/node/bin", home / ".local/bin",
        home / ".claude/local",       home / ".npm-global/bin",
        home / ".docker/bin",         "/Applications/Docker.app/Contents/Resources/bin",
        home / ".volta/bin",          home / ".local/share/fnm",
        home / "Library/pnpm",
    };
    std::vector<std::filesystem::path> managerRoots;
    if (nvmDir) managerRoots.push_back(*nvmDir);
    managerRoots.push_back(home / ".nvm");
    managerRoots.push_back(home / ".local/share/nvm");
    for (const std::filesystem::path& root : managerRoots) {
        for (std::filesystem::path& directory : nodeVersionDirectories(root))
            candidates.push_back(std::move(directory));
    }
    return uniqueInOrder(std::move(candidates));
}

}  // namespace vorn
