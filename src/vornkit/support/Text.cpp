#include "support/Text.h"

#include <simdjson.h>

#include <charconv>

namespace vorn {

namespace {

constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";

// Length of the valid UTF-8 sequence starting at `position`, or 0 when the
// bytes there are not one.
size_t validSequenceLength(std::string_view bytes, size_t position) {
    const auto byte = [&](size_t offset) {
        return static_cast<unsigned char>(bytes[position + offset]);
    };
    const auto isContinuation = [&](size_t offset) {
        return position + offset < bytes.size() && (byte(offset) & 0xC0) == 0x80;
    };
    const unsigned char lead = byte(0);
    if (lead < 0x80) return 1;
    if (lead >= 0xC2 && lead <= 0xDF) return isContinuation(1) ? 2 : 0;
    if (lead >= 0xE0 && lead <= 0xEF) {
        if (!isContinuation(1) || !isContinuation(2)) return 0;
        if (lead == 0xE0 && byte(1) < 0xA0) return 0;   // overlong
        if (lead == 0xED && byte(1) >= 0xA0) return 0;  // surrogate
        return 3;
    }
    if (lead >= 0xF0 && lead <= 0xF4) {
        if (!isContinuation(1) || !isContinuation(2) || !isContinuation(3)) return 0;
        if (lead == 0xF0 && byte(1) < 0x90) return 0;   // overlong
        if (lead == 0xF4 && byte(1) >= 0x90) return 0;  // beyond U+10FFFF
        return 4;
    }
    return 0;
}

}  // namespace

bool Text::isWhitespace(char character) {
    return character == ' ' || character == '\t' || character == '\n' || character == '\r' ||
           character == '\v' || character == '\f';
}

std::string_view Text::trimBlanks(std::string_view text) {
    const size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) return {};
    const size_t last = text.find_last_not_of(' ');
    return text.substr(first, last - first + 1);
}

std::string_view Text::trimTrailingBlanks(std::string_view text) {
    const size_t last = text.find_last_not_of(' ');
    if (last == std::string_view::npos) return {};
    return text.substr(0, last + 1);
}

std::string_view Text::trimWhitespace(std::string_view text) {
    size_t first = 0;
    while (first < text.size() && isWhitespace(text[first]))
        ++first;
    size_t end = text.size();
    while (end > first && isWhitespace(text[end - 1]))
        --end;
    return text.substr(first, end - first);
}

std::string_view Text::trimBlanksAndTabs(std::string_view text) {
    const size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    const size_t last = text.find_last_not_of(" \t");
    return text.substr(first, last - first + 1);
}

std::optional<std::int64_t> Text::decimalInteger(std::string_view text) {
    // from_chars reads a leading "-" itself but refuses "+", so a plus sign is
    // stepped over here, and must then be followed by a digit.
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.empty() || text.front() < '0' || text.front() > '9') return std::nullopt;
    }
    if (text.empty()) return std::nullopt;
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

std::string Text::replaceAll(std::string_view text, std::string_view from, std::string_view to) {
    if (from.empty()) return std::string(text);
    std::string result;
    result.reserve(text.size());
    size_t position = 0;
    while (true) {
        const size_t found = text.find(from, position);
        if (found == std::string_view::npos) break;
        result.append(text.substr(position, found - position));
        result.append(to);
        position = found + from.size();
    }
    result.append(text.substr(position));
    return result;
}

std::string Text::lowercasedASCII(std::string_view text) {
    std::string result(text);
    for (char& character : result) {
        if (character >= 'A' && character <= 'Z') character = static_cast<char>(character + 32);
    }
    return result;
}

std::string Text::withoutWhitespace(std::string_view text) {
    std::string result;
    for (const char character : text) {
        if (!isWhitespace(character)) result.push_back(character);
    }
    return result;
}

std::vector<std::string_view> Text::split(std::string_view text, char separator) {
    std::vector<std::string_view> pieces;
    size_t start = 0;
    while (true) {
        const size_t found = text.find(separator, start);
        if (found == std::string_view::npos) {
            pieces.push_back(text.substr(start));
            return pieces;
        }
        pieces.push_back(text.substr(start, found - start));
        start = found + 1;
    }
}

std::string Text::joined(const std::vector<std::string>& pieces, std::string_view separator) {
    std::string result;
    for (size_t index = 0; index < pieces.size(); ++index) {
        if (index > 0) result.append(separator);
        result.append(pieces[index]);
    }
    return result;
}

namespace {

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

// The digit run starting at `position`, without its leading zeros.
std::string_view digitRun(std::string_view text, size_t& position) {
    const size_t start = position;
    while (position < text.size() && isDigit(text[position]))
        ++position;
    std::string_view run = text.substr(start, position - start);
    while (run.size() > 1 && run.front() == '0')
        run.remove_prefix(1);
    return run;
}

}  // namespace

int Text::compareNumerically(std::string_view left, std::string_view right) {
    size_t leftPosition = 0;
    size_t rightPosition = 0;
    while (leftPosition < left.size() && rightPosition < right.size()) {
        if (isDigit(left[leftPosition]) && isDigit(right[rightPosition])) {
            const std::string_view leftRun = digitRun(left, leftPosition);
            const std::string_view rightRun = digitRun(right, rightPosition);
            if (leftRun.size() != rightRun.size()) return leftRun.size() < rightRun.size() ? -1 : 1;
            if (const int order = leftRun.compare(rightRun); order != 0) return order < 0 ? -1 : 1;
            continue;
        }
        const auto leftByte = static_cast<unsigned char>(left[leftPosition]);
        const auto rightByte = static_cast<unsigned char>(right[rightPosition]);
        if (leftByte != rightByte) return leftByte < rightByte ? -1 : 1;
        ++leftPosition;
        ++rightPosition;
    }
    const bool leftLeft = leftPosition < left.size();
    const bool rightLeft = rightPosition < right.size();
    if (leftLeft != rightLeft) return leftLeft ? 1 : -1;
    const int plain = left.compare(right);
    return plain < 0 ? -1 : (plain > 0 ? 1 : 0);
}

size_t Text::characterCount(std::string_view text) {
    size_t count = 0;
    for (const char byte : text) {
        if ((static_cast<unsigned char>(byte) & 0xC0) != 0x80) ++count;
    }
    return count;
}

std::string Text::paddedRight(std::string_view text, size_t width) {
    std::string result(text);
    const size_t count = characterCount(text);
    if (count < width) result.append(width - count, ' ');
    return result;
}

bool Text::isValidUTF8(std::string_view bytes) {
    return simdjson::validate_utf8(bytes.data(), bytes.size());
}

std::string Text::repairedUTF8(std::string_view bytes) {
    if (isValidUTF8(bytes)) return std::string(bytes);
    std::string result;
    result.reserve(bytes.size() + 16);
    size_t position = 0;
    while (position < bytes.size()) {
        const size_t length = validSequenceLength(bytes, position);
        if (length == 0) {
            result.append(kReplacementCharacter);
            ++position;
        } else {
            result.append(bytes.substr(position, length));
            position += length;
        }
    }
    return result;
}

}  // namespace vorn
