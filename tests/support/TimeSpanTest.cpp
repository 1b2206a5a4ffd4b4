#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "support/TimeSpan.h"

namespace vorn {
namespace {

TEST(TimeSpanSeconds, ReadsTheServiceManagersSpans) {
    const std::vector<std::pair<std::string, std::int64_t>> spans{
        {"300", 300},
        {"5min", 300},
        {"5 min", 300},
        {"  5min\n", 300},
        {"1h 30min", 5400},
        {"1min 30.500000s", 90},
        {"1min30s", 90},
        {"2.5min", 150},
        {"1w", 604800},
        {"1M", 2629800},
        {"1y", 31557600},
        {"1.5y", 47336400},
        {"1d 1hour 1minute 1second", 90061},
        // Spans are counted in microseconds, and rounded down to seconds.
        {"1999ms", 1},
        {"999999us", 0},
        {"1000000\u00B5s", 1},
        {"0.9999999999999999999999s", 0},
        {"0", 0},
    };
    for (const auto& [text, seconds] : spans) {
        EXPECT_EQ(TimeSpan::seconds(text), seconds) << text;
    }
}

TEST(TimeSpanSeconds, AnythingElseIsNoSpan) {
    for (std::string_view text : {
             "",
             "   ",
             "infinity",
             "-5s",
             "+5s",
             "5 parsecs",
             "5mins",
             "1.s",
             ".5s",
             "5min x",
             "5min,",
             "1e3s",
             "s",
             "min 5",
             "n/a",
             // Beyond the 64-bit count of microseconds.
             "9223372036855s",
             "99999999999999999999999999s",
             "300000y",
             "5000000000000s 5000000000000s",
         }) {
        EXPECT_EQ(TimeSpan::seconds(text), std::nullopt) << text;
    }
    EXPECT_EQ(TimeSpan::seconds("9223372036854s"), 9223372036854);
}

}  // namespace
}  // namespace vorn
