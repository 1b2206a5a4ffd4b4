#pragma once

#include <string>
#include <vector>

namespace vorn {

// Where a node stands in a document: map keys, and decimal indexes within a
// sequence. The empty path is the root.
using YAMLPath = std::vector<std::string>;

struct YAMLPathText {
    // The path as messages show it: ["routes", "0", "area"], each component
    // quoted and escaped; the empty path is [].
    static std::string describe(const YAMLPath& path);
};

}  // namespace vorn
