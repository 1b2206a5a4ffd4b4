#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "model/VornEventDecoder.h"

namespace vorn {
namespace {

using namespace std::chrono;

constexpr std::string_view kMinimal = R"({"at":"2026-01-02T03:04:05Z","message":"hello"})";

// A line with `at` and `message` and the given extra members.
std::string lineWith(std::string_view members) {
    return R"({"at":"2026-01-02T03:04:05Z","message":"m",)" + std::string(members) + "}";
}

VornEvent decoded(std::string_view line) {
    auto event = VornEventDecoder::decode(line, 7);
    EXPECT_TRUE(event.has_value()) << line;
    return event.value_or(VornEvent{});
}

VornEvent withData(std::string_view dataMembers) {
    return decoded(lineWith(R"("data":{)" + std::string(dataMembers) + "}"));
}

Timestamp utc(int year, unsigned month, unsigned day, int hour, int minute, int second,
              int millisecond = 0) {
    return sys_days{std::chrono::year{year} / month / day} + hours{hour} + minutes{minute} +
           seconds{second} + milliseconds{millisecond};
}

TEST(VornEventDecoderRequired, LinesThatAreNoEvent) {
    for (std::string_view line : {
             "", "not json",
             R"({"at":"2026-01-02T03:04:05Z","message":"m")",      // unclosed
             R"({"at":"2026-01-02T03:04:05Z","message":"m"} {})",  // two documents
             R"(["2026-01-02T03:04:05Z","m"])", R"("a string")", R"({"message":"m"})",
             R"({"at":"2026-01-02T03:04:05Z"})", R"({"at":1767322800,"message":"m"})",
             R"({"at":"2026-01-02T03:04:05Z","message":null})",
             R"({"at":"2026-01-02T03:04:05Z","message":["m"]})",
             R"({"at":"2026-01-02T03:04:05Z","message":"m","x":tru})",
             "{\"at\":\"2026-01-02T03:04:05Z\",\"message\":\"\xC3\"}",  // cut UTF-8
         }) {
        EXPECT_FALSE(VornEventDecoder::decode(line, 0).has_value()) << line;
    }
}

TEST(VornEventDecoderRequired, MinimalLineTakesEveryDefault) {
    const VornEvent event = decoded(kMinimal);
    VornEvent expected;
    expected.at = utc(2026, 1, 2, 3, 4, 5);
    expected.message = "hello";
    expected.id = 7;
    EXPECT_EQ(event, expected);
    EXPECT_EQ(event.cycle, "");
    EXPECT_EQ(event.step, VornStep::unknown);
    EXPECT_EQ(event.level, VornLevel::info);
}

TEST(VornEventDecoderRequired, UnreadableDateKeepsTheEventInTheDistantPast) {
    const VornEvent event = decoded(R"({"at":"short","message":"m"})");
    EXPECT_EQ(event.at, distantPast);
    EXPECT_EQ(event.message, "m");
}

TEST(VornEventDecoderFields, EveryFieldFromItsPlace) {
    const VornEvent event = decoded(
        R"({"at":"2026-03-04T05:06:07.890Z","message":"shipped","cycle":"c-17","route":"acme/web",)"
        R"("step":"release","level":"warn","role":"qa","ticket":"ENG-42","unknown":{"deep":[1]},)"
        R"("data":{"hook":"test","rank":3,"pending":["dev","triage"],"ms":1500,"kind":"tool",)"
        R"("text":"ran it","tool":"bash","target":"src/a.c","cycleIndex":2,)"
        R"("attention":["disk","docker"],"url":"https://example.com/pr/1","title":"Fix it",)"
        R"("extra":true}})");
    EXPECT_EQ(event.at, utc(2026, 3, 4, 5, 6, 7, 890));
    EXPECT_EQ(event.message, "shipped");
    EXPECT_EQ(event.cycle, "c-17");
    EXPECT_EQ(event.route, "acme/web");
    EXPECT_EQ(event.step, VornStep::release);
    EXPECT_EQ(event.level, VornLevel::warn);
    EXPECT_EQ(event.role, VornRole::qa);
    EXPECT_EQ(event.ticket, "ENG-42");
    EXPECT_EQ(event.hook, "test");
    EXPECT_EQ(event.rank, 3);
    EXPECT_EQ(event.pending, (std::vector<VornRole>{VornRole::dev, VornRole::triage}));
    EXPECT_EQ(event.durationMs, 1500);
    EXPECT_EQ(event.agentKind, VornAgentDetailKind::tool);
    EXPECT_EQ(event.agentText, "ran it");
    EXPECT_EQ(event.tool, "bash");
    EXPECT_EQ(event.target, "src/a.c");
    EXPECT_EQ(event.agentCycleIndex, 2);
    EXPECT_EQ(event.attention, (std::vector<std::string>{"disk", "docker"}));
    EXPECT_EQ(event.url, "https://example.com/pr/1");
    EXPECT_EQ(event.ticketTitle, "Fix it");
    EXPECT_EQ(event.id, 7);
    EXPECT_EQ(event.ticketNumber(), 42);
}

TEST(VornEventDecoderFields, KeysAreNeverLookedForAtTheOtherLevel) {
    const VornEvent event = decoded(lineWith(
        R"("rank":4,"hook":"h","title":"t","data":{"ticket":"ENG-1","role":"dev","cycle":"x"})"));
    EXPECT_FALSE(event.rank.has_value());
    EXPECT_FALSE(event.hook.has_value());
    EXPECT_FALSE(event.ticketTitle.has_value());
    EXPECT_FALSE(event.ticket.has_value());
    EXPECT_FALSE(event.role.has_value());
    EXPECT_EQ(event.cycle, "");
}

TEST(VornEventDecoderFields, WrongTypesCountAsAbsent) {
    const VornEvent top =
        decoded(lineWith(R"("cycle":5,"route":null,"step":1,"level":["error"],"role":true,)"
                         R"("ticket":42)"));
    EXPECT_EQ(top.cycle, "");
    EXPECT_EQ(top.route, "");
    EXPECT_EQ(top.step, VornStep::unknown);
    EXPECT_EQ(top.level, VornLevel::info);
    EXPECT_FALSE(top.role.has_value());
    EXPECT_FALSE(top.ticket.has_value());

    const VornEvent data =
        withData(R"("hook":1,"rank":"3","pending":"dev","ms":true,"kind":3,"text":{},"tool":[],)"
                 R"("target":null,"cycleIndex":"2","attention":"disk","url":5,"title":false)");
    EXPECT_EQ(data, decoded(lineWith(R"("data":{})")));
    EXPECT_FALSE(data.hook || data.rank || data.durationMs || data.agentKind || data.agentText ||
                 data.tool || data.target || data.agentCycleIndex || data.url || data.ticketTitle);
    EXPECT_TRUE(data.pending.empty());
    EXPECT_TRUE(data.attention.empty());

    // `data` that isn't an object is an empty one.
    for (std::string_view notAnObject :
         {R"("data":[{"rank":1}])", R"("data":"x")", R"("data":null)"}) {
        EXPECT_EQ(decoded(lineWith(notAnObject)), decoded(lineWith(R"("data":{})")));
    }
}

TEST(VornEventDecoderFields, UnknownCasesAndRoles) {
    const VornEvent event =
        decoded(lineWith(R"("step":"deploy","level":"fatal","role":"ops","data":{"kind":"x",)"
                         R"("pending":["dev","ops","qa"]})"));
    EXPECT_EQ(event.step, VornStep::unknown);
    EXPECT_EQ(event.level, VornLevel::info);
    EXPECT_FALSE(event.role.has_value());
    EXPECT_FALSE(event.agentKind.has_value());
    EXPECT_EQ(event.pending, (std::vector<VornRole>{VornRole::dev, VornRole::qa}));
    // Case matters: raw values are lower case.
    EXPECT_EQ(decoded(lineWith(R"("step":"Agent","level":"ERROR")")).step, VornStep::unknown);

    // One entry that isn't a string spoils the whole list.
    EXPECT_TRUE(withData(R"("pending":["dev",1])").pending.empty());
    EXPECT_TRUE(withData(R"("attention":["disk",null])").attention.empty());
    EXPECT_TRUE(withData(R"("pending":[])").pending.empty());
}

TEST(VornEventDecoderFields, IntegersMustBeExact) {
    EXPECT_EQ(withData(R"("rank":2.0)").rank, 2);
    EXPECT_EQ(withData(R"("rank":-3)").rank, -3);
    EXPECT_EQ(withData(R"("ms":1e3)").durationMs, 1000);
    EXPECT_EQ(withData(R"("ms":-0)").durationMs, 0);
    EXPECT_EQ(withData(R"("ms":9223372036854775807)").durationMs, INT64_MAX);
    EXPECT_EQ(withData(R"("ms":-9223372036854775808)").durationMs, INT64_MIN);
    for (std::string_view inexact :
         {"1.5", "9223372036854775808", "18446744073709551615", "9.3e18", "1e300", "0.1"}) {
        EXPECT_FALSE(withData(R"("rank":)" + std::string(inexact)).rank.has_value()) << inexact;
    }
}

TEST(VornEventDecoderFields, NumbersBeyondAnyMachineTypeCostOnlyThemselves) {
    // Well-formed JSON, though no 64-bit type holds these numbers.
    const VornEvent event =
        decoded(lineWith(R"("size":100000000000000000000,"data":{"rank":1e400,"ms":5,)"
                         R"("cycleIndex":-99999999999999999999,"tiny":1e-400,"text":"1e400"})"));
    EXPECT_FALSE(event.rank.has_value());
    EXPECT_FALSE(event.agentCycleIndex.has_value());
    EXPECT_EQ(event.durationMs, 5);
    EXPECT_EQ(event.agentText, "1e400");
    // A number that underflows is 0, which is an integer.
    EXPECT_EQ(withData(R"("ms":1e-400,"rank":1e400)").durationMs, 0);
    // Malformed numbers still spoil the line.
    EXPECT_FALSE(
        VornEventDecoder::decode(lineWith(R"("x":100000000000000000000,"y":01)"), 0).has_value());
    EXPECT_FALSE(
        VornEventDecoder::decode(lineWith(R"("x":100000000000000000000,"y":1.)"), 0).has_value());
}

TEST(VornEventDecoderFields, URLsMustBeOpenable) {
    EXPECT_EQ(withData(R"("url":"mailto:ops@example.com")").url, "mailto:ops@example.com");
    EXPECT_EQ(withData(R"("url":"https://x.io/a%20b?q=1#f")").url, "https://x.io/a%20b?q=1#f");
    for (std::string_view bad :
         {"", "example.com/pr/1", "https://a b", "https:", "://x", "1http://x", "https://x/%zz",
          "https://x/%2", "https://\u00e9.fr"}) {
        EXPECT_FALSE(withData(R"("url":")" + std::string(bad) + "\"").url.has_value()) << bad;
    }
}

TEST(VornEventDecoderFields, LaterDuplicateKeysStand) {
    const VornEvent event =
        decoded(R"({"at":"x","message":"first","message":"second","data":{"rank":1},)"
                R"("data":{"ms":2},"step":"merge","step":5})");
    EXPECT_EQ(event.message, "second");
    EXPECT_FALSE(event.rank.has_value());
    EXPECT_EQ(event.durationMs, 2);
    EXPECT_EQ(event.step, VornStep::unknown);
}

TEST(VornEventDecoderFields, EscapesAndLineEnds) {
    const VornEvent event = decoded(
        "{\"at\":\"2026-01-02T03:04:05Z\",\"m\\u0065ssage\":\"caf\\u00e9 \\\"ok\\\"\\n\"} \r");
    EXPECT_EQ(event.message, "caf\u00e9 \"ok\"\n");
}

TEST(VornEventTicketNumber, TextBehindTheLastDash) {
    EXPECT_EQ(VornEvent::ticketNumber("ENG-42"), 42);
    EXPECT_EQ(VornEvent::ticketNumber("A-B-7"), 7);
    EXPECT_EQ(VornEvent::ticketNumber("ENG--7"), 7);
    EXPECT_EQ(VornEvent::ticketNumber("ENG-+7"), 7);
    EXPECT_EQ(VornEvent::ticketNumber("ENG-007"), 7);
    for (std::string_view none : {"ENG", "ENG-", "ENG-x1", "ENG-1x", "ENG- 1", "ENG-+", "ENG-++1",
                                  "ENG-99999999999999999999", ""}) {
        EXPECT_FALSE(VornEvent::ticketNumber(none).has_value()) << none;
    }
    EXPECT_FALSE(VornEvent{}.ticketNumber().has_value());
}

TEST(VornStepCases, OrderAndWorkingSteps) {
    const auto all = allCases<VornStep>();
    ASSERT_EQ(all.size(), 10u);
    EXPECT_EQ(all.back(), VornStep::unknown);
    EXPECT_TRUE(std::equal(orderedSteps.begin(), orderedSteps.end(), all.begin()));
    std::string working;
    for (VornStep step : all) {
        if (isWorking(step)) working += std::string(rawValue(step)) + " ";
    }
    EXPECT_EQ(working, "worktree agent reconcile merge release ");
}

TEST(VornEventDecoderDate, ReadsFieldsByPosition) {
    EXPECT_EQ(VornEventDecoder::date("2026-01-02T03:04:05Z"), utc(2026, 1, 2, 3, 4, 5));
    EXPECT_EQ(VornEventDecoder::date("2026-01-02T03:04:05"), utc(2026, 1, 2, 3, 4, 5));
    // The separators are never looked at, nor is a zone: it is always UTC.
    EXPECT_EQ(VornEventDecoder::date("2026/01/02 03:04:05"), utc(2026, 1, 2, 3, 4, 5));
    EXPECT_EQ(VornEventDecoder::date("2026x01x02x03x04x05+09:00"), utc(2026, 1, 2, 3, 4, 5));
    EXPECT_EQ(VornEventDecoder::date("1970-01-01T00:00:00Z"), Timestamp{});
    EXPECT_EQ(VornEventDecoder::date("1969-12-31T23:59:59.999Z"), Timestamp{} - milliseconds{1});
}

TEST(VornEventDecoderDate, Milliseconds) {
    EXPECT_EQ(VornEventDecoder::date("2026-01-02T03:04:05.123456Z"), utc(2026, 1, 2, 3, 4, 5, 123));
    EXPECT_EQ(VornEventDecoder::date("2026-01-02T03:04:05.007"), utc(2026, 1, 2, 3, 4, 5, 7));
    // Too short for three digits, a non-digit among them, or no "." first:
    // no milliseconds, and no failure.
    for (std::string_view text : {"2026-01-02T03:04:05.5Z", "2026-01-02T03:04:05.12",
                                  "2026-01-02T03:04:05.1a3Z", "2026-01-02T03:04:05,123Z"}) {
        EXPECT_EQ(VornEventDecoder::date(text), utc(2026, 1, 2, 3, 4, 5)) << text;
    }
}

TEST(VornEventDecoderDate, UnreadableTextIsTheDistantPast) {
    for (std::string_view text :
         {"", "short", "2026-01-02T03:04:0", "2026-01-02T03:04:5Z", "2026-0a-02T03:04:05Z",
          " 2026-01-02T03:04:05", "+026-01-02T03:04:05", "2026-01-02T03:04:-5Z",
          "２０２６-01-02T03:04:05"}) {
        EXPECT_EQ(VornEventDecoder::date(text), distantPast) << text;
    }
    EXPECT_LT(distantPast, VornEventDecoder::date("1678-01-01T00:00:00Z"));
}

TEST(VornEventDecoderDate, OutOfRangeFieldsRollOver) {
    EXPECT_EQ(VornEventDecoder::date("2025-13-01T00:00:00Z"), utc(2026, 1, 1, 0, 0, 0));
    EXPECT_EQ(VornEventDecoder::date("2026-00-15T00:00:00Z"), utc(2025, 12, 15, 0, 0, 0));
    EXPECT_EQ(VornEventDecoder::date("2026-01-00T00:00:00Z"), utc(2025, 12, 31, 0, 0, 0));
    EXPECT_EQ(VornEventDecoder::date("2024-02-30T00:00:00Z"), utc(2024, 3, 1, 0, 0, 0));
    EXPECT_EQ(VornEventDecoder::date("2023-02-29T00:00:00Z"), utc(2023, 3, 1, 0, 0, 0));
    EXPECT_EQ(VornEventDecoder::date("2026-99-99T99:99:99.999Z"),
              utc(2034, 3, 1, 0, 0, 0) + days{98} + hours{99} + minutes{99} + seconds{99} +
                  milliseconds{999});
    EXPECT_EQ(VornEventDecoder::date("2026-12-31T24:00:60Z"), utc(2027, 1, 1, 0, 1, 0));
}

TEST(VornEventDecoderDate, DatesATimestampCannotHoldAreTheDistantPast) {
    // A timestamp counts nanoseconds in 64 bits: about 1677-09-21 to 2262-04-11.
    EXPECT_EQ(VornEventDecoder::date("0000-01-01T00:00:00Z"), distantPast);
    EXPECT_EQ(VornEventDecoder::date("1677-01-01T00:00:00Z"), distantPast);
    EXPECT_EQ(VornEventDecoder::date("9999-12-31T23:59:59Z"), distantPast);
    EXPECT_EQ(VornEventDecoder::date("2262-12-31T00:00:00Z"), distantPast);
    EXPECT_EQ(VornEventDecoder::date("2261-12-31T23:59:59.999Z"),
              utc(2261, 12, 31, 23, 59, 59, 999));
    EXPECT_EQ(VornEventDecoder::date("1678-01-01T00:00:00Z"), utc(1678, 1, 1, 0, 0, 0));
}

}  // namespace
}  // namespace vorn
