#include "service/HookLocator.h"

#include <system_error>

#include "support/ExecutableFile.h"
#include "support/HomeFolder.h"
#include "support/UniqueInOrder.h"

namespace vorn {

std::optional<std::filesystem::path> HookLocator::directory(const std::filesystem::path& path,
                                                            const std::string& name) {
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (error || !std::filesystem::exists(status)) return std::nullopt;
    const std::filesystem::path folder =
        std::filesystem::is_directory(status) ? path : path.parent_path();
    if (!ExecutableFile::at(folder / name)) return std::nullopt;
    return folder;
}

std::vector<std::filesystem::path> HookLocator::candidates(const std::string& name,
                                                           const SetupProbe& probe,
                                                           const std::filesystem::path& home,
                                                           const Environment& environment) {
    std::vector<std::filesystem::path> found;
    if (probe.resolve) {
        const auto resolved = probe.resolve({name});
        if (const auto hit = resolved.find(name); hit != resolved.end()) {
            found.push_back(std::filesystem::path(hit->second).parent_path());
        }
    }
    const std::string nvmDir = ProcessEnvironment::value(environment, "NVM_DIR");
    const auto fallbacks = SetupProbe::fallbackDirectories(
        home, nvmDir.empty() ? std::nullopt : std::optional<std::filesystem::path>(nvmDir));
    for (const std::filesystem::path& folder : fallbacks) {
        if (ExecutableFile::at(folder / name)) found.push_back(folder);
    }
    return uniqueInOrder(std::move(found));
}

std::vector<std::filesystem::path> HookLocator::candidates(const std::string& name,
                                                           const SetupProbe& probe) {
    return candidates(name, probe, HomeFolder::path(), ProcessEnvironment::current());
}

}  // namespace vorn
