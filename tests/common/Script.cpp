#include "common/Script.h"

#include <fstream>

namespace vorn::testing {

std::filesystem::path writeScript(const std::filesystem::path& file, std::string_view text) {
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary | std::ios::trunc)
        .write(text.data(), static_cast<std::streamsize>(text.size()));
    std::filesystem::permissions(file, static_cast<std::filesystem::perms>(0755));
    return file;
}

}  // namespace vorn::testing
