#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "support/Expected.h"

namespace vorn {

// The lexical rules that the reader and the line editor of vorn.yaml share.
// They are deliberately simple: quotes have no escapes at this level, and an
// apostrophe opens a quote anywhere, so "don't # this" keeps its "#".
struct YAMLLexer {
    struct KeyText {
        std::string key;
        std::string_view rest;  // behind the colon, trimmed of blanks and tabs
    };

    // What a line holds for the parsers, once its comment is stripped.
    struct Content {
        int indent = 0;
        std::string_view text;  // behind the indent, trailing blanks removed
    };

    struct ValueAndComment {
        std::string_view value;  // trimmed of blanks and tabs
        std::string comment;     // two blanks and the comment, or empty
    };

    enum class EmptyFlow { map, seq };

    // Tabs become four blanks, then a comment is cut off: a "#" outside
    // quotes that starts the line or follows a blank. The blank stays.
    static std::string stripComment(std::string_view line);

    // Where the comment of `text` begins under the same quote tracking, or
    // nothing. Tabs count as ordinary characters here.
    static std::optional<size_t> commentStart(std::string_view text);

    // The indent and text of a stripped line; nothing for a line that holds
    // nothing, or only a "---" document marker.
    static std::optional<Content> contentOf(std::string_view stripped);

    // Removes one pair of matching outer quotes and applies their escapes.
    static std::string unquote(std::string_view text);

    // Splits "key: rest". Fails with "flow collections are not supported",
    // "unterminated quoted key" or "no key separator".
    static Expected<KeyText, std::string> splitKeyText(std::string_view text);

    // The colon that ends the key of a raw line's body: right behind a
    // quoted key's closing quote, else the first one at the end or before a
    // blank. Nothing when the body has no key.
    static std::optional<size_t> findKeyColon(std::string_view body);

    // The rest of a line behind its key colon or dash, divided into the value
    // and its comment. The comment is set two blanks from the value, which is
    // how a rewritten line always spaces it.
    static ValueAndComment splitValueAndComment(std::string_view rest);

    // "{}" or "[]" with any whitespace inside or around.
    static std::optional<EmptyFlow> emptyFlowKind(std::string_view text);

    // A flow collection, which only the empty forms above may be.
    static bool opensFlow(std::string_view text) {
        return text.starts_with('{') || text.starts_with('[');
    }

    // "- x" or a bare "-": what opens a sequence or its item.
    static bool isSequenceItem(std::string_view text) {
        return text == "-" || text.starts_with("- ");
    }

    // What an item line holds behind its dash. Two characters are dropped,
    // whatever the second is: "-x" gives an empty body and "-xy" gives "y".
    // The body isn't trimmed.
    static std::string_view sequenceItemBody(std::string_view text) {
        return text.size() >= 2 ? text.substr(2) : std::string_view();
    }

    // Splits at every newline character: line feed, vertical tab, form feed,
    // carriage return, U+0085, U+2028 and U+2029. Each one counts, so "\r\n"
    // yields an empty piece between the two, and line numbers of such a file
    // count double.
    static std::vector<std::string_view> splitAtNewlines(std::string_view text);

    // Count of leading blanks.
    static int indentOf(std::string_view text);
};

}  // namespace vorn
