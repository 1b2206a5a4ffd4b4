#include <gtest/gtest.h>
#include <simdjson.h>

#include <chrono>
#include <string>

#include "model/ShipAttentionItem.h"

namespace vorn {
namespace {

using namespace std::chrono;

std::optional<ShipAttentionItem> decode(std::string_view json) {
    simdjson::dom::parser parser;
    simdjson::dom::object members;
    EXPECT_EQ(parser.parse(json.data(), json.size()).get(members), simdjson::SUCCESS) << json;
    return ShipAttentionItem::decode(members);
}

ShipAttentionItem withKind(std::string kind) {
    ShipAttentionItem item;
    item.kind = std::move(kind);
    return item;
}

TEST(ShipAttentionItemDecode, AKindIsAllThatIsRequired) {
    EXPECT_EQ(decode(R"({"kind":"stalled"})"), withKind("stalled"));
    EXPECT_EQ(decode(R"({})"), std::nullopt);
    EXPECT_EQ(decode(R"({"kind":null,"key":"k","message":"m"})"), std::nullopt);
    EXPECT_EQ(decode(R"({"kind":["stalled"]})"), std::nullopt);

    const auto item = decode(R"({"kind":"role_parked","key":"qa","message":"QA is parked",
                                 "since":"2026-03-04T09:58:12Z","extra":1})");
    ASSERT_TRUE(item.has_value());
    EXPECT_EQ(*item, (ShipAttentionItem{"role_parked", "qa", "QA is parked",
                                        sys_days{2026y / 3 / 4} + 9h + 58min + 12s, std::nullopt}));
    EXPECT_EQ(item->id(), "role_parked|qa");
    EXPECT_EQ(withKind("stalled").id(), "stalled|");
}

TEST(ShipAttentionItemDecode, MembersOfTheWrongTypeCountAsAbsent) {
    EXPECT_EQ(decode(R"({"kind":"stalled","key":7,"message":false,"since":1767322800,"held":"x"})"),
              withKind("stalled"));
    // A date text the event log's reader can't read is the distant past,
    // which is never fresh enough to announce.
    EXPECT_EQ(decode(R"({"kind":"stalled","since":"yesterday"})")->since, distantPast);
}

TEST(ShipAttentionItemDecode, AHeldWorktreeNeedsAPath) {
    EXPECT_EQ(decode(R"({"kind":"worktree_held","held":{"path":"/w/acme-web-issue-7"}})")->held,
              (HeldWorktree{"", "/w/acme-web-issue-7", "", ""}));
    EXPECT_EQ(decode(R"({"kind":"worktree_held","held":{"path":"/w/x","repo":"web",
                         "ticket":"WEB-7","reason":"dirty"}})")
                  ->held,
              (HeldWorktree{"web", "/w/x", "WEB-7", "dirty"}));
    EXPECT_EQ(
        decode(R"({"kind":"worktree_held","held":{"path":"/w/x","repo":1,"ticket":null}})")->held,
        (HeldWorktree{"", "/w/x", "", ""}));
    // Without one the item stands, holding no worktree.
    const auto pathless = decode(R"({"kind":"worktree_held","held":{"repo":"web","path":3}})");
    ASSERT_TRUE(pathless.has_value());
    EXPECT_EQ(pathless->held, std::nullopt);
}

TEST(ShipAttentionItemLabel, KnownKindsHaveTheirWordsAndOthersAreCapitalised) {
    const std::vector<std::pair<std::string, std::string>> labels{
        {"worktree_held", "Worktree held"},
        {"vorn_outdated", "vorn out of date"},
        {"foo_bar", "Foo Bar"},
        {"QUOTA_exceeded_now", "Quota Exceeded Now"},
        {"tracker__down", "Tracker  Down"},
        {"_x", " X"},
        {"", ""},
        // Known kinds are matched exactly.
        {"DISK_LOW", "Disk Low"},
        {"disk_l\u00F3w", "Disk L\u00F3w"},
    };
    for (const auto& [kind, label] : labels) {
        EXPECT_EQ(withKind(kind).label(), label) << kind;
    }
}

TEST(ShipAttentionItemRequiredVornVersion, IsTheVersionAfterMinimumInAnOutdatedNotice) {
    const auto required = [](std::string kind, std::string message) {
        ShipAttentionItem item = withKind(std::move(kind));
        item.message = std::move(message);
        return item.requiredVornVersion();
    };
    EXPECT_EQ(required("vorn_outdated", "needs vorn minimum 2.4.0 to run"), (VornVersion{2, 4, 0}));
    EXPECT_EQ(required("vorn_outdated", "minimum v3.1"), (VornVersion{3, 1, 0}));
    EXPECT_EQ(required("vorn_outdated", "minimum 2.4.0\tor later"), (VornVersion{2, 4, 0}));
    for (const std::string message : {"needs vorn 2.4.0", "minimum 2.4.0-beta", "minimum  2.4.0",
                                      "minimum 2.4.0, please", "minimum"}) {
        EXPECT_EQ(required("vorn_outdated", message), std::nullopt) << message;
    }
    EXPECT_EQ(required("stalled", "needs vorn minimum 2.4.0"), std::nullopt);
}

TEST(HeldWorktreeDirectoryName, IsThePathsLastComponent) {
    const std::vector<std::pair<std::string, std::string>> names{
        {"/home/ada/src/acme-web-issue-142", "acme-web-issue-142"},
        {"/home/ada/src/acme-web-issue-142/", "acme-web-issue-142"},
        {"/home/ada/src/acme-web-issue-142///", "acme-web-issue-142"},
        {"relative", "relative"},
        {"/", "/"},
        {"", ""},
    };
    for (const auto& [path, name] : names) {
        EXPECT_EQ((HeldWorktree{"web", path, "", ""}.directoryName()), name) << path;
    }
}

}  // namespace
}  // namespace vorn
