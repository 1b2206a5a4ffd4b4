#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "support/Expected.h"
#include "support/YAMLEditError.h"

namespace vorn {

// The folders the scheduler's job needs on its PATH, kept in the single
// scalar `ship.extraPath` and separated by colons.
struct ExtraPathEdit {
    // The folders listed now, empty pieces dropped. A file that doesn't
    // parse, or has no such scalar, lists none.
    static std::vector<std::string> existing(std::string_view text);

    // The text with `directory` added behind the others, or nothing when it
    // is listed already. Fails when the text is outside the editor's subset.
    static Expected<std::optional<std::string>, YAMLEditError> adding(std::string_view directory,
                                                                      std::string_view text);

    // Adds to the file and writes it atomically; true when the file changed.
    // Fails with the text of a read, parse or write failure.
    static Expected<bool, std::string> add(std::string_view directory,
                                           const std::filesystem::path& file);
};

}  // namespace vorn
