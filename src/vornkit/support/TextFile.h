#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "support/Expected.h"

namespace vorn {

// Reads whole files as UTF-8 text. A failure carries the system's own words
// ("No such file or directory", "Is a directory"), or says the bytes are not
// UTF-8, so callers can show it to a person as it stands.
struct TextFile {
    static Expected<std::string, std::string> read(const std::filesystem::path& path);
    // The bytes as they are, with no check of their encoding.
    static Expected<std::string, std::string> readBytes(const std::filesystem::path& path);

    // Replaces the file with `contents` so that a reader, or a crash at any
    // moment, sees either the old file whole or the new one whole: the bytes
    // go to a temporary file beside the target, are flushed to the disk, and
    // the temporary file is renamed over the target. The target keeps its
    // permission bits; a link is followed and the file it names replaced.
    // On failure the target is untouched and the temporary file is gone.
    static Expected<void, std::string> writeAtomically(const std::filesystem::path& path,
                                                       std::string_view contents);
};

}  // namespace vorn
