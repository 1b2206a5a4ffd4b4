#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "support/EditNode.h"
#include "support/Expected.h"
#include "support/ListItemContent.h"
#include "support/YAMLEditError.h"
#include "support/YAMLLexer.h"
#include "support/YAMLPath.h"

namespace vorn {

// A YAML file as its lines, edited line by line so that comments, blank
// lines, key order and indentation all survive. There is no serialiser: an
// edit finds its node in the tree and replaces, inserts or deletes whole
// lines; every other line stays byte for byte. A value is text, written
// exactly as the caller hands it over.
//
// The tree is fixed at parsing and its line numbers go stale behind an edit
// that adds or removes lines. So an instance serves one edit, or several
// that cannot disturb one another's lines; for a further edit relative to
// the result, parse `text()` again.
//
// Every edit either succeeds or fails with the lines unchanged.
class EditableYAML {
  public:
    using Result = Expected<void, YAMLEditError>;

    // Half-open range of line indexes.
    struct LineRange {
        int begin = 0;
        int end = 0;
        bool operator==(const LineRange&) const = default;
    };

    // Behind which line a new key goes, and at which indent.
    struct InsertionPoint {
        int after = 0;
        int indent = 0;
        bool operator==(const InsertionPoint&) const = default;
    };

    // Fails with the first line that is outside the subset.
    static Expected<EditableYAML, YAMLEditError> parse(std::string_view text);

    // The lines joined with line feeds, and a final one if the file had it.
    std::string text() const;
    const std::vector<std::string>& lines() const { return documentLines; }
    const EditNode& root() const { return rootNode; }
    bool trailingNewline() const { return endsWithNewline; }

    const EditNode* node(const YAMLPath& path) const;

    Result setScalar(const YAMLPath& path, std::string_view value);
    Result setBool(const YAMLPath& path, bool value);
    Result setNumber(const YAMLPath& path, double value);
    // Deletes a map entry or a sequence item with the lines it claims.
    Result removeKey(const YAMLPath& path);
    Result removeListItem(const YAMLPath& path, int index);
    Result appendListItem(const YAMLPath& path, const ListItemContent& content);
    Result appendMapEntry(const YAMLPath& path, std::string_view key, std::string_view value);
    Result setOrCreateNested(const YAMLPath& parentPath, std::string_view nestedKey,
                             std::string_view field, std::string_view value);
    // "key: value" becomes "key:" with a nested "valueKey: value".
    Result expandScalarToMap(const YAMLPath& path, std::string_view valueKey);
    // Rewrites the key on the line that declares the node at `path`.
    Result renameMapKey(const YAMLPath& path, std::string_view newKey);

    // The lines an entry owns: its own, and the comment and blank lines
    // above it back to its previous sibling or the line opening its block.
    Expected<LineRange, YAMLEditError> claimedRange(const YAMLPath& path) const;

    static Expected<InsertionPoint, YAMLEditError> mapInsertionPoint(
        const EditNode& node, const YAMLPath& path, const std::vector<std::string>& lines);

    // Turns "key: {}" or "key: []" into "key:", keeping the comment, so the
    // block can receive children. Any other line stays as it is.
    void clearEmptyFlow(int line);

    // The line with its value replaced; indentation, key and comment kept.
    static std::string replacingValue(std::string_view line, std::string_view value);
    static YAMLLexer::ValueAndComment splitValueAndComment(std::string_view rest) {
        return YAMLLexer::splitValueAndComment(rest);
    }
    static std::optional<size_t> findKeyColon(std::string_view body) {
        return YAMLLexer::findKeyColon(body);
    }
    // A whole number below 1e15 as a plain integer, anything else as the
    // shortest text that reads back as the same double.
    static std::string numberText(double value);

  private:
    EditableYAML(std::vector<std::string> lines, EditNode root, bool trailingNewline)
        : documentLines(std::move(lines)),
          rootNode(std::move(root)),
          endsWithNewline(trailingNewline) {}

    void insertLines(int at, const std::vector<std::string>& inserted);

    std::vector<std::string> documentLines;
    EditNode rootNode;
    bool endsWithNewline = false;
};

}  // namespace vorn
