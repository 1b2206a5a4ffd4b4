#include "support/YAMLNode.h"

#include "support/Text.h"
#include "support/YAMLPair.h"

namespace vorn {

namespace {

const std::vector<YAMLPair> kNoPairs;

}  // namespace

YAMLNode::YAMLNode() = default;
YAMLNode::YAMLNode(const YAMLNode&) = default;
YAMLNode::YAMLNode(YAMLNode&&) noexcept = default;
YAMLNode& YAMLNode::operator=(const YAMLNode&) = default;
YAMLNode& YAMLNode::operator=(YAMLNode&&) noexcept = default;

YAMLNode YAMLNode::null() {
    return YAMLNode();
}

YAMLNode::~YAMLNode() {
    if (storage.index() < 2) return;
    std::vector<YAMLNode> pending;
    moveChildrenInto(pending);
    while (!pending.empty()) {
        YAMLNode node = std::move(pending.back());
        pending.pop_back();
        node.moveChildrenInto(pending);
    }
}

void YAMLNode::moveChildrenInto(std::vector<YAMLNode>& pending) {
    if (auto* pairs = std::get_if<2>(&storage)) {
        for (YAMLPair& pair : *pairs)
            pending.push_back(std::move(pair.value));
        pairs->clear();
    } else if (auto* items = std::get_if<3>(&storage)) {
        for (YAMLNode& item : *items)
            pending.push_back(std::move(item));
        items->clear();
    }
}

YAMLNode YAMLNode::scalar(std::string text) {
    YAMLNode node;
    node.storage.emplace<1>(std::move(text));
    return node;
}

YAMLNode YAMLNode::map(std::vector<YAMLPair> pairs) {
    YAMLNode node;
    node.storage.emplace<2>(std::move(pairs));
    return node;
}

YAMLNode YAMLNode::seq(std::vector<YAMLNode> items) {
    YAMLNode node;
    node.storage.emplace<3>(std::move(items));
    return node;
}

YAMLNode::Kind YAMLNode::kind() const {
    switch (storage.index()) {
        case 1:
            return Kind::scalar;
        case 2:
            return Kind::map;
        case 3:
            return Kind::seq;
        default:
            return Kind::null;
    }
}

const YAMLNode* YAMLNode::operator[](std::string_view key) const {
    for (const YAMLPair& pair : pairs()) {
        if (pair.key == key) return &pair.value;
    }
    return nullptr;
}

std::optional<std::string> YAMLNode::string() const {
    if (const auto* text = std::get_if<1>(&storage)) return *text;
    return std::nullopt;
}

const std::vector<YAMLPair>& YAMLNode::pairs() const {
    if (const auto* found = std::get_if<2>(&storage)) return *found;
    return kNoPairs;
}

std::vector<YAMLNode> YAMLNode::array() const {
    if (const auto* items = std::get_if<3>(&storage)) return *items;
    if (isNull()) return {};
    return {*this};
}

std::optional<bool> YAMLNode::boolValue() const {
    const auto* text = std::get_if<1>(&storage);
    if (text == nullptr) return std::nullopt;
    const std::string lowered = Text::lowercasedASCII(*text);
    if (lowered == "true" || lowered == "yes" || lowered == "on") return true;
    if (lowered == "false" || lowered == "no" || lowered == "off") return false;
    return std::nullopt;
}

std::optional<std::int64_t> YAMLNode::intValue() const {
    const auto* text = std::get_if<1>(&storage);
    if (text == nullptr) return std::nullopt;
    return Text::decimalInteger(*text);
}

std::map<std::string, std::string> YAMLNode::stringMap() const {
    std::map<std::string, std::string> result;
    for (const YAMLPair& pair : pairs()) {
        if (auto text = pair.value.string()) result[pair.key] = std::move(*text);
    }
    return result;
}

// Written out rather than defaulted: a defaulted comparison of a variant that
// holds vectors of its own type sends clang into endless instantiation.
bool YAMLNode::operator==(const YAMLNode& other) const {
    if (storage.index() != other.storage.index()) return false;
    switch (storage.index()) {
        case 1:
            return std::get<1>(storage) == std::get<1>(other.storage);
        case 2: {
            const auto& mine = std::get<2>(storage);
            const auto& theirs = std::get<2>(other.storage);
            if (mine.size() != theirs.size()) return false;
            for (std::size_t index = 0; index < mine.size(); ++index) {
                if (mine[index].key != theirs[index].key) return false;
                if (!(mine[index].value == theirs[index].value)) return false;
            }
            return true;
        }
        case 3: {
            const auto& mine = std::get<3>(storage);
            const auto& theirs = std::get<3>(other.storage);
            if (mine.size() != theirs.size()) return false;
            for (std::size_t index = 0; index < mine.size(); ++index) {
                if (!(mine[index] == theirs[index])) return false;
            }
            return true;
        }
        default:
            return true;
    }
}

}  // namespace vorn
