#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace vorn::testing {

// Every file under `folder` by relative path: its mode and bytes, or for a
// link its target. Two equal maps are two byte-identical copies.
std::map<std::string, std::string> folderContents(const std::filesystem::path& folder);

// The names in `folder` that begin with `prefix`.
std::vector<std::string> namesStartingWith(const std::filesystem::path& folder,
                                           std::string_view prefix);

}  // namespace vorn::testing
