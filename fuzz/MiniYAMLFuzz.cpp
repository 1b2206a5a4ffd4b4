// Any text either parses or fails with a line that exists in the text.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "support/MiniYAML.h"
#include "support/YAMLLexer.h"

namespace {

void touchEverything(const vorn::YAMLNode& node, int depth) {
    if (depth > 64) return;
    (void)node.string();
    (void)node.boolValue();
    (void)node.intValue();
    (void)node.stringMap();
    for (const vorn::YAMLPair& pair : node.pairs()) {
        if (node[pair.key] == nullptr) std::abort();
        touchEverything(pair.value, depth + 1);
    }
    if (node.kind() == vorn::YAMLNode::Kind::seq) {
        for (const vorn::YAMLNode& item : node.array())
            touchEverything(item, depth + 1);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto node = vorn::MiniYAML::parse(text);
    if (node) {
        touchEverything(*node, 0);
    } else {
        const auto lineCount = vorn::YAMLLexer::splitAtNewlines(text).size();
        if (node.error().line < 1 || static_cast<std::size_t>(node.error().line) > lineCount) {
            std::abort();
        }
    }
    return 0;
}
