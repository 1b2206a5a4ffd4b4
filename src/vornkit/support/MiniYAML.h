#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "support/Expected.h"
#include "support/YAMLError.h"
#include "support/YAMLNode.h"
#include "support/YAMLPair.h"

namespace vorn {

// Reads the subset of YAML that vorn.yaml and its sibling files use: block
// mappings and sequences, plain and quoted scalars, comments, the empty flow
// forms and line folding. Everything else is refused with a line number or
// read as plain text. Its oddities (a "-x" item loses its "x", tabs count four
// blanks) are how the scheduler's own files have always been read, and stay.
struct MiniYAML {
    static Expected<YAMLNode, YAMLError> parse(std::string_view text);
    // Reads the file as UTF-8 and parses it. The failure is the text to show:
    // the system's words for a read failure, or the YAMLError's description.
    static Expected<YAMLNode, std::string> parseContentsOf(const std::filesystem::path& file);

    static std::string stripComment(std::string_view line);
    static std::string unquote(std::string_view text);
};

}  // namespace vorn
