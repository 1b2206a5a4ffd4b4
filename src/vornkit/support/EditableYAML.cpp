#include "support/EditableYAML.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>

#include "support/EditTreeBuilder.h"
#include "support/Text.h"

namespace vorn {

namespace {

// A line's indentation as the parser counts it (a tab is four blanks), and
// what stands behind it. An edit writes the indentation of a line it
// rewrites as blanks.
struct Indented {
    int width = 0;
    std::string_view body;
};

Indented indentedOf(std::string_view line) {
    int width = 0;
    size_t index = 0;
    for (; index < line.size() && (line[index] == ' ' || line[index] == '\t'); ++index) {
        width += line[index] == '\t' ? 4 : 1;
    }
    return {width, line.substr(index)};
}

int widthOfLine(const std::vector<std::string>& lines, int line) {
    if (line < 0 || line >= static_cast<int>(lines.size())) return 0;
    return indentedOf(lines[static_cast<size_t>(line)]).width;
}

std::string blanks(int count) {
    return std::string(static_cast<size_t>(std::max(count, 0)), ' ');
}

std::string described(const YAMLPath& path) {
    return YAMLPathText::describe(path);
}

Unexpected<YAMLEditError> failure(std::string reason) {
    return Unexpected(YAMLEditError{std::move(reason)});
}

Unexpected<YAMLEditError> noNodeAt(const YAMLPath& path) {
    return failure("no node at " + described(path));
}

YAMLPath appended(YAMLPath path, std::string_view component) {
    path.emplace_back(component);
    return path;
}

}  // namespace

Expected<EditableYAML, YAMLEditError> EditableYAML::parse(std::string_view text) {
    std::vector<std::string> lines;
    for (const std::string_view piece : Text::split(text, '\n'))
        lines.emplace_back(piece);
    // A carriage return isn't a separator: it stays in its line.
    const bool trailingNewline = !lines.empty() && lines.back().empty();
    if (trailingNewline) lines.pop_back();
    auto root = EditTreeBuilder::build(lines);
    if (!root) return Unexpected(root.error());
    return EditableYAML(std::move(lines), std::move(*root), trailingNewline);
}

std::string EditableYAML::text() const {
    std::string result = Text::joined(documentLines, "\n");
    if (endsWithNewline) result.push_back('\n');
    return result;
}

const EditNode* EditableYAML::node(const YAMLPath& path) const {
    const EditNode* current = &rootNode;
    for (const std::string& component : path) {
        current = current->child(component);
        if (current == nullptr) return nullptr;
    }
    return current;
}

// An edit that meets a stale tree (line numbers from before an earlier edit
// moved lines) must still not reach outside the lines, so every index the
// tree gives is checked or clamped where it is used.
void EditableYAML::insertLines(int at, const std::vector<std::string>& inserted) {
    const int size = static_cast<int>(documentLines.size());
    const int position = std::clamp(at, 0, size);
    documentLines.insert(documentLines.begin() + position, inserted.begin(), inserted.end());
}

EditableYAML::Result EditableYAML::setScalar(const YAMLPath& path, std::string_view value) {
    const EditNode* found = node(path);
    if (found == nullptr) return noNodeAt(path);
    const EditNode::Scalar* scalar = found->scalar();
    if (scalar == nullptr) return failure(described(path) + " is not a scalar");
    const int size = static_cast<int>(documentLines.size());
    if (scalar->line < 0 || scalar->line >= size) return noNodeAt(path);
    documentLines[static_cast<size_t>(scalar->line)] =
        replacingValue(documentLines[static_cast<size_t>(scalar->line)], value);
    // Folded continuation lines go with the old value.
    const int firstFolded = scalar->line + 1;
    const int pastFolded = std::clamp(scalar->end + 1, firstFolded, size);
    documentLines.erase(documentLines.begin() + firstFolded, documentLines.begin() + pastFolded);
    return {};
}

EditableYAML::Result EditableYAML::setBool(const YAMLPath& path, bool value) {
    return setScalar(path, value ? "true" : "false");
}

EditableYAML::Result EditableYAML::setNumber(const YAMLPath& path, double value) {
    return setScalar(path, numberText(value));
}

std::string EditableYAML::numberText(double value) {
    if (value == std::round(value) && std::fabs(value) < 1e15) {
        return std::to_string(static_cast<std::int64_t>(value));
    }
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

std::string EditableYAML::replacingValue(std::string_view line, std::string_view value) {
    const auto [width, body] = indentedOf(line);
    if (body.starts_with("- ") && !findKeyColon(body.substr(2))) {
        // A plain list item.
        const auto split = splitValueAndComment(body.substr(2));
        return blanks(width) + "- " + std::string(value) + split.comment;
    }
    const auto colon = findKeyColon(body);
    if (!colon) return std::string(line);
    // The part before the colon keeps a dash, the key's quotes and spelling.
    const auto split = splitValueAndComment(body.substr(*colon + 1));
    return blanks(width) + std::string(body.substr(0, *colon)) + ": " + std::string(value) +
           split.comment;
}

Expected<EditableYAML::LineRange, YAMLEditError> EditableYAML::claimedRange(
    const YAMLPath& path) const {
    if (path.empty()) return failure("cannot remove the document root");
    const YAMLPath parentPath(path.begin(), path.end() - 1);
    const EditNode* parent = node(parentPath);
    if (parent == nullptr) return noNodeAt(parentPath);
    const std::string& last = path.back();

    const EditNode* entry = nullptr;
    const EditNode* previous = nullptr;
    int declaringLine = -1;
    if (const auto* map = parent->map()) {
        declaringLine = map->declaringLine;
        for (const EditPair& pair : map->pairs) {
            if (pair.key == last) {
                entry = &pair.value;
                break;
            }
            previous = &pair.value;
        }
        if (entry == nullptr) return failure("no key \"" + last + "\" at " + described(path));
    } else if (const auto* seq = parent->seq()) {
        declaringLine = seq->declaringLine;
        entry = parent->child(last);
        if (entry == nullptr) return failure("no item " + last + " at " + described(path));
        if (entry != &seq->items.front()) previous = entry - 1;
    } else {
        return failure(described(parentPath) + " has no children");
    }

    int begin = 0;
    if (previous != nullptr) {
        begin = previous->end() + 1;
    } else if (declaringLine < 0) {
        begin = 0;
    } else if (parent->map() && declaringLine == entry->anchorLine()) {
        // A list item's map: its first key stands on the dash line, which
        // goes with it.
        begin = declaringLine;
    } else {
        begin = declaringLine + 1;
    }
    return LineRange{begin, entry->end() + 1};
}

EditableYAML::Result EditableYAML::removeKey(const YAMLPath& path) {
    const auto range = claimedRange(path);
    if (!range) return Unexpected(range.error());
    const int size = static_cast<int>(documentLines.size());
    const int begin = std::clamp(range->begin, 0, size);
    const int end = std::clamp(range->end, begin, size);
    documentLines.erase(documentLines.begin() + begin, documentLines.begin() + end);
    return {};
}

EditableYAML::Result EditableYAML::removeListItem(const YAMLPath& path, int index) {
    return removeKey(appended(path, std::to_string(index)));
}

Expected<EditableYAML::InsertionPoint, YAMLEditError> EditableYAML::mapInsertionPoint(
    const EditNode& node, const YAMLPath& path, const std::vector<std::string>& lines) {
    if (const auto* map = node.map()) {
        if (!map->pairs.empty()) {
            // Copied from the file: for a map that opens on a dash line, that
            // is the dash's indentation, not the key's column.
            return InsertionPoint{map->contentEnd,
                                  widthOfLine(lines, map->pairs.front().value.anchorLine())};
        }
        if (map->declaringLine >= 0) {
            return InsertionPoint{map->declaringLine, widthOfLine(lines, map->declaringLine) + 2};
        }
        return InsertionPoint{-1, 2};
    }
    if (const auto* null = node.null())
        return InsertionPoint{null->line, widthOfLine(lines, null->line) + 2};
    return failure(described(path) + " is not a map");
}

EditableYAML::Result EditableYAML::appendMapEntry(const YAMLPath& path, std::string_view key,
                                                  std::string_view value) {
    const EditNode* found = node(path);
    if (found == nullptr) return noNodeAt(path);
    const auto point = mapInsertionPoint(*found, path, documentLines);
    if (!point) return Unexpected(point.error());
    if (const auto* map = found->map(); map != nullptr && map->pairs.empty()) {
        clearEmptyFlow(map->declaringLine);
    }
    insertLines(point->after + 1,
                {blanks(point->indent) + std::string(key) + ": " + std::string(value)});
    return {};
}

EditableYAML::Result EditableYAML::appendListItem(const YAMLPath& path,
                                                  const ListItemContent& content) {
    const EditNode* found = node(path);
    if (found == nullptr) return noNodeAt(path);
    int after = 0;
    int indent = 0;
    std::optional<int> emptyFlowLine;
    if (const auto* null = found->null()) {
        after = null->line;
        indent = widthOfLine(documentLines, null->line) + 2;
    } else if (const auto* seq = found->seq(); seq != nullptr && !seq->items.empty()) {
        // The list's own dash column.
        after = seq->contentEnd;
        indent = widthOfLine(documentLines, seq->items.front().anchorLine());
    } else if (seq != nullptr) {
        emptyFlowLine = seq->declaringLine;
        after = seq->declaringLine;
        indent = seq->declaringLine >= 0 ? widthOfLine(documentLines, seq->declaringLine) + 2 : 2;
    } else {
        return failure(described(path) + " is not a sequence");
    }

    std::vector<std::string> item;
    if (const auto* text = std::get_if<std::string>(&content.value)) {
        item.push_back(blanks(indent) + "- " + *text);
    } else {
        const auto& pairs = std::get<ListItemContent::Pairs>(content.value);
        if (pairs.empty()) return failure("a mapping list item needs at least one pair");
        for (const auto& [key, value] : pairs) {
            item.push_back(blanks(item.empty() ? indent : indent + 2) + (item.empty() ? "- " : "") +
                           key + ": " + value);
        }
    }
    if (emptyFlowLine) clearEmptyFlow(*emptyFlowLine);
    insertLines(after + 1, item);
    return {};
}

void EditableYAML::clearEmptyFlow(int line) {
    if (line < 0 || line >= static_cast<int>(documentLines.size())) return;
    std::string& text = documentLines[static_cast<size_t>(line)];
    const auto [width, body] = indentedOf(text);
    const auto colon = findKeyColon(body);
    if (!colon) return;
    const auto split = splitValueAndComment(body.substr(*colon + 1));
    if (!YAMLLexer::emptyFlowKind(split.value)) return;
    text = blanks(width) + std::string(body.substr(0, *colon)) + ":" + split.comment;
}

EditableYAML::Result EditableYAML::setOrCreateNested(const YAMLPath& parentPath,
                                                     std::string_view nestedKey,
                                                     std::string_view field,
                                                     std::string_view value) {
    const YAMLPath nestedPath = appended(parentPath, nestedKey);
    if (const EditNode* nested = node(nestedPath)) {
        if (nested->map() != nullptr && nested->child(field) != nullptr) {
            return setScalar(appended(nestedPath, field), value);
        }
        // A null gets its first child; a scalar or a list is refused.
        return appendMapEntry(nestedPath, field, value);
    }
    const EditNode* parent = node(parentPath);
    if (parent == nullptr) return noNodeAt(parentPath);
    const auto point = mapInsertionPoint(*parent, parentPath, documentLines);
    if (!point) return Unexpected(point.error());
    insertLines(point->after + 1,
                {blanks(point->indent) + std::string(nestedKey) + ":",
                 blanks(point->indent + 2) + std::string(field) + ": " + std::string(value)});
    return {};
}

EditableYAML::Result EditableYAML::expandScalarToMap(const YAMLPath& path,
                                                     std::string_view valueKey) {
    const EditNode* found = node(path);
    if (found == nullptr) return noNodeAt(path);
    if (found->map() != nullptr) return {};
    const EditNode::Scalar* scalar = found->scalar();
    if (scalar == nullptr) return failure(described(path) + " is not a scalar");
    if (scalar->line < 0 || scalar->line >= static_cast<int>(documentLines.size())) {
        return noNodeAt(path);
    }
    std::string& line = documentLines[static_cast<size_t>(scalar->line)];
    const auto [width, body] = indentedOf(line);
    const auto colon = findKeyColon(body);
    if (!colon) return failure(described(path) + " has no key");
    // The comment stays on the key's line. Folded continuation lines are
    // left where they are.
    const auto split = splitValueAndComment(body.substr(*colon + 1));
    std::string nested =
        blanks(width + 2) + std::string(valueKey) + ": " + std::string(split.value);
    line = blanks(width) + std::string(body.substr(0, *colon)) + ":" + split.comment;
    insertLines(scalar->line + 1, {std::move(nested)});
    return {};
}

EditableYAML::Result EditableYAML::renameMapKey(const YAMLPath& path, std::string_view newKey) {
    const EditNode* found = node(path);
    if (found == nullptr) return noNodeAt(path);
    const int anchor = found->anchorLine();
    const auto noKey = [anchor] {
        // This one message counts lines from zero.
        return failure("line " + std::to_string(anchor) + " has no key");
    };
    if (anchor < 0 || anchor >= static_cast<int>(documentLines.size())) return noKey();
    std::string& line = documentLines[static_cast<size_t>(anchor)];
    // The first colon of the raw line, with no regard to quotes: this is for
    // plain map keys, and a leading "- " would go with the old key.
    const size_t colon = line.find(':');
    if (colon == std::string::npos) return noKey();
    line = blanks(indentedOf(line).width) + std::string(newKey) + line.substr(colon);
    return {};
}

}  // namespace vorn
