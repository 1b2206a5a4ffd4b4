#pragma once

#include <filesystem>

namespace vorn {

struct ExecutableFile {
    // A file (after following links) that this process may execute. A
    // folder is searchable, not executable, so it never counts.
    static bool at(const std::filesystem::path& path);
};

}  // namespace vorn
