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
        std::string_view rest;  // behind the colon, trimmed of blanks
    };

    // Tabs become four blanks, then a comment is cut off: a "#" outside
    // quotes that starts the line or follows a blank. The blank stays.
    static std::string stripComment(std::string_view line);

    // Where the comment of `text` begins under the same quote tracking, or
    // nothing. Tabs count as ordinary characters here.
    static std::optional<size_t> commentStart(std::string_view text);

    // Removes one pair of matching outer quotes and applies their escapes.
    static std::string unquote(std::string_view text);

    // Splits "key: rest". Fails with "flow collections are not supported",
    // "unterminated quoted key" or "no key separator".
    static Expected<KeyText, std::string> splitKeyText(std::string_view text);

    // "- x" or a bare "-": what opens a sequence or its item.
    static bool isSequenceItem(std::string_view text) {
        return text == "-" || text.starts_with("- ");
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
