#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vorn {

// Small text helpers shared by every layer. "Blanks" are spaces only;
// "whitespace" also takes tabs, line ends, vertical tabs and form feeds.
struct Text {
    static std::string_view trimBlanks(std::string_view text);
    static std::string_view trimTrailingBlanks(std::string_view text);
    static std::string_view trimWhitespace(std::string_view text);
    static std::string_view trimBlanksAndTabs(std::string_view text);
    static bool isWhitespace(char character);

    static std::string replaceAll(std::string_view text, std::string_view from,
                                  std::string_view to);
    static std::string lowercasedASCII(std::string_view text);
    static std::string withoutWhitespace(std::string_view text);

    // The whole text as a decimal integer with an optional "+" or "-" in
    // front, within 64-bit range; nothing for anything else.
    static std::optional<std::int64_t> decimalInteger(std::string_view text);

    // Every separator counts: "a\n\nb" gives three pieces, "" gives one.
    static std::vector<std::string_view> split(std::string_view text, char separator);
    static std::string joined(const std::vector<std::string>& pieces, std::string_view separator);

    // Compares runs of digits by their value and everything else byte by
    // byte, so "22.1.0" sorts after "9.11.0" and "v10" after "v9". Texts
    // that differ only in leading zeros order as plain text.
    static int compareNumerically(std::string_view left, std::string_view right);

    // Count of Unicode scalar values, which is what a person sees as
    // characters in the names this system pads.
    static size_t characterCount(std::string_view text);
    // `text` followed by blanks up to `width` characters; longer text stands.
    static std::string paddedRight(std::string_view text, size_t width);

    // Decodes bytes as UTF-8, replacing each invalid sequence with U+FFFD.
    static std::string repairedUTF8(std::string_view bytes);
    static bool isValidUTF8(std::string_view bytes);
};

}  // namespace vorn
