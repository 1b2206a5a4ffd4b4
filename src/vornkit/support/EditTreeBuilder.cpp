#include "support/EditTreeBuilder.h"

#include <optional>
#include <string_view>

#include "support/YAMLLexer.h"

namespace vorn {

namespace {

struct ContentLine {
    int raw = 0;  // index into the document's lines
    int indent = 0;
    std::string_view text;  // comment, indent and trailing blanks removed
};

using ContentLines = std::vector<ContentLine>;

// Thrown only inside this file, and caught by build().
struct BuildFailure {
    YAMLEditError error;
};

[[noreturn]] void fail(int raw, const std::string& reason) {
    throw BuildFailure{YAMLEditError{"line " + std::to_string(raw + 1) + ": " + reason}};
}

EditNode parseMap(const ContentLines& lines, size_t& index, int indent, int declaringLine);
EditNode parseSeq(const ContentLines& lines, size_t& index, int indent, int declaringLine);

// A scalar may run on over deeper lines that are neither keys nor items.
// Gives the last line it took, or nothing.
std::optional<int> foldContinuation(const ContentLines& lines, size_t& index, int indent) {
    std::optional<int> last;
    while (index < lines.size() && lines[index].indent > indent) {
        const ContentLine& line = lines[index];
        if (YAMLLexer::splitKeyText(line.text) || YAMLLexer::isSequenceItem(line.text)) {
            fail(line.raw, "unexpected indentation");
        }
        last = line.raw;
        ++index;
    }
    return last;
}

// A value that stands on its key's or dash's line.
EditNode inlineValue(const ContentLines& lines, size_t& index, int indent, int raw,
                     std::string_view text) {
    if (const auto empty = YAMLLexer::emptyFlowKind(text)) {
        if (*empty == YAMLLexer::EmptyFlow::map) return EditNode::MapValue{{}, raw, raw};
        return EditNode::SeqValue{{}, raw, raw};
    }
    if (YAMLLexer::opensFlow(text)) {
        fail(raw, "flow collections are not supported: `" + std::string(text) + "`");
    }
    return EditNode::Scalar{raw, foldContinuation(lines, index, indent).value_or(raw)};
}

// The deeper block that opens on the line at `index`.
EditNode nestedBlock(const ContentLines& lines, size_t& index, int declaringLine) {
    const ContentLine& next = lines[index];
    if (YAMLLexer::isSequenceItem(next.text)) {
        return parseSeq(lines, index, next.indent, declaringLine);
    }
    return parseMap(lines, index, next.indent, declaringLine);
}

EditNode valueAfterKey(const ContentLines& lines, size_t& index, int indent, int raw,
                       std::string_view rest) {
    if (!rest.empty()) return inlineValue(lines, index, indent, raw, rest);
    if (index >= lines.size()) return EditNode::Null{raw};
    const ContentLine& next = lines[index];
    if (next.indent > indent) return nestedBlock(lines, index, raw);
    // A list may stand level with its key; a bare "-" there does not open one.
    if (next.indent == indent && next.text.starts_with("- ")) {
        return parseSeq(lines, index, indent, raw);
    }
    return EditNode::Null{raw};
}

EditNode parseMap(const ContentLines& lines, size_t& index, int indent, int declaringLine) {
    EditNode::MapValue map{{}, declaringLine, declaringLine};
    while (index < lines.size()) {
        const ContentLine& line = lines[index];
        if (line.indent != indent || line.text.starts_with("- ")) break;
        auto split = YAMLLexer::splitKeyText(line.text);
        if (!split) fail(line.raw, "expected `key: value`, got `" + std::string(line.text) + "`");
        ++index;
        EditNode value = valueAfterKey(lines, index, indent, line.raw, split->rest);
        map.pairs.push_back(EditPair{std::move(split->key), std::move(value)});
    }
    if (!map.pairs.empty()) map.contentEnd = map.pairs.back().value.end();
    return map;
}

// "- key: value" starts a mapping on the dash line, two columns in, over the
// lines that are at least that deep.
EditNode mappingItem(const ContentLines& lines, size_t& index, int indent, int raw,
                     std::string_view body) {
    const int inner = indent + 2;
    ContentLines item = {ContentLine{raw, inner, body}};
    while (index < lines.size() && lines[index].indent >= inner)
        item.push_back(lines[index++]);
    size_t position = 0;
    EditNode map = parseMap(item, position, inner, raw);
    if (position < item.size()) fail(item[position].raw, "unexpected indentation in list item");
    return map;
}

EditNode parseSeq(const ContentLines& lines, size_t& index, int indent, int declaringLine) {
    EditNode::SeqValue seq{{}, declaringLine, declaringLine};
    while (index < lines.size()) {
        const ContentLine& line = lines[index];
        // A bare "-" prefix is enough here, unlike in a mapping.
        if (line.indent != indent || !line.text.starts_with('-')) break;
        const std::string_view body = YAMLLexer::sequenceItemBody(line.text);
        ++index;
        if (!body.empty()) {
            if (YAMLLexer::splitKeyText(body)) {
                seq.items.push_back(mappingItem(lines, index, indent, line.raw, body));
            } else {
                seq.items.push_back(inlineValue(lines, index, indent, line.raw, body));
            }
        } else if (index < lines.size() && lines[index].indent > indent) {
            seq.items.push_back(nestedBlock(lines, index, line.raw));
        } else {
            seq.items.push_back(EditNode::Null{line.raw});
        }
    }
    if (!seq.items.empty()) seq.contentEnd = seq.items.back().end();
    return seq;
}

}  // namespace

Expected<EditNode, YAMLEditError> EditTreeBuilder::build(const std::vector<std::string>& lines) {
    // Sized once, so the views into it stay put.
    std::vector<std::string> stripped(lines.size());
    ContentLines content;
    for (size_t raw = 0; raw < lines.size(); ++raw) {
        stripped[raw] = YAMLLexer::stripComment(lines[raw]);
        if (const auto found = YAMLLexer::contentOf(stripped[raw])) {
            content.push_back(ContentLine{static_cast<int>(raw), found->indent, found->text});
        }
    }
    if (content.empty()) return EditNode(EditNode::MapValue{{}, -1, -1});
    try {
        size_t index = 0;
        const ContentLine& first = content.front();
        EditNode root = YAMLLexer::isSequenceItem(first.text)
                            ? parseSeq(content, index, first.indent, -1)
                            : parseMap(content, index, first.indent, -1);
        if (index < content.size()) fail(content[index].raw, "unexpected indentation");
        return root;
    } catch (const BuildFailure& failure) {
        return Unexpected(failure.error);
    }
}

}  // namespace vorn
