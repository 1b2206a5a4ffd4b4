#include <gtest/gtest.h>

#include "support/VornVersion.h"

namespace vorn {
namespace {

TEST(VornVersionParse, NumbersWithAnOptionalLeadingV) {
    EXPECT_EQ(VornVersion::parse("1.4.2"), (VornVersion{1, 4, 2}));
    EXPECT_EQ(VornVersion::parse(" v1.2\n"), (VornVersion{1, 2, 0}));
    EXPECT_EQ(VornVersion::parse("7"), (VornVersion{7, 0, 0}));
    EXPECT_EQ(VornVersion::parse("0.73.0\r\n"), (VornVersion{0, 73, 0}));
    EXPECT_EQ(VornVersion::parse("1.2.3.4.x5"), std::nullopt);
    EXPECT_EQ(VornVersion::parse("1.2.3.4..9"), (VornVersion{1, 2, 3}));
    EXPECT_EQ(VornVersion::parse("1.2.3."), (VornVersion{1, 2, 3}));
    EXPECT_EQ(VornVersion::parse("007.010.0"), (VornVersion{7, 10, 0}));
}

TEST(VornVersionParse, AnythingElseIsNoVersion) {
    for (const std::string_view refused :
         {"", "  ", "v", "vv1.2", "V1.2", "1.2.3-beta", "1.2 .3", "1..2", ".1", "1.", "-1.2",
          "+1.2", "1.2.3 beta", "99999999999999999999.0", "1.\u0661"}) {
        EXPECT_EQ(VornVersion::parse(refused), std::nullopt) << refused;
    }
}

TEST(VornVersionOrder, MajorThenMinorThenPatch) {
    EXPECT_LT((VornVersion{1, 9, 9}), (VornVersion{2, 0, 0}));
    EXPECT_LT((VornVersion{1, 2, 9}), (VornVersion{1, 10, 0}));
    EXPECT_LT((VornVersion{0, 72, 99}), (VornVersion{0, 73, 0}));
    EXPECT_EQ(VornVersion::parse("v1.2"), VornVersion::parse("1.2.0"));
    EXPECT_EQ((VornVersion{1, 10, 0}).description(), "1.10.0");
    EXPECT_EQ(VornVersion::parse("v2")->description(), "2.0.0");
}

}  // namespace
}  // namespace vorn
