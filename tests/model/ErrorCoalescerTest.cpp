#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <vector>

#include "model/ErrorCoalescer.h"

namespace vorn {
namespace {

const Timestamp kStart = Timestamp{} + std::chrono::seconds{1'800'000'000};

Timestamp at(double seconds) {
    return kStart + std::chrono::round<Timestamp::duration>(std::chrono::duration<double>(seconds));
}

// Names the instant by its offset from kStart, so a body shows which one
// was formatted: "@0", "@12.5".
std::string offsetText(Timestamp instant) {
    const double seconds = secondsBetween(kStart, instant);
    std::string text = std::to_string(seconds);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.ends_with('.')) text.pop_back();
    return "@" + text;
}

VornEvent event(double seconds, std::string message, VornLevel level = VornLevel::error) {
    VornEvent made;
    made.at = at(seconds);
    made.step = VornStep::poll;
    made.level = level;
    made.message = std::move(message);
    return made;
}

class Coalescer : public ::testing::Test {
  protected:
    std::vector<ErrorNotice> ingest(const std::vector<VornEvent>& events, double now,
                                    double silentThrough = -1e6) {
        return coalescer.ingest(events, at(silentThrough), at(now));
    }
    const std::vector<ErrorGroup>& groups() const { return coalescer.groups(); }

    ErrorCoalescer coalescer{&offsetText};
};

ErrorNotice failure(const std::string& key, const std::string& body) {
    return {
        .identifier = "error|" + key, .title = "Vorn: " + key, .body = body, .transient = false};
}

ErrorNotice outage(const std::string& body) {
    return {.identifier = "tracker-unreachable",
            .title = "Vorn: tracker unreachable",
            .body = body,
            .transient = true};
}

TEST(ErrorKey, IsTheFirstLineInFrontOfItsFirstColonBlank) {
    EXPECT_EQ(ErrorCoalescer::key("poll failed: 503 Service Unavailable"), "poll failed");
    EXPECT_EQ(ErrorCoalescer::key("merge failed: git: conflict\nmore: detail"), "merge failed");
    EXPECT_EQ(ErrorCoalescer::key("disk full"), "disk full");
    EXPECT_EQ(ErrorCoalescer::key("url http://x:8080/y"), "url http://x:8080/y");
    // Nothing is trimmed, so blanks make a different key.
    EXPECT_EQ(ErrorCoalescer::key(" poll failed : x"), " poll failed ");
    EXPECT_EQ(ErrorCoalescer::key(": nothing in front"), "");
    EXPECT_EQ(ErrorCoalescer::key("\nsecond: line"), "");
}

TEST(ErrorCause, IsTheTrimmedRestOfTheFirstLine) {
    EXPECT_EQ(ErrorCoalescer::cause("poll failed: 503 Service Unavailable"),
              "503 Service Unavailable");
    EXPECT_EQ(ErrorCoalescer::cause("merge failed: git: conflict\nmore"), "git: conflict");
    EXPECT_EQ(ErrorCoalescer::cause("x: \t padded \t "), "padded");
    EXPECT_EQ(ErrorCoalescer::cause("disk full"), std::nullopt);
    EXPECT_EQ(ErrorCoalescer::cause("disk full\nnext: line"), std::nullopt);
    EXPECT_EQ(ErrorCoalescer::cause("x: \t "), std::nullopt);
    // Only blanks and tabs are trimmed.
    EXPECT_EQ(ErrorCoalescer::cause("x: \rend\r"), "\rend\r");
}

TEST(ErrorTransience, FetchFailuresHTMLAndAStandAlone503) {
    EXPECT_TRUE(ErrorCoalescer::isTransient("poll failed: fetch failed"));
    EXPECT_TRUE(ErrorCoalescer::isTransient("bad answer: Unexpected token '<', \"<html>\""));
    EXPECT_TRUE(ErrorCoalescer::isTransient("poll failed: HTTP 503"));
    EXPECT_TRUE(ErrorCoalescer::isTransient("x503y"));
    EXPECT_TRUE(ErrorCoalescer::isTransient("first line\nthen 503"));
    // A later occurrence counts when an earlier one is part of a number.
    EXPECT_TRUE(ErrorCoalescer::isTransient("id 15030 got 503"));

    EXPECT_FALSE(ErrorCoalescer::isTransient("id 15030"));
    EXPECT_FALSE(ErrorCoalescer::isTransient("5030"));
    EXPECT_FALSE(ErrorCoalescer::isTransient("1503"));
    EXPECT_FALSE(ErrorCoalescer::isTransient("Fetch failed"));
    EXPECT_FALSE(ErrorCoalescer::isTransient("Unexpected token \"<\""));
    EXPECT_FALSE(ErrorCoalescer::isTransient("poll failed: 500"));
    // Digits of other scripts are not the digits a number is written in.
    EXPECT_TRUE(ErrorCoalescer::isTransient("\u0661503\u0661"));
}

TEST_F(Coalescer, AFailureNotifiesOnEveryNewEventWithItsCauseThenItsCount) {
    EXPECT_EQ(ingest({event(0, "poll failed: boom")}, 0),
              std::vector{failure("poll failed", "boom")});
    EXPECT_EQ(ingest({event(0, "poll failed: boom"), event(60, "poll failed: again")}, 60),
              std::vector{failure("poll failed", "\u00d72 since @0")});
    EXPECT_EQ(ingest({event(120, "poll failed: boom")}, 120),
              std::vector{failure("poll failed", "\u00d73 since @0")});
    ASSERT_EQ(groups().size(), 1u);
    EXPECT_EQ(groups()[0], (ErrorGroup{.key = "poll failed",
                                       .firstAt = at(0),
                                       .lastAt = at(120),
                                       .count = 3,
                                       .transient = false,
                                       .notified = true,
                                       .lastCause = "boom"}));
    EXPECT_EQ(groups()[0].id(), "error|poll failed");
}

TEST_F(Coalescer, AMessageWithoutCauseIsItsOwnKeyAndSaysAnErrorOccurred) {
    EXPECT_EQ(ingest({event(0, "disk full\nsee: the log")}, 0),
              std::vector{failure("disk full", "An error occurred")});
    // The newest event's cause replaces the old one, also by none.
    ingest({event(10, "worker crashed: signal 9")}, 10);
    ingest({event(20, "worker crashed")}, 20);
    EXPECT_EQ(groups().back().key, "worker crashed");
    EXPECT_EQ(groups().back().lastCause, std::nullopt);
}

TEST_F(Coalescer, EventsAtMostTheBurstGapApartAreOneBurst) {
    ingest({event(0, "poll failed: a"), event(900, "poll failed: b")}, 900);
    ASSERT_EQ(groups().size(), 1u);
    EXPECT_EQ(groups()[0].count, 2);
    EXPECT_EQ(groups()[0].firstAt, at(0));
}

TEST_F(Coalescer, AGapAboveTheBurstGapStartsOverAndLosesTheCount) {
    const auto notices = ingest(
        {event(0, "poll failed: a"), event(60, "poll failed: b"), event(960.001, "poll failed: c")},
        961);
    ASSERT_EQ(groups().size(), 1u);
    EXPECT_EQ(groups()[0].count, 1);
    EXPECT_EQ(groups()[0].firstAt, at(960.001));
    EXPECT_EQ(groups()[0].lastCause, "c");
    // One group touched in this call: one notice, about the new burst.
    EXPECT_EQ(notices, std::vector{failure("poll failed", "c")});
}

TEST_F(Coalescer, EventsNoNewerThanTheLastFoldedAreSkippedForGood) {
    const std::vector<VornEvent> events{event(0, "poll failed: a"), event(5, "poll failed: a")};
    EXPECT_EQ(ingest(events, 5).size(), 1u);
    EXPECT_TRUE(ingest(events, 6).empty());
    // Late, with an older date, or at the same instant as the newest.
    EXPECT_TRUE(ingest({event(3, "poll failed: late"), event(5, "other: x")}, 7).empty());
    ASSERT_EQ(groups().size(), 1u);
    EXPECT_EQ(groups()[0].count, 2);
    EXPECT_EQ(coalescer.ingestedThrough(), at(5));
}

TEST_F(Coalescer, OnlyErrorsEnter) {
    EXPECT_TRUE(ingest({event(0, "poll failed: a", VornLevel::warn),
                        event(1, "poll failed: a", VornLevel::info)},
                       1)
                    .empty());
    EXPECT_TRUE(groups().empty());
    // Nor does a warning move the mark past which errors are taken.
    ingest({event(0.5, "poll failed: a")}, 2);
    EXPECT_EQ(groups().size(), 1u);
}

TEST_F(Coalescer, EventsAreTakenInDateOrderAndNoticesInOrderOfFirstTouch) {
    const auto notices = ingest({event(30, "b failed: 2"), event(10, "b failed: 1"),
                                 event(20, "a failed: 1"), event(40, "a failed: 2")},
                                40);
    ASSERT_EQ(notices.size(), 2u);
    EXPECT_EQ(notices[0], failure("b failed", "\u00d72 since @10"));
    EXPECT_EQ(notices[1], failure("a failed", "\u00d72 since @20"));
    ASSERT_EQ(groups().size(), 2u);
    EXPECT_EQ(groups()[0].key, "b failed");
    EXPECT_EQ(groups()[0].lastCause, "2");
}

TEST_F(Coalescer, AnOutageIsAnnouncedOnceWhenItOutlastsTheThreshold) {
    // Many events over 299 seconds, in calls of their own: nothing yet.
    for (double seconds = 0; seconds <= 299; seconds += 23) {
        EXPECT_TRUE(ingest({event(seconds, "poll failed: fetch failed")}, seconds).empty())
            << seconds;
    }
    EXPECT_EQ(ingest({event(301, "poll failed: fetch failed")}, 301),
              std::vector{outage("poll failed since @0")});
    EXPECT_TRUE(ingest({event(302, "poll failed: fetch failed")}, 302).empty());
    ASSERT_EQ(groups().size(), 1u);
    EXPECT_EQ(groups()[0].id(), "transient|poll failed");
    EXPECT_TRUE(groups()[0].notified);
}

TEST_F(Coalescer, AnOutageSpanningExactlyTheThresholdWithinOneCallIsAnnounced) {
    EXPECT_EQ(ingest({event(0, "sync: HTTP 503"), event(300, "sync: HTTP 503")}, 300),
              std::vector{outage("sync since @0")});
}

TEST_F(Coalescer, AnOutageThatRecursAfterTheGapMayBeAnnouncedAgain) {
    ingest({event(0, "poll failed: fetch failed"), event(400, "poll failed: fetch failed")}, 400);
    const double again = 400 + 900.5;
    EXPECT_TRUE(ingest({event(again, "poll failed: fetch failed")}, again).empty());
    EXPECT_FALSE(groups()[0].notified);
    EXPECT_EQ(ingest({event(again + 300, "poll failed: fetch failed")}, again + 300),
              std::vector{outage("poll failed since @1300.5")});
}

TEST_F(Coalescer, OneKeyAlternatingBetweenOutageAndFailureFormsTwoGroups) {
    const auto notices =
        ingest({event(0, "poll failed: fetch failed"), event(1, "poll failed: bad token"),
                event(2, "poll failed: fetch failed"), event(3, "poll failed: bad token")},
               3);
    ASSERT_EQ(groups().size(), 2u);
    EXPECT_EQ(groups()[0].id(), "transient|poll failed");
    EXPECT_EQ(groups()[0].count, 2);
    EXPECT_EQ(groups()[1].id(), "error|poll failed");
    EXPECT_EQ(groups()[1].count, 2);
    // The outage is two seconds old: only the failure speaks.
    EXPECT_EQ(notices, std::vector{failure("poll failed", "\u00d72 since @1")});
}

TEST_F(Coalescer, ErrorsUpToSilentThroughFillTheGroupsButAnnounceNothing) {
    EXPECT_TRUE(ingest({event(0, "poll failed: a"), event(10, "poll failed: b")}, 10, 10).empty());
    ASSERT_EQ(groups().size(), 1u);
    EXPECT_EQ(groups()[0].count, 2);
    EXPECT_FALSE(groups()[0].notified);
    // A later event of the same group speaks, with the whole count.
    EXPECT_EQ(ingest({event(11, "poll failed: c")}, 11, 10),
              std::vector{failure("poll failed", "\u00d73 since @0")});
}

TEST_F(Coalescer, GroupsSilentLongerThanTheRetentionLeaveEvenWithoutEvents) {
    ingest({event(0, "a failed: x"), event(100, "b failed: y")}, 100);
    ingest({}, 3600);
    EXPECT_EQ(groups().size(), 2u);
    ingest({}, 3600.001);
    ASSERT_EQ(groups().size(), 1u);
    EXPECT_EQ(groups()[0].key, "b failed");
    ingest({}, 3700.001);
    EXPECT_TRUE(groups().empty());
}

TEST_F(Coalescer, AGroupAlreadyStaleWhenFoldedInAnnouncesNothing) {
    EXPECT_TRUE(ingest({event(0, "a failed: old")}, 5000).empty());
    EXPECT_TRUE(groups().empty());
    EXPECT_EQ(coalescer.ingestedThrough(), at(0));
}

TEST_F(Coalescer, DatesCenturiesApartAreTwoBursts) {
    // Further apart than 64 bits of nanoseconds reach.
    const Timestamp early = Timestamp::min() + std::chrono::hours(24);
    const Timestamp late = Timestamp::max() - std::chrono::hours(24);
    VornEvent first = event(0, "a failed: x");
    first.at = early;
    VornEvent second = event(0, "a failed: y");
    second.at = late;
    const auto notices = coalescer.ingest(std::vector{first, second}, late, late);
    ASSERT_EQ(groups().size(), 1u);
    EXPECT_EQ(groups()[0].firstAt, late);
    EXPECT_TRUE(notices.empty());
    coalescer.ingest({}, late, early);  // a clock set back far: nothing is stale
    EXPECT_EQ(groups().size(), 1u);
}

}  // namespace
}  // namespace vorn
