#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace vorn::testing {

// Writes a real launch agent property list, XML or binary, through libplist.
void writeLaunchAgentPlist(const std::filesystem::path& file, const std::string& label,
                           const std::vector<std::string>& programArguments,
                           std::optional<std::int64_t> startInterval = std::nullopt,
                           bool binary = false);

// A file with the executable bits set, creating its folders.
std::filesystem::path makeExecutable(const std::filesystem::path& file);

}  // namespace vorn::testing
