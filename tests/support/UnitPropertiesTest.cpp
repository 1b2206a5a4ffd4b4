#include <gtest/gtest.h>

#include "support/UnitProperties.h"

namespace vorn {
namespace {

TEST(UnitPropertiesParse, GivesOneBlockPerUnitAndFindsItById) {
    const auto blocks = UnitProperties::parse(
        "Id=a.timer\n"
        "TimersMonotonic={ OnBootUSec=1min ; next_elapse=n/a }\n"
        "TimersMonotonic={ OnUnitActiveUSec=5min ; next_elapse=n/a }\n"
        "ActiveState=active\n"
        "\n"
        "Id=a.service\r\n"
        "ExecMainStatus=78\r\n"
        "Description=a=b\n"
        "no equals sign here\n"
        "FragmentPath=\n"
        "\n\n  \n");
    ASSERT_EQ(blocks.size(), 2u);
    EXPECT_EQ(blocks[0].values("TimersMonotonic"),
              (std::vector<std::string_view>{"{ OnBootUSec=1min ; next_elapse=n/a }",
                                             "{ OnUnitActiveUSec=5min ; next_elapse=n/a }"}));
    EXPECT_EQ(blocks[0].value("ExecMainStatus"), std::nullopt);

    const auto service = UnitProperties::ofUnit(blocks, "a.service");
    ASSERT_TRUE(service.has_value());
    EXPECT_EQ(service->value("ExecMainStatus"), "78");
    EXPECT_EQ(service->value("Description"), "a=b");
    EXPECT_EQ(service->value("FragmentPath"), "");
    EXPECT_EQ(service->entries.size(), 4u);
    EXPECT_EQ(UnitProperties::ofUnit(blocks, "b.timer"), std::nullopt);
}

TEST(UnitPropertiesParse, TextWithoutPropertiesGivesNoBlock) {
    EXPECT_TRUE(UnitProperties::parse("").empty());
    EXPECT_TRUE(UnitProperties::parse("\n\n").empty());
    EXPECT_TRUE(UnitProperties::parse("Failed to connect to bus: No medium found\n").empty());
}

}  // namespace
}  // namespace vorn
