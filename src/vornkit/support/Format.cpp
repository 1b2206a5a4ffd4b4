#include "support/Format.h"

#include <array>
#include <ctime>

namespace vorn {

namespace {

// Whole seconds, rounded down, so 09:05:00.999 still reads 09:05:00.
std::time_t wholeSeconds(Timestamp date) {
    return static_cast<std::time_t>(
        std::chrono::floor<std::chrono::seconds>(date.time_since_epoch()).count());
}

std::string formatted(const std::tm& fields, const char* pattern) {
    std::array<char, 64> buffer{};
    const std::size_t length = std::strftime(buffer.data(), buffer.size(), pattern, &fields);
    return std::string(buffer.data(), length);
}

}  // namespace

std::string Format::time(Timestamp date) {
    const std::time_t seconds = wholeSeconds(date);
    std::tm fields{};
    if (!localtime_r(&seconds, &fields)) return "--:--:--";
    return formatted(fields, "%H:%M:%S");
}

std::string Format::utcDate(Timestamp date) {
    const std::time_t seconds = wholeSeconds(date);
    std::tm fields{};
    if (!gmtime_r(&seconds, &fields)) return "----------";
    return formatted(fields, "%Y-%m-%d %H:%M:%S +0000");
}

}  // namespace vorn
