#include "support/TimeSpan.h"

#include <array>
#include <limits>
#include <utility>

#include "support/Text.h"

namespace vorn {

namespace {

constexpr std::int64_t kMicrosecondsPerSecond = 1'000'000;
constexpr std::int64_t kMicrosecondsPerMinute = 60 * kMicrosecondsPerSecond;
constexpr std::int64_t kMicrosecondsPerHour = 60 * kMicrosecondsPerMinute;
constexpr std::int64_t kMicrosecondsPerDay = 24 * kMicrosecondsPerHour;
// A month and a year are the average ones of the Gregorian calendar.
constexpr std::int64_t kMicrosecondsPerMonth = 2'629'800 * kMicrosecondsPerSecond;
constexpr std::int64_t kMicrosecondsPerYear = 31'557'600 * kMicrosecondsPerSecond;

constexpr std::array<std::pair<std::string_view, std::int64_t>, 31> kUnits{{
    {"usec", 1},
    {"us", 1},
    {"\u00B5s", 1},
    {"\u03BCs", 1},
    {"msec", 1000},
    {"ms", 1000},
    {"seconds", kMicrosecondsPerSecond},
    {"second", kMicrosecondsPerSecond},
    {"sec", kMicrosecondsPerSecond},
    {"s", kMicrosecondsPerSecond},
    {"", kMicrosecondsPerSecond},
    {"minutes", kMicrosecondsPerMinute},
    {"minute", kMicrosecondsPerMinute},
    {"min", kMicrosecondsPerMinute},
    {"m", kMicrosecondsPerMinute},
    {"hours", kMicrosecondsPerHour},
    {"hour", kMicrosecondsPerHour},
    {"hr", kMicrosecondsPerHour},
    {"h", kMicrosecondsPerHour},
    {"days", kMicrosecondsPerDay},
    {"day", kMicrosecondsPerDay},
    {"d", kMicrosecondsPerDay},
    {"weeks", 7 * kMicrosecondsPerDay},
    {"week", 7 * kMicrosecondsPerDay},
    {"w", 7 * kMicrosecondsPerDay},
    {"months", kMicrosecondsPerMonth},
    {"month", kMicrosecondsPerMonth},
    {"M", kMicrosecondsPerMonth},
    {"years", kMicrosecondsPerYear},
    {"year", kMicrosecondsPerYear},
    {"y", kMicrosecondsPerYear},
}};

std::optional<std::int64_t> microsecondsPer(std::string_view unit) {
    for (const auto& [name, microseconds] : kUnits) {
        if (name == unit) return microseconds;
    }
    return std::nullopt;
}

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

void skipWhitespace(std::string_view text, size_t& index) {
    while (index < text.size() && Text::isWhitespace(text[index]))
        ++index;
}

std::string_view digitsAt(std::string_view text, size_t& index) {
    const size_t start = index;
    while (index < text.size() && isDigit(text[index]))
        ++index;
    return text.substr(start, index - start);
}

std::string_view unitAt(std::string_view text, size_t& index) {
    const size_t start = index;
    while (index < text.size() && !isDigit(text[index]) && text[index] != '.' &&
           !Text::isWhitespace(text[index]))
        ++index;
    return text.substr(start, index - start);
}

// One "{number}{unit}" part in microseconds, rounded down. The sums are
// exact in 128 bits, so a fraction of a large unit loses nothing.
std::optional<std::int64_t> readPart(std::string_view text, size_t& index) {
    using Wide = unsigned __int128;
    constexpr Wide kLimit = std::numeric_limits<std::int64_t>::max();
    // More fraction digits than this can't move a microsecond of a year.
    constexpr size_t kFractionDigits = 18;

    const std::string_view whole = digitsAt(text, index);
    if (whole.empty()) return std::nullopt;
    std::string_view fraction;
    if (index < text.size() && text[index] == '.') {
        ++index;
        fraction = digitsAt(text, index);
        if (fraction.empty()) return std::nullopt;
    }
    skipWhitespace(text, index);
    const auto unit = microsecondsPer(unitAt(text, index));
    if (!unit) return std::nullopt;

    Wide wholeValue = 0;
    for (char digit : whole) {
        wholeValue = wholeValue * 10 + static_cast<Wide>(digit - '0');
        if (wholeValue > kLimit) return std::nullopt;
    }
    Wide fractionValue = 0;
    Wide scale = 1;
    for (char digit : fraction.substr(0, kFractionDigits)) {
        fractionValue = fractionValue * 10 + static_cast<Wide>(digit - '0');
        scale *= 10;
    }
    const Wide unitValue = static_cast<Wide>(*unit);
    const Wide total = wholeValue * unitValue + fractionValue * unitValue / scale;
    if (total > kLimit) return std::nullopt;
    return static_cast<std::int64_t>(total);
}

}  // namespace

std::optional<std::int64_t> TimeSpan::seconds(std::string_view text) {
    size_t index = 0;
    skipWhitespace(text, index);
    if (index == text.size()) return std::nullopt;
    std::int64_t total = 0;
    while (index < text.size()) {
        const auto part = readPart(text, index);
        if (!part || __builtin_add_overflow(total, *part, &total)) return std::nullopt;
        skipWhitespace(text, index);
    }
    return total / kMicrosecondsPerSecond;
}

}  // namespace vorn
