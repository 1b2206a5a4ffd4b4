#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "support/EditableYAML.h"

namespace vorn::testing {

// One edit of a document and the promise it makes: which old lines
// [begin, end) it may replace, by how many new lines, and whether the
// result must still read with MiniYAML (and what it must read there).
// Free of gtest so that the fuzz target can use it too.
struct EditCase {
    std::string name;
    std::function<EditableYAML::Result(EditableYAML&)> apply;
    bool succeeds = true;
    int begin = 0;
    int end = 0;
    int newLineCount = 0;
    bool reparses = false;
    // A path the reader must find after the edit, with the scalar text it
    // must hold there (nothing: any node will do).
    std::optional<std::pair<YAMLPath, std::optional<std::string>>> readBack;
};

// Every path to a node of the document, the root first.
std::vector<YAMLPath> allPaths(const EditableYAML& document);

// Every operation at every path where it applies, and the refusals where it
// does not.
std::vector<EditCase> editCasesFor(const EditableYAML& document);

// Runs the edit on a copy. Nothing when it kept its promise, else what went
// wrong. `checkReading` asks for the reader checks, which only hold for a
// file that the reader could read before.
std::optional<std::string> checkEditCase(const EditableYAML& document, const EditCase& edit,
                                         bool checkReading);

}  // namespace vorn::testing
