#include <gtest/gtest.h>

#include "model/VornProjectChoice.h"

namespace vorn {
namespace {

using Choices = std::vector<VornProjectChoice>;

constexpr std::string_view kTwoRoutes =
    R"({"routes": [
         {"route": "acme", "projects": [
            {"id": "p1", "name": "Web", "issuePrefix": "WEB", "current": true, "extra": [1]},
            {"id": "p2", "name": "Ops", "issuePrefix": null, "current": false}]},
         {"route": "beta", "projects": []},
         {"route": "acme", "projects": [{"id": "late", "name": "Late", "current": true}]}]})";

TEST(VornProjectChoiceParse, TheFirstEntryOfTheRouteGivesItsProjects) {
    EXPECT_EQ(VornProjectChoice::parse(kTwoRoutes, "acme"),
              (Choices{{"p1", "Web", "WEB", true}, {"p2", "Ops", std::nullopt, false}}));
    EXPECT_EQ(VornProjectChoice::parse(kTwoRoutes, "beta"), Choices{});
    EXPECT_EQ(VornProjectChoice::parse(kTwoRoutes, "gamma"), std::nullopt);
}

TEST(VornProjectChoiceParse, WhatStandsBeforeTheFirstBraceIsIgnored) {
    const std::string output = "vorn 1.4.2 [warn] slow tracker\n" + std::string(kTwoRoutes) + "\n";
    EXPECT_EQ(VornProjectChoice::parse(output, "beta"), Choices{});
    EXPECT_EQ(VornProjectChoice::parse("no json here", "acme"), std::nullopt);
    EXPECT_EQ(VornProjectChoice::parse("", "acme"), std::nullopt);
}

TEST(VornProjectChoiceParse, OneBadEntryAnywhereSpoilsTheList) {
    const auto parse = [](std::string_view json) { return VornProjectChoice::parse(json, "a"); };
    EXPECT_EQ(parse(R"({"routes": [{"route": "a", "projects": [{"id": "1", "name": "x"}]}]})"),
              std::nullopt);
    EXPECT_EQ(parse(R"({"routes": [{"route": "a", "projects": [{"id": 1, "name": "x",
                                                                 "current": true}]}]})"),
              std::nullopt);
    EXPECT_EQ(parse(R"({"routes": [{"route": "a", "projects": [{"id": "1", "name": "x",
                                     "current": true, "issuePrefix": 7}]}]})"),
              std::nullopt);
    EXPECT_EQ(parse(R"({"routes": [{"route": "a", "projects": []}, {"route": "b"}]})"),
              std::nullopt);
    EXPECT_EQ(parse(R"({"routes": [{"route": "a", "projects": []}, 5]})"), std::nullopt);
    EXPECT_EQ(parse(R"({"routes": {"route": "a", "projects": []}})"), std::nullopt);
    EXPECT_EQ(parse(R"({"route": "a", "projects": []})"), std::nullopt);
    EXPECT_EQ(parse(R"({"routes": [{"route": "a", "projects": []}]} trailing)"), std::nullopt);
    EXPECT_EQ(parse(R"({"routes": [{"route": "a", "projects": []})"), std::nullopt);
    EXPECT_EQ(parse(R"({"routes": [{"route": "a", "projects": []}]})"), Choices{});
}

}  // namespace
}  // namespace vorn
