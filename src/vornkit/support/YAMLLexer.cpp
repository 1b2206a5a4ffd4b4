#include "support/YAMLLexer.h"

#include "support/Text.h"

namespace vorn {

std::optional<size_t> YAMLLexer::commentStart(std::string_view text) {
    char openQuote = 0;
    char previous = 0;
    for (size_t index = 0; index < text.size(); ++index) {
        const char character = text[index];
        if (openQuote != 0) {
            if (character == openQuote) openQuote = 0;
        } else if (character == '"' || character == '\'') {
            openQuote = character;
        } else if (character == '#' && (index == 0 || previous == ' ')) {
            return index;
        }
        previous = character;
    }
    return std::nullopt;
}

std::string YAMLLexer::stripComment(std::string_view line) {
    std::string expanded = Text::replaceAll(line, "\t", "    ");
    if (const auto start = commentStart(expanded)) expanded.resize(*start);
    return expanded;
}

std::string YAMLLexer::unquote(std::string_view text) {
    if (text.size() < 2 || text.front() != text.back()) return std::string(text);
    const char quote = text.front();
    if (quote != '"' && quote != '\'') return std::string(text);
    const std::string_view inner = text.substr(1, text.size() - 2);
    if (quote == '\'') return Text::replaceAll(inner, "''", "'");
    // Sequential passes, in this order, on purpose: "\\n" ends as a backslash
    // and a line end, not as an escaped backslash followed by "n".
    std::string result = Text::replaceAll(inner, "\\n", "\n");
    result = Text::replaceAll(result, "\\t", "\t");
    result = Text::replaceAll(result, "\\\"", "\"");
    return Text::replaceAll(result, "\\\\", "\\");
}

std::optional<YAMLLexer::Content> YAMLLexer::contentOf(std::string_view stripped) {
    const std::string_view trimmed = Text::trimBlanksAndTabs(stripped);
    if (trimmed.empty() || trimmed == "---") return std::nullopt;
    const int indent = indentOf(stripped);
    return Content{indent, Text::trimTrailingBlanks(stripped.substr(static_cast<size_t>(indent)))};
}

std::optional<size_t> YAMLLexer::findKeyColon(std::string_view body) {
    if (body.empty()) return std::nullopt;
    if (body.front() == '"' || body.front() == '\'') {
        const size_t close = body.find(body.front(), 1);
        if (close == std::string_view::npos || close + 1 >= body.size() || body[close + 1] != ':') {
            return std::nullopt;
        }
        return close + 1;
    }
    for (size_t index = body.find(':'); index != std::string_view::npos;
         index = body.find(':', index + 1)) {
        if (index + 1 == body.size() || body[index + 1] == ' ') return index;
    }
    return std::nullopt;
}

Expected<YAMLLexer::KeyText, std::string> YAMLLexer::splitKeyText(std::string_view text) {
    if (opensFlow(text)) return Unexpected(std::string("flow collections are not supported"));
    const bool quoted = text.starts_with('"') || text.starts_with('\'');
    if (quoted && text.find(text.front(), 1) == std::string_view::npos) {
        return Unexpected(std::string("unterminated quoted key"));
    }
    const auto colon = findKeyColon(text);
    std::string_view key;
    if (quoted) {
        key = text.substr(1, text.find(text.front(), 1) - 1);
    } else if (colon) {
        key = text.substr(0, *colon);
    }
    key = Text::trimBlanksAndTabs(key);
    if (!colon || key.empty()) return Unexpected(std::string("no key separator"));
    return KeyText{std::string(key), Text::trimBlanksAndTabs(text.substr(*colon + 1))};
}

YAMLLexer::ValueAndComment YAMLLexer::splitValueAndComment(std::string_view rest) {
    const auto start = commentStart(rest);
    if (!start) return {Text::trimBlanksAndTabs(rest), {}};
    return {Text::trimBlanksAndTabs(rest.substr(0, *start)),
            "  " + std::string(rest.substr(*start))};
}

std::optional<YAMLLexer::EmptyFlow> YAMLLexer::emptyFlowKind(std::string_view text) {
    const std::string compact = Text::withoutWhitespace(text);
    if (compact == "{}") return EmptyFlow::map;
    if (compact == "[]") return EmptyFlow::seq;
    return std::nullopt;
}

std::vector<std::string_view> YAMLLexer::splitAtNewlines(std::string_view text) {
    std::vector<std::string_view> pieces;
    size_t start = 0;
    size_t index = 0;
    while (index < text.size()) {
        const auto byte = static_cast<unsigned char>(text[index]);
        size_t separatorLength = 0;
        if (byte >= 0x0A && byte <= 0x0D) {
            separatorLength = 1;
        } else if (byte == 0xC2 && index + 1 < text.size() &&
                   static_cast<unsigned char>(text[index + 1]) == 0x85) {
            separatorLength = 2;
        } else if (byte == 0xE2 && index + 2 < text.size() &&
                   static_cast<unsigned char>(text[index + 1]) == 0x80 &&
                   (static_cast<unsigned char>(text[index + 2]) == 0xA8 ||
                    static_cast<unsigned char>(text[index + 2]) == 0xA9)) {
            separatorLength = 3;
        }
        if (separatorLength == 0) {
            ++index;
            continue;
        }
        pieces.push_back(text.substr(start, index - start));
        index += separatorLength;
        start = index;
    }
    pieces.push_back(text.substr(start));
    return pieces;
}

int YAMLLexer::indentOf(std::string_view text) {
    const size_t first = text.find_first_not_of(' ');
    return static_cast<int>(first == std::string_view::npos ? text.size() : first);
}

}  // namespace vorn
