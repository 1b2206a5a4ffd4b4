#include "model/VornInstallation.h"

namespace vorn {

std::optional<std::filesystem::path> VornInstallation::vornHome() const {
    if (!executable) return std::nullopt;
    const std::filesystem::path folder = executable->parent_path();
    if (executableSource == ExecutableSource::bundled) return folder;
    return folder.parent_path();
}

}  // namespace vorn
