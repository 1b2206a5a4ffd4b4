#pragma once

#include <string>
#include <vector>

#include "support/EditNode.h"
#include "support/Expected.h"
#include "support/YAMLEditError.h"

namespace vorn {

// The line editor's parser. It reads the same subset as the reader, but
// records where each node stands instead of what it holds, and words its
// failures as "line {n}: {reason}" with the 1-based line.
//
// It recurses once per nesting level. A level needs a deeper indent than its
// parent, so a document of n bytes nests at most about sqrt(8n) levels deep.
struct EditTreeBuilder {
    static Expected<EditNode, YAMLEditError> build(const std::vector<std::string>& lines);
};

}  // namespace vorn
