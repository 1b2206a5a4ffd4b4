#pragma once

#include <filesystem>
#include <string_view>

namespace vorn::testing {

// Writes an executable file (mode 755) with `text`, creating its folders;
// the tests' stand-ins for the scheduler are such scripts.
std::filesystem::path writeScript(const std::filesystem::path& file, std::string_view text);

}  // namespace vorn::testing
