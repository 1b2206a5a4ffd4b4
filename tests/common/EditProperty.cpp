#include "common/EditProperty.h"

#include <algorithm>

#include "support/MiniYAML.h"
#include "support/Text.h"

namespace vorn::testing {

namespace {

// Keys and values no corpus file uses, so a read-back can't meet an older
// key of the same name.
constexpr std::string_view kKey = "zz-added";
constexpr std::string_view kValue = "zz-value";

YAMLPath appended(YAMLPath path, std::string component) {
    path.push_back(std::move(component));
    return path;
}

std::string_view bodyOf(const EditableYAML& document, int line) {
    if (line < 0 || line >= static_cast<int>(document.lines().size())) return {};
    const std::string& text = document.lines()[static_cast<size_t>(line)];
    const size_t start = text.find_first_not_of(" \t");
    return start == std::string::npos ? std::string_view() : std::string_view(text).substr(start);
}

bool onDashLine(const EditableYAML& document, int line) {
    return bodyOf(document, line).starts_with('-');
}

// The reader's node at a path, as a copy: the reader hands out a list's
// items by value.
std::optional<YAMLNode> readerNodeAt(const YAMLNode& root, const YAMLPath& path) {
    YAMLNode node = root;
    for (const std::string& component : path) {
        if (node.kind() == YAMLNode::Kind::seq) {
            std::vector<YAMLNode> items = node.array();
            const auto index = Text::decimalInteger(component);
            if (!index || *index < 0 || static_cast<size_t>(*index) >= items.size()) {
                return std::nullopt;
            }
            node = std::move(items[static_cast<size_t>(*index)]);
            continue;
        }
        const YAMLNode* child = node[component];
        if (child == nullptr) return std::nullopt;
        YAMLNode copy = *child;
        node = std::move(copy);
    }
    return node;
}

void collectPaths(const EditNode& node, const YAMLPath& path, std::vector<YAMLPath>& paths) {
    paths.push_back(path);
    if (const auto* map = node.map()) {
        std::vector<std::string> seen;
        for (const EditPair& pair : map->pairs) {
            // A later key of the same name is never reached by a path.
            if (std::find(seen.begin(), seen.end(), pair.key) != seen.end()) continue;
            seen.push_back(pair.key);
            collectPaths(pair.value, appended(path, pair.key), paths);
        }
    } else if (const auto* seq = node.seq()) {
        for (size_t index = 0; index < seq->items.size(); ++index)
            collectPaths(seq->items[index], appended(path, std::to_string(index)), paths);
    }
}

EditCase refusal(std::string name, std::function<EditableYAML::Result(EditableYAML&)> apply) {
    EditCase edit;
    edit.name = std::move(name);
    edit.apply = std::move(apply);
    edit.succeeds = false;
    return edit;
}

EditCase changing(std::string name, std::function<EditableYAML::Result(EditableYAML&)> apply,
                  int begin, int end, int count) {
    EditCase edit;
    edit.name = std::move(name);
    edit.apply = std::move(apply);
    edit.begin = begin;
    edit.end = end;
    edit.newLineCount = count;
    return edit;
}

std::string named(std::string_view operation, const YAMLPath& path) {
    return std::string(operation) + " " + YAMLPathText::describe(path);
}

// A map that opens on a dash line takes new keys at the dash's indentation,
// which the reader then doesn't see as the map's own.
bool opensOnDashLine(const EditableYAML& document, const EditNode::MapValue& map) {
    if (map.pairs.empty()) return onDashLine(document, map.declaringLine);
    return onDashLine(document, map.pairs.front().value.anchorLine());
}

void addScalarCases(const EditableYAML& document, const std::optional<YAMLNode>& reading,
                    const YAMLPath& path, const EditNode::Scalar& scalar, bool keyed,
                    std::vector<EditCase>& cases) {
    EditCase set = changing(
        named("setScalar", path), [path](EditableYAML& d) { return d.setScalar(path, kValue); },
        scalar.line, scalar.end + 1, 1);
    const std::string& line = document.lines()[static_cast<size_t>(scalar.line)];
    set.reparses = true;
    if (EditableYAML::replacingValue(line, kValue) != line) {
        set.readBack = {{path, std::string(kValue)}};
    }
    cases.push_back(std::move(set));

    if (!keyed) return;
    const std::string_view body = bodyOf(document, scalar.line);
    const auto colon = EditableYAML::findKeyColon(body);
    if (!colon) {
        cases.push_back(refusal(named("expandScalarToMap", path), [path](EditableYAML& d) {
            return d.expandScalarToMap(path, "dir");
        }));
        return;
    }
    EditCase expand = changing(
        named("expandScalarToMap", path),
        [path](EditableYAML& d) { return d.expandScalarToMap(path, "dir"); }, scalar.line,
        scalar.line + 1, 2);
    // Folded lines stay behind, where the reader refuses them; a key on a
    // dash line gets its value beside it rather than under it.
    expand.reparses = scalar.end == scalar.line;
    if (expand.reparses && !onDashLine(document, scalar.line)) {
        std::optional<std::string> oldValue;
        if (reading) {
            if (const auto node = readerNodeAt(*reading, path)) oldValue = node->string();
        }
        expand.readBack = {{appended(path, "dir"), oldValue}};
    }
    cases.push_back(std::move(expand));
}

void addMapCases(const EditableYAML& document, const YAMLPath& path, const EditNode& node,
                 std::vector<EditCase>& cases) {
    const EditNode::MapValue& map = *node.map();
    const auto point = EditableYAML::mapInsertionPoint(node, path, document.lines());
    const bool emptyFlow = map.pairs.empty() && map.declaringLine >= 0;
    const int begin = emptyFlow ? map.declaringLine : point->after + 1;
    EditCase append = changing(
        named("appendMapEntry", path),
        [path](EditableYAML& d) { return d.appendMapEntry(path, kKey, kValue); }, begin,
        point->after + 1, emptyFlow ? 2 : 1);
    append.reparses = !opensOnDashLine(document, map);
    if (append.reparses)
        append.readBack = {{appended(path, std::string(kKey)), std::string(kValue)}};
    cases.push_back(std::move(append));

    EditCase nested = changing(
        named("setOrCreateNested", path),
        [path](EditableYAML& d) { return d.setOrCreateNested(path, kKey, "field", kValue); },
        point->after + 1, point->after + 1, 2);
    // Without clearing, "key: {}" followed by a block doesn't read.
    nested.reparses = !opensOnDashLine(document, map) && !emptyFlow;
    if (nested.reparses) {
        nested.readBack = {
            {appended(appended(path, std::string(kKey)), "field"), std::string(kValue)}};
    }
    cases.push_back(std::move(nested));

    cases.push_back(refusal(named("appendListItem", path), [path](EditableYAML& d) {
        return d.appendListItem(path, ListItemContent::scalar("x"));
    }));

    std::vector<std::string> seen;
    for (size_t index = 0; index < map.pairs.size(); ++index) {
        const EditPair& pair = map.pairs[index];
        if (std::find(seen.begin(), seen.end(), pair.key) != seen.end()) continue;
        seen.push_back(pair.key);
        const YAMLPath child = appended(path, pair.key);
        const auto range = document.claimedRange(child);
        EditCase remove = changing(
            named("removeKey", child), [child](EditableYAML& d) { return d.removeKey(child); },
            range->begin, range->end, 0);
        // The keys behind a dash line's first key are left without a dash.
        remove.reparses = !(index == 0 && map.pairs.size() > 1 && opensOnDashLine(document, map));
        cases.push_back(std::move(remove));

        const int anchor = pair.value.anchorLine();
        const std::string& line = document.lines()[static_cast<size_t>(anchor)];
        if (line.find(':') == std::string::npos) {
            cases.push_back(refusal(named("renameMapKey", child), [child](EditableYAML& d) {
                return d.renameMapKey(child, "zz-renamed");
            }));
            continue;
        }
        EditCase rename = changing(
            named("renameMapKey", child),
            [child](EditableYAML& d) { return d.renameMapKey(child, "zz-renamed"); }, anchor,
            anchor + 1, 1);
        const std::string_view body = bodyOf(document, anchor);
        rename.reparses = pair.key.find(':') == std::string::npos && body.starts_with(pair.key) &&
                          body.substr(pair.key.size()).starts_with(':');
        if (rename.reparses) rename.readBack = {{appended(path, "zz-renamed"), std::nullopt}};
        cases.push_back(std::move(rename));
    }
}

void addSeqCases(const EditableYAML& document, const YAMLPath& path, const EditNode::SeqValue& seq,
                 std::vector<EditCase>& cases) {
    const bool empty = seq.items.empty();
    const int after = seq.contentEnd;
    const int begin = empty ? seq.declaringLine : after + 1;
    const bool reparses = !(empty && onDashLine(document, seq.declaringLine));
    const std::string next = std::to_string(seq.items.size());

    EditCase scalar = changing(
        named("appendListItem", path),
        [path](EditableYAML& d) {
            return d.appendListItem(path, ListItemContent::scalar("zz-item"));
        },
        begin, after + 1, empty ? 2 : 1);
    scalar.reparses = reparses;
    if (reparses) scalar.readBack = {{appended(path, next), "zz-item"}};
    cases.push_back(std::move(scalar));

    EditCase mapping = changing(
        named("appendListItem mapping", path),
        [path](EditableYAML& d) {
            return d.appendListItem(path, ListItemContent::mapping({{"zz-a", "1"}, {"zz-b", "2"}}));
        },
        begin, after + 1, empty ? 3 : 2);
    mapping.reparses = reparses;
    if (reparses) mapping.readBack = {{appended(appended(path, next), "zz-b"), "2"}};
    cases.push_back(std::move(mapping));

    cases.push_back(refusal(named("appendMapEntry", path),
                            [path](EditableYAML& d) { return d.appendMapEntry(path, "k", "v"); }));
    for (size_t index = 0; index < seq.items.size(); ++index) {
        const YAMLPath child = appended(path, std::to_string(index));
        const auto range = document.claimedRange(child);
        EditCase remove = changing(
            named("removeListItem", child),
            [path, index](EditableYAML& d) {
                return d.removeListItem(path, static_cast<int>(index));
            },
            range->begin, range->end, 0);
        remove.reparses = true;
        cases.push_back(std::move(remove));
    }
}

void addNullCases(const EditableYAML& document, const YAMLPath& path, const EditNode::Null& null,
                  std::vector<EditCase>& cases) {
    cases.push_back(refusal(named("setScalar", path),
                            [path](EditableYAML& d) { return d.setScalar(path, "x"); }));
    EditCase entry = changing(
        named("appendMapEntry", path),
        [path](EditableYAML& d) { return d.appendMapEntry(path, kKey, kValue); }, null.line + 1,
        null.line + 1, 1);
    entry.reparses = true;
    // "- key:" takes the new key at the key's own column, as a sibling.
    if (!bodyOf(document, null.line).starts_with("- ")) {
        entry.readBack = {{appended(path, std::string(kKey)), std::string(kValue)}};
    }
    cases.push_back(std::move(entry));

    EditCase item = changing(
        named("appendListItem", path),
        [path](EditableYAML& d) {
            return d.appendListItem(path, ListItemContent::scalar("zz-item"));
        },
        null.line + 1, null.line + 1, 1);
    item.reparses = true;
    item.readBack = {{appended(path, "0"), "zz-item"}};
    cases.push_back(std::move(item));
}

}  // namespace

std::vector<YAMLPath> allPaths(const EditableYAML& document) {
    std::vector<YAMLPath> paths;
    collectPaths(document.root(), {}, paths);
    return paths;
}

std::vector<EditCase> editCasesFor(const EditableYAML& document) {
    std::vector<EditCase> cases;
    const auto parsed = MiniYAML::parse(document.text());
    const std::optional<YAMLNode> reading =
        parsed ? std::optional<YAMLNode>(*parsed) : std::nullopt;
    cases.push_back(refusal("removeKey []", [](EditableYAML& d) { return d.removeKey({}); }));
    cases.push_back(refusal("setScalar missing",
                            [](EditableYAML& d) { return d.setScalar({"zz-missing"}, "x"); }));
    for (const YAMLPath& path : allPaths(document)) {
        const EditNode* node = document.node(path);
        // A scalar has a key when its parent is a map.
        const bool keyed = !path.empty() && document.node({path.begin(), path.end() - 1})->map();
        if (const auto* scalar = node->scalar()) {
            addScalarCases(document, reading, path, *scalar, keyed, cases);
        } else if (const auto* null = node->null()) {
            addNullCases(document, path, *null, cases);
        } else if (node->map() != nullptr) {
            addMapCases(document, path, *node, cases);
        } else {
            addSeqCases(document, path, *node->seq(), cases);
        }
    }
    return cases;
}

std::optional<std::string> checkEditCase(const EditableYAML& document, const EditCase& edit,
                                         bool checkReading) {
    EditableYAML copy = document;
    const EditableYAML::Result result = edit.apply(copy);
    const std::vector<std::string>& before = document.lines();
    const std::vector<std::string>& after = copy.lines();
    if (!edit.succeeds) {
        if (result) return edit.name + ": succeeded where it should fail";
        if (after != before) return edit.name + ": a failed edit changed the lines";
        return std::nullopt;
    }
    if (!result) return edit.name + ": failed with " + result.error().reason;

    const size_t begin = static_cast<size_t>(edit.begin);
    const size_t end = static_cast<size_t>(edit.end);
    const size_t count = static_cast<size_t>(edit.newLineCount);
    if (after.size() != before.size() - (end - begin) + count) {
        return edit.name + ": " + std::to_string(after.size()) + " lines, expected " +
               std::to_string(before.size() - (end - begin) + count);
    }
    if (!std::equal(before.begin(), before.begin() + static_cast<long>(begin), after.begin())) {
        return edit.name + ": a line above the edited range changed";
    }
    if (!std::equal(before.begin() + static_cast<long>(end), before.end(),
                    after.begin() + static_cast<long>(begin + count))) {
        return edit.name + ": a line below the edited range changed";
    }
    if (copy.trailingNewline() != document.trailingNewline()) {
        return edit.name + ": the final line feed changed";
    }
    if (!checkReading || !edit.reparses) return std::nullopt;

    const std::string text = copy.text();
    if (auto again = EditableYAML::parse(text); !again) {
        return edit.name + ": the editor can't read the result: " + again.error().reason;
    }
    const auto read = MiniYAML::parse(text);
    if (!read)
        return edit.name + ": the reader can't read the result: " + read.error().description();
    if (!edit.readBack) return std::nullopt;
    const auto found = readerNodeAt(*read, edit.readBack->first);
    if (!found) {
        return edit.name + ": the reader finds nothing at " +
               YAMLPathText::describe(edit.readBack->first);
    }
    if (edit.readBack->second && found->string() != edit.readBack->second) {
        return edit.name + ": the reader finds \"" + found->string().value_or("<not a scalar>") +
               "\" at " + YAMLPathText::describe(edit.readBack->first);
    }
    return std::nullopt;
}

}  // namespace vorn::testing
