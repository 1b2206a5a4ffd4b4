#pragma once

#include <filesystem>
#include <string>

#include "support/Expected.h"

namespace vorn {

// Reads whole files as UTF-8 text. A failure carries the system's own words
// ("No such file or directory", "Is a directory"), or says the bytes are not
// UTF-8, so callers can show it to a person as it stands.
struct TextFile {
    static Expected<std::string, std::string> read(const std::filesystem::path& path);
    // The bytes as they are, with no check of their encoding.
    static Expected<std::string, std::string> readBytes(const std::filesystem::path& path);
};

}  // namespace vorn
