#include "support/MiniYAML.h"

#include <optional>
#include <vector>

#include "support/TextFile.h"
#include "support/YAMLLexer.h"

namespace vorn {

namespace {

struct SourceLine {
    int number = 0;  // 1-based
    int indent = 0;
    std::string_view text;  // comment removed, no leading or trailing blanks
};

using SourceLines = std::vector<SourceLine>;

// Thrown only inside this file, and caught by parse().
struct ParseFailure {
    YAMLError error;
};

// The reader walks the lines with an explicit stack of open blocks rather
// than by recursion, so the depth of a document is bounded by memory, not by
// the thread's stack.
class Parser {
  public:
    explicit Parser(SourceLines& lines) : lines(lines) {}

    YAMLNode parseDocument() {
        const SourceLine& first = lines.front();
        open(YAMLLexer::isSequenceItem(first.text), first.indent);
        while (true) {
            if (stack.back().isMap ? stepMap() : stepSeq()) continue;
            YAMLNode node = close();
            if (stack.empty()) {
                if (position < lines.size()) fail(lines[position], "unexpected indentation");
                return node;
            }
            deliver(std::move(node));
        }
    }

  private:
    struct Frame {
        bool isMap = true;
        int indent = 0;
        std::vector<YAMLPair> pairs;
        std::vector<YAMLNode> items;
        std::string pendingKey;  // the key whose value is the open child
        // For the mapping of a "- key: value" item: where its lines end.
        std::optional<size_t> itemEnd;
    };

    SourceLines& lines;
    size_t position = 0;
    std::vector<Frame> stack;

    [[noreturn]] static void fail(const SourceLine& line, std::string reason) {
        throw ParseFailure{YAMLError{line.number, std::move(reason)}};
    }

    void open(bool isSequence, int indent, std::optional<size_t> itemEnd = std::nullopt) {
        stack.push_back(Frame{!isSequence, indent, {}, {}, {}, itemEnd});
    }

    // A block that opens on the next line: a sequence if it starts with a
    // dash item, else a mapping.
    void openBlockAt(const SourceLine& first) {
        open(YAMLLexer::isSequenceItem(first.text), first.indent);
    }

    YAMLNode close() {
        Frame frame = std::move(stack.back());
        stack.pop_back();
        if (frame.itemEnd && position < *frame.itemEnd) {
            fail(lines[position], "unexpected indentation in list item");
        }
        return frame.isMap ? YAMLNode::map(std::move(frame.pairs))
                           : YAMLNode::seq(std::move(frame.items));
    }

    void deliver(YAMLNode node) {
        Frame& parent = stack.back();
        if (parent.isMap) {
            parent.pairs.push_back(YAMLPair{std::move(parent.pendingKey), std::move(node)});
        } else {
            parent.items.push_back(std::move(node));
        }
    }

    // One pair of the mapping on top of the stack. False when it has ended.
    bool stepMap() {
        const int indent = stack.back().indent;
        if (position >= lines.size()) return false;
        const SourceLine& line = lines[position];
        if (line.indent != indent || line.text.starts_with("- ")) return false;
        auto split = YAMLLexer::splitKeyText(line.text);
        if (!split) fail(line, "expected `key: value`, got `" + std::string(line.text) + "`");
        ++position;
        if (!split->rest.empty()) {
            YAMLNode value = inlineValue(indent, split->rest, line);
            stack.back().pairs.push_back(YAMLPair{std::move(split->key), std::move(value)});
            return true;
        }
        // "key:" with nothing behind it: the value comes from the next line.
        const SourceLine* next = position < lines.size() ? &lines[position] : nullptr;
        if (next != nullptr && next->indent > indent) {
            stack.back().pendingKey = std::move(split->key);
            openBlockAt(*next);
        } else if (next != nullptr && next->indent == indent && next->text.starts_with("- ")) {
            // A list may stand level with its key.
            stack.back().pendingKey = std::move(split->key);
            open(true, indent);
        } else {
            stack.back().pairs.push_back(YAMLPair{std::move(split->key), YAMLNode::null()});
        }
        return true;
    }

    // One item of the sequence on top of the stack. False when it has ended.
    bool stepSeq() {
        const int indent = stack.back().indent;
        if (position >= lines.size()) return false;
        const SourceLine& line = lines[position];
        // A bare "-" prefix is enough here, unlike in a mapping.
        if (line.indent != indent || !line.text.starts_with('-')) return false;
        const std::string_view itemText = YAMLLexer::sequenceItemBody(line.text);
        if (itemText.empty()) {
            ++position;
            if (position < lines.size() && lines[position].indent > indent) {
                openBlockAt(lines[position]);
            } else {
                stack.back().items.push_back(YAMLNode::null());
            }
        } else if (YAMLLexer::splitKeyText(itemText)) {
            openMappingItem(indent, itemText);
        } else {
            const SourceLine itemLine = line;
            ++position;
            stack.back().items.push_back(inlineValue(indent, itemText, itemLine));
        }
        return true;
    }

    // "- key: value" starts a mapping on the dash line, two columns in, over
    // the lines that are at least that deep. The dash line is rewritten in
    // place to its key part; the lines behind the item are shallower, so no
    // block of the item can read past them.
    void openMappingItem(int indent, std::string_view itemText) {
        const int itemIndent = indent + 2;
        size_t end = position + 1;
        while (end < lines.size() && lines[end].indent >= itemIndent)
            ++end;
        lines[position] = SourceLine{lines[position].number, itemIndent, itemText};
        open(false, itemIndent, end);
    }

    YAMLNode inlineValue(int indent, std::string_view rest, const SourceLine& line) {
        if (const auto empty = YAMLLexer::emptyFlowKind(rest)) {
            return *empty == YAMLLexer::EmptyFlow::map ? YAMLNode::map({}) : YAMLNode::seq({});
        }
        if (YAMLLexer::opensFlow(rest)) {
            fail(line, "flow collections are not supported: `" + std::string(rest) + "`");
        }
        return YAMLNode::scalar(YAMLLexer::unquote(folded(indent, rest)));
    }

    // Deeper lines that are neither keys nor items continue the value.
    std::string folded(int indent, std::string_view rest) {
        std::string text(rest);
        while (position < lines.size() && lines[position].indent > indent) {
            const SourceLine& next = lines[position];
            if (YAMLLexer::isSequenceItem(next.text) || YAMLLexer::splitKeyText(next.text)) {
                fail(next, "unexpected indentation after `" + std::string(rest) + "`");
            }
            text.push_back(' ');
            text.append(next.text);
            ++position;
        }
        return text;
    }
};

// Comments stripped, blank lines and document markers dropped. The returned
// views point into `storage`.
SourceLines prepareLines(std::string_view text, std::vector<std::string>& storage) {
    const std::vector<std::string_view> pieces = YAMLLexer::splitAtNewlines(text);
    storage.reserve(pieces.size());
    // Views are taken once `storage` has stopped moving its strings.
    struct Place {
        int number;
        int indent;
        size_t length;
    };
    std::vector<Place> places;
    for (size_t index = 0; index < pieces.size(); ++index) {
        std::string stripped = YAMLLexer::stripComment(pieces[index]);
        const auto content = YAMLLexer::contentOf(stripped);
        if (!content) continue;
        places.push_back(Place{static_cast<int>(index + 1), content->indent, content->text.size()});
        storage.push_back(std::move(stripped));
    }
    SourceLines lines;
    lines.reserve(storage.size());
    for (size_t index = 0; index < storage.size(); ++index) {
        const Place& place = places[index];
        const std::string_view text = std::string_view(storage[index])
                                          .substr(static_cast<size_t>(place.indent), place.length);
        lines.push_back(SourceLine{place.number, place.indent, text});
    }
    return lines;
}

}  // namespace

Expected<YAMLNode, YAMLError> MiniYAML::parse(std::string_view text) {
    std::vector<std::string> storage;
    SourceLines lines = prepareLines(text, storage);
    if (lines.empty()) return YAMLNode::null();
    try {
        return Parser(lines).parseDocument();
    } catch (const ParseFailure& failure) {
        return Unexpected(failure.error);
    }
}

Expected<YAMLNode, std::string> MiniYAML::parseContentsOf(const std::filesystem::path& file) {
    auto text = TextFile::read(file);
    if (!text) return Unexpected(text.error());
    auto node = parse(*text);
    if (!node) return Unexpected(node.error().description());
    return std::move(*node);
}

std::string MiniYAML::stripComment(std::string_view line) {
    return YAMLLexer::stripComment(line);
}

std::string MiniYAML::unquote(std::string_view text) {
    return YAMLLexer::unquote(text);
}

}  // namespace vorn
