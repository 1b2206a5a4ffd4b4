#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "support/Text.h"

namespace vorn {
namespace {

TEST(TextDecimalInteger, TakesTheWholeTextWithAnOptionalSign) {
    EXPECT_EQ(Text::decimalInteger("12"), 12);
    EXPECT_EQ(Text::decimalInteger("+12"), 12);
    EXPECT_EQ(Text::decimalInteger("-3"), -3);
    EXPECT_EQ(Text::decimalInteger("007"), 7);
    EXPECT_EQ(Text::decimalInteger("9223372036854775807"), INT64_MAX);
    for (const char* bad :
         {"", "+", "-", "12x", " 1", "1 ", "+-1", "++1", "1.0", "9223372036854775808"}) {
        EXPECT_EQ(Text::decimalInteger(bad), std::nullopt) << bad;
    }
}

TEST(TextCompareNumerically, DigitRunsCompareByValue) {
    EXPECT_GT(Text::compareNumerically("22.1.0", "9.11.0"), 0);
    EXPECT_LT(Text::compareNumerically("v9.11.0", "v10.0.0"), 0);
    EXPECT_LT(Text::compareNumerically("v18.2.0", "v18.10.0"), 0);
    EXPECT_EQ(Text::compareNumerically("v1", "v1"), 0);
    EXPECT_LT(Text::compareNumerically("v1", "v1.0"), 0);
    EXPECT_LT(Text::compareNumerically("a", "b"), 0);
    // Equal values with different spellings still have an order.
    EXPECT_NE(Text::compareNumerically("v01", "v1"), 0);
    EXPECT_EQ(Text::compareNumerically("v01", "v1"), -Text::compareNumerically("v1", "v01"));

    std::vector<std::string> versions = {"9.11.0", "22.1.0", "v20.0.0", "18.20.4", "18.3.0"};
    std::sort(versions.begin(), versions.end(), [](const auto& left, const auto& right) {
        return Text::compareNumerically(left, right) > 0;
    });
    EXPECT_EQ(versions,
              (std::vector<std::string>{"v20.0.0", "22.1.0", "18.20.4", "18.3.0", "9.11.0"}));
}

TEST(TextTrim, BlanksAndTabsButNotLineEnds) {
    EXPECT_EQ(Text::trimBlanksAndTabs(" \t a b\t "), "a b");
    EXPECT_EQ(Text::trimBlanksAndTabs("x\r"), "x\r");
    EXPECT_EQ(Text::trimBlanksAndTabs(" \t"), "");
}

}  // namespace
}  // namespace vorn
