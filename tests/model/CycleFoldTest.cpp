#include <gtest/gtest.h>

#include <chrono>
#include <vector>

#include "model/CycleFold.h"

namespace vorn {
namespace {

using std::chrono::seconds;

const Timestamp kStart = Timestamp{} + seconds{1'800'000'000};

struct EventSpec {
    std::string cycle = "c1";
    VornStep step = VornStep::poll;
    VornLevel level = VornLevel::info;
    std::optional<VornRole> role;
    std::optional<std::string> ticket;
    std::optional<std::int64_t> rank;
    std::vector<VornRole> pending;
    std::optional<std::int64_t> durationMs;
    std::string route = "acme/web";
};

// Events a second apart, ids in order.
std::vector<VornEvent> events(const std::vector<EventSpec>& specs) {
    std::vector<VornEvent> list;
    for (const EventSpec& spec : specs) {
        VornEvent event;
        event.id = static_cast<std::int64_t>(list.size());
        event.at = kStart + seconds{event.id};
        event.cycle = spec.cycle;
        event.route = spec.route;
        event.step = spec.step;
        event.level = spec.level;
        event.role = spec.role;
        event.ticket = spec.ticket;
        event.rank = spec.rank;
        event.pending = spec.pending;
        event.durationMs = spec.durationMs;
        event.message = "event " + std::to_string(event.id);
        list.push_back(event);
    }
    return list;
}

CycleState folded(const std::vector<EventSpec>& specs) {
    const auto state = CycleFold::fold(events(specs));
    EXPECT_TRUE(state.has_value());
    return state.value_or(CycleState{});
}

TEST(CycleFold, NothingFromNoEvents) {
    EXPECT_FALSE(CycleFold::fold({}).has_value());
}

TEST(CycleFold, OneEvent) {
    const CycleState state = folded({{.step = VornStep::agent,
                                      .level = VornLevel::warn,
                                      .role = VornRole::design,
                                      .ticket = "ENG-3",
                                      .rank = 2,
                                      .pending = {VornRole::qa},
                                      .route = "acme/api"}});
    CycleState expected;
    expected.cycle = "c1";
    expected.route = "acme/api";
    expected.step = VornStep::agent;
    expected.role = VornRole::design;
    expected.ticket = "ENG-3";
    expected.startedAt = kStart;
    expected.lastAt = kStart;
    expected.rank = 2;
    expected.pending = {VornRole::qa};
    expected.warnings = 1;
    EXPECT_EQ(state, expected);
}

TEST(CycleFold, TheNewestEventPicksTheCycleWhereverItsEventsLie) {
    const CycleState state = folded({
        {.cycle = "a", .level = VornLevel::warn, .rank = 1},
        {.cycle = "b",
         .level = VornLevel::warn,
         .role = VornRole::qa,
         .ticket = "ENG-9",
         .rank = 9,
         .pending = {VornRole::triage}},
        {.cycle = "b", .level = VornLevel::error},
        {.cycle = "a", .step = VornStep::merge, .level = VornLevel::warn, .route = "acme/api"},
    });
    EXPECT_EQ(state.cycle, "a");
    EXPECT_EQ(state.warnings, 2);
    EXPECT_EQ(state.errors, 0);
    EXPECT_EQ(state.rank, 1);
    EXPECT_FALSE(state.role.has_value());
    EXPECT_FALSE(state.ticket.has_value());
    EXPECT_TRUE(state.pending.empty());
    EXPECT_EQ(state.startedAt, kStart);
    EXPECT_EQ(state.lastAt, kStart + seconds{3});
    EXPECT_EQ(state.step, VornStep::merge);
    EXPECT_EQ(state.route, "acme/api");

    // A new cycle begins exactly when one of its events comes last; an empty
    // cycle text is a cycle like any other.
    const CycleState fresh = folded({{.cycle = "a", .level = VornLevel::error}, {.cycle = ""}});
    EXPECT_EQ(fresh.cycle, "");
    EXPECT_EQ(fresh.errors, 0);
    EXPECT_EQ(fresh.startedAt, kStart + seconds{1});
}

TEST(CycleFold, NewestRankAndNonEmptyPendingStand) {
    const CycleState state = folded({
        {.rank = 5, .pending = {VornRole::dev, VornRole::qa}},
        {.rank = 2},
        {.pending = {}},
        {},
    });
    EXPECT_EQ(state.rank, 2);
    EXPECT_EQ(state.pending, (std::vector<VornRole>{VornRole::dev, VornRole::qa}));
    EXPECT_EQ(folded({{.pending = {VornRole::dev, VornRole::qa}}, {.pending = {VornRole::triage}}})
                  .pending,
              std::vector<VornRole>{VornRole::triage});
}

TEST(CycleFold, AgentFinishedByAnyDurationOnAnAgentStep) {
    EXPECT_TRUE(folded({{.step = VornStep::agent, .durationMs = 0}, {.step = VornStep::merge}})
                    .agentFinished);
    EXPECT_FALSE(folded({{.step = VornStep::agent}, {.step = VornStep::merge, .durationMs = 40}})
                     .agentFinished);
    EXPECT_FALSE(
        folded({{.cycle = "old", .step = VornStep::agent, .durationMs = 1}, {}}).agentFinished);
}

TEST(CycleFold, RoleAndTicketAreTheNewestNamedByTheCycle) {
    const CycleState state = folded({
        {.step = VornStep::worktree, .role = VornRole::dev, .ticket = "ENG-1"},
        {.step = VornStep::agent, .role = VornRole::qa, .ticket = "ENG-2"},
        {.cycle = "other", .step = VornStep::agent, .role = VornRole::triage, .ticket = "ENG-5"},
        // Candidates named while not working are ignored on purpose.
        {.step = VornStep::select, .ticket = "ENG-3"},
        {.step = VornStep::poll, .ticket = "ENG-4"},
        {.step = VornStep::unknown, .ticket = "ENG-6"},
        {.step = VornStep::idle},
    });
    EXPECT_EQ(state.role, VornRole::qa);
    EXPECT_EQ(state.ticket, "ENG-2");
    EXPECT_EQ(state.step, VornStep::idle);

    EXPECT_FALSE(folded({{.step = VornStep::select, .ticket = "ENG-3"}}).ticket.has_value());
    EXPECT_EQ(folded({{.step = VornStep::release, .ticket = "ENG-8"}}).ticket, "ENG-8");
}

TEST(CycleFold, LevelsAreCountedOverTheCycle) {
    const CycleState state = folded({
        {.level = VornLevel::error},
        {.level = VornLevel::warn},
        {.level = VornLevel::error},
        {.level = VornLevel::info},
    });
    EXPECT_EQ(state.errors, 2);
    EXPECT_EQ(state.warnings, 1);
}

TEST(CycleState, AgesAreAskedWithANow) {
    CycleState state;
    state.startedAt = kStart;
    state.lastAt = kStart + seconds{30};
    const Timestamp now = kStart + std::chrono::milliseconds{90'500};
    EXPECT_DOUBLE_EQ(state.elapsed(now), 90.5);
    EXPECT_DOUBLE_EQ(state.sinceLastEvent(now), 60.5);
    EXPECT_DOUBLE_EQ(state.sinceLastEvent(kStart), -30.0);
}

}  // namespace
}  // namespace vorn
