#include <gtest/gtest.h>

#include <chrono>
#include <vector>

#include "model/AttentionAnnouncer.h"
#include "model/ShipAttentionAnnouncer.h"

namespace vorn {
namespace {

using std::chrono::seconds;

const Timestamp kStart = Timestamp{} + seconds{1'800'000'000};

VornEvent sweep(int second, std::vector<std::string> attention) {
    VornEvent event;
    event.id = second;
    event.at = kStart + seconds{second};
    event.step = VornStep::sweep;
    event.message = "sweep " + std::to_string(second);
    event.attention = std::move(attention);
    return event;
}

VornEvent seatFallback(int second, VornLevel level = VornLevel::warn) {
    VornEvent event;
    event.id = second;
    event.at = kStart + seconds{second};
    event.step = VornStep::agent;
    event.level = level;
    event.message = "seat dev falls back to codex";
    return event;
}

std::vector<std::int64_t> ids(const std::vector<VornEvent>& events) {
    std::vector<std::int64_t> list;
    for (const VornEvent& event : events)
        list.push_back(event.id);
    return list;
}

TEST(AttentionSelection, KeepsInOrderTheEventsAfterTheMarkThatCallForAPerson) {
    VornEvent withKind = seatFallback(7);
    withKind.agentKind = VornAgentDetailKind::text;
    VornEvent notASeat = seatFallback(8);
    notASeat.message = "seats are full";
    VornEvent attentionElsewhere = sweep(9, {"review"});
    attentionElsewhere.step = VornStep::poll;

    const std::vector<VornEvent> events{
        sweep(1, {"review"}),  // at the mark
        sweep(2, {"review"}),  // kept
        sweep(3, {}),          // wants nothing
        seatFallback(4),       // kept
        seatFallback(5, VornLevel::info),
        seatFallback(6, VornLevel::error),
        withKind,
        notASeat,
        attentionElsewhere,
        sweep(10, {"answer", "merge"}),  // kept
    };
    const auto selected = AttentionAnnouncer::select(events, kStart + seconds{1});
    EXPECT_EQ(ids(selected), (std::vector<std::int64_t>{2, 4, 10}));
    EXPECT_EQ(AttentionAnnouncer::newestAt(selected), kStart + seconds{10});
    EXPECT_EQ(AttentionAnnouncer::newestAt({}), std::nullopt);
}

TEST(AttentionNotice, ASweepNamesTheTicketAndWhatItWants) {
    VornEvent event = sweep(1, {"review", "merge"});
    event.ticket = "ENG-42";
    event.ticketTitle = "Fix the login page";
    event.url = "https://tracker.example/ENG-42";
    EXPECT_EQ(AttentionAnnouncer::notice(event),
              (NotificationContent{.title = "ENG-42 needs you: review, merge",
                                   .body = "Fix the login page",
                                   .url = "https://tracker.example/ENG-42"}));

    const VornEvent bare = sweep(2, {"answer"});
    EXPECT_EQ(AttentionAnnouncer::notice(bare),
              (NotificationContent{.title = "A ticket needs you: answer", .body = "sweep 2"}));
}

TEST(AttentionNotice, AFallbackNamesTheRoleWhenItHasOne) {
    VornEvent event = seatFallback(1);
    event.role = VornRole::qa;
    event.url = "https://tracker.example/run/1";
    EXPECT_EQ(AttentionAnnouncer::notice(event),
              (NotificationContent{.title = "Toolchain fallback (QA)",
                                   .body = "seat dev falls back to codex",
                                   .url = "https://tracker.example/run/1"}));
    EXPECT_EQ(AttentionAnnouncer::notice(seatFallback(2)).title, "Toolchain fallback");
}

ShipAttentionItem item(std::string kind, std::string key, std::optional<Timestamp> since) {
    return {.kind = std::move(kind), .key = std::move(key), .message = "look", .since = since};
}

TEST(ShipAttentionSelection, OnlyUnannouncedItemsThatBeganWithinTheHour) {
    const Timestamp now = kStart + seconds{10'000};
    const std::vector<ShipAttentionItem> items{
        item("disk_low", "/", now - seconds{3600}),            // just fresh
        item("stalled", "dev", now - seconds{3601}),           // too old, ever
        item("role_parked", "qa", std::nullopt),               // no beginning
        item("docker_missing", "", now - seconds{5}),          // announced
        item("release_stale", "acme/web", now + seconds{30}),  // a clock ahead
    };
    const auto selected =
        ShipAttentionAnnouncer::select(items, {"docker_missing|", "stalled|qa"}, now);
    ASSERT_EQ(selected.size(), 2u);
    EXPECT_EQ(selected[0].id(), "disk_low|/");
    EXPECT_EQ(selected[1].id(), "release_stale|acme/web");
}

TEST(ShipAttentionSelection, AnItemThatWentAwayAndCameBackIsAnnouncedAgain) {
    const Timestamp now = kStart;
    const std::vector<ShipAttentionItem> open{item("disk_low", "/", now),
                                              item("stalled", "dev", now - seconds{7200})};
    std::set<std::string> announced{"vorn_outdated|"};

    const auto first = ShipAttentionAnnouncer::select(open, announced, now);
    ASSERT_EQ(first.size(), 1u);
    for (const auto& chosen : first)
        announced.insert(chosen.id());
    // The stale one was never announced, so it isn't remembered either, and
    // what is no longer open is forgotten.
    announced = ShipAttentionAnnouncer::stillOpen(announced, open);
    EXPECT_EQ(announced, (std::set<std::string>{"disk_low|/"}));
    EXPECT_TRUE(ShipAttentionAnnouncer::select(open, announced, now).empty());

    announced = ShipAttentionAnnouncer::stillOpen(announced, {});
    EXPECT_TRUE(announced.empty());
    EXPECT_EQ(ShipAttentionAnnouncer::select(open, announced, now + seconds{60}).size(), 1u);
}

TEST(ShipAttentionNotice, TitleCarriesTheLabelAndBodyTheMessage) {
    const ShipAttentionItem disk{.kind = "disk_low", .key = "/", .message = "2 GB left"};
    EXPECT_EQ(
        ShipAttentionAnnouncer::notice(disk, "Disk low"),
        (NotificationContent{.title = "Ship needs attention: Disk low", .body = "2 GB left"}));
}

}  // namespace
}  // namespace vorn
