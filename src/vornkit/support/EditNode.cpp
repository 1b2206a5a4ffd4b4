#include "support/EditNode.h"

#include "support/Text.h"

namespace vorn {

EditNode::EditNode(Scalar scalar) : value(scalar) {}
EditNode::EditNode(Null null) : value(null) {}
EditNode::EditNode(MapValue map) : value(std::move(map)) {}
EditNode::EditNode(SeqValue seq) : value(std::move(seq)) {}
EditNode::EditNode(const EditNode&) = default;
EditNode::EditNode(EditNode&&) noexcept = default;
EditNode& EditNode::operator=(const EditNode&) = default;
EditNode& EditNode::operator=(EditNode&&) noexcept = default;
EditNode::~EditNode() = default;

int EditNode::end() const {
    if (const auto* node = scalar()) return node->end;
    if (const auto* node = null()) return node->line;
    if (const auto* node = map()) return node->contentEnd;
    return seq()->contentEnd;
}

int EditNode::anchorLine() const {
    if (const auto* node = scalar()) return node->line;
    if (const auto* node = null()) return node->line;
    if (const auto* node = seq()) return node->declaringLine;
    const MapValue& node = *map();
    if (node.declaringLine >= 0) return node.declaringLine;
    return node.pairs.empty() ? 0 : node.pairs.front().value.anchorLine();
}

const EditNode* EditNode::child(std::string_view component) const {
    if (const auto* node = map()) {
        for (const EditPair& pair : node->pairs) {
            if (pair.key == component) return &pair.value;
        }
        return nullptr;
    }
    if (const auto* node = seq()) {
        const auto index = Text::decimalInteger(component);
        if (!index || *index < 0 || static_cast<std::uint64_t>(*index) >= node->items.size()) {
            return nullptr;
        }
        return &node->items[static_cast<size_t>(*index)];
    }
    return nullptr;
}

}  // namespace vorn
