#include "common/TempDir.h"

#include <stdlib.h>

#include <fstream>
#include <stdexcept>
#include <string>

namespace vorn::testing {

TempDir::TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "vorn-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    // Canonical, so tests can compare with paths the code resolved.
    root = std::filesystem::canonical(pattern);
}

TempDir::~TempDir() {
    std::error_code ignored;
    // Folders a test made unreadable must still go.
    for (auto it = std::filesystem::recursive_directory_iterator(
             root, std::filesystem::directory_options::skip_permission_denied, ignored);
         it != std::filesystem::recursive_directory_iterator(); it.increment(ignored)) {
        if (it->is_directory(ignored) && !it->is_symlink(ignored)) {
            std::filesystem::permissions(it->path(), std::filesystem::perms::owner_all,
                                         std::filesystem::perm_options::add, ignored);
        }
    }
    std::filesystem::remove_all(root, ignored);
}

std::filesystem::path TempDir::write(std::string_view relative, std::string_view contents) const {
    const std::filesystem::path file = root / relative;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    stream.write(contents.data(), static_cast<std::streamsize>(contents.size()));
    return file;
}

}  // namespace vorn::testing
