#include <gtest/gtest.h>

#include "model/VornSnapshot.h"

namespace vorn {
namespace {

using Health = VornSnapshot::Health;
using Activity = RoleStatus::Activity;

ActiveWorker worker(VornRole role, std::optional<std::string> ticket = std::nullopt,
                    std::optional<std::string> seatName = std::nullopt) {
    ActiveWorker running;
    running.route = "acme/web";
    running.role = role;
    running.ticket = std::move(ticket);
    running.seatName = std::move(seatName);
    running.step = VornStep::agent;
    return running;
}

CycleState cycleAt(VornStep step, int errors = 0, int warnings = 0) {
    CycleState cycle;
    cycle.step = step;
    cycle.errors = errors;
    cycle.warnings = warnings;
    return cycle;
}

TimerStatus timer(bool loaded) {
    return TimerStatus{.label = "com.pelorinth.vorn", .installed = true, .loaded = loaded};
}

TEST(VornSnapshotHealth, EmptySnapshotIsIdle) {
    const VornSnapshot empty = VornSnapshot::empty();
    EXPECT_EQ(empty, VornSnapshot{});
    EXPECT_EQ(empty.health(), Health::idle);
    EXPECT_EQ(empty.headline(), "Idle");
    EXPECT_EQ(rawValue(empty.health()), "idle");
}

TEST(VornSnapshotHealth, RulesInOrder) {
    VornSnapshot snapshot;
    snapshot.runTimer = timer(false);
    EXPECT_EQ(snapshot.health(), Health::stopped);
    snapshot.releasePaused = true;  // never part of health
    EXPECT_EQ(snapshot.health(), Health::stopped);
    snapshot.vornPaused = true;
    EXPECT_EQ(snapshot.health(), Health::paused);
    snapshot.workers = {worker(VornRole::dev)};
    EXPECT_EQ(snapshot.health(), Health::working);
    snapshot.cycle = cycleAt(VornStep::agent, 1);
    EXPECT_EQ(snapshot.health(), Health::trouble);
    snapshot.cycle = cycleAt(VornStep::agent);
    snapshot.configError = "vorn.yaml could not be read";
    EXPECT_EQ(snapshot.health(), Health::trouble);
    // Trouble comes before working, yet the headline still names the worker.
    EXPECT_EQ(snapshot.headline(), "Dev");
}

TEST(VornSnapshotHealth, ErrorsClearOnceTheCycleIsIdle) {
    VornSnapshot snapshot;
    snapshot.cycle = cycleAt(VornStep::idle, 3);
    EXPECT_EQ(snapshot.health(), Health::idle);
    snapshot.cycle = cycleAt(VornStep::unknown, 1);
    EXPECT_EQ(snapshot.health(), Health::trouble);
    snapshot.cycle = cycleAt(VornStep::agent, 0, 5);  // warnings alone never are trouble
    EXPECT_EQ(snapshot.health(), Health::idle);
}

TEST(VornSnapshotHealth, AnUnknownTimerCountsAsIdle) {
    VornSnapshot snapshot;
    EXPECT_EQ(snapshot.health(), Health::idle);
    snapshot.runTimer = timer(true);
    EXPECT_EQ(snapshot.health(), Health::idle);
    snapshot.runTimer = timer(false);
    snapshot.releaseTimer = timer(true);  // only the run timer counts
    EXPECT_EQ(snapshot.health(), Health::stopped);
    EXPECT_EQ(snapshot.headline(), "Timer off");
}

TEST(VornSnapshotHeadline, WithoutWorkers) {
    VornSnapshot snapshot;
    snapshot.runTimer = timer(false);
    snapshot.releasePaused = true;
    EXPECT_EQ(snapshot.headline(), "Releases paused");
    snapshot.vornPaused = true;
    EXPECT_EQ(snapshot.headline(), "Paused");
    snapshot.releasePaused = false;
    snapshot.vornPaused = false;
    snapshot.runTimer = timer(true);
    EXPECT_EQ(snapshot.headline(), "Idle");
}

TEST(VornSnapshotHeadline, FirstWorkerWithItsTicket) {
    VornSnapshot snapshot;
    snapshot.workers = {worker(VornRole::qa, "ENG-42"), worker(VornRole::dev, "ENG-1")};
    EXPECT_EQ(snapshot.headline(), "QA \u00B7 ENG-42");
    snapshot.workers = {worker(VornRole::design, "ENG-7", "Ada")};
    snapshot.releasePaused = true;
    EXPECT_EQ(snapshot.headline(), "Ada \u00B7 ENG-7 \u00B7 releases paused");
    // Paused as a whole, the release pause goes unsaid.
    snapshot.vornPaused = true;
    EXPECT_EQ(snapshot.headline(), "Ada \u00B7 ENG-7");
    snapshot.workers = {worker(VornRole::triage)};
    EXPECT_EQ(snapshot.headline(), "Triage");
}

TEST(ActiveWorker, IdentityAndLabel) {
    const ActiveWorker running = worker(VornRole::qa, "ENG-1");
    EXPECT_EQ(running.id(), "acme/web/qa");
    EXPECT_EQ(running.primaryLabel(), "QA");
    EXPECT_EQ(worker(VornRole::qa, std::nullopt, "Quinn").primaryLabel(), "Quinn");
}

TEST(RoleStatus, ActivityAndRank) {
    CycleState cycle;
    cycle.role = VornRole::dev;
    cycle.rank = 4;
    cycle.pending = {VornRole::dev, VornRole::qa};
    const std::vector<ActiveWorker> workers = {worker(VornRole::dev)};

    const RoleStatus dev = RoleStatus::derived(VornRole::dev, workers, cycle);
    EXPECT_EQ(dev.activity, Activity::running);  // running goes before pending
    EXPECT_EQ(dev.rank, 4);
    const RoleStatus qa = RoleStatus::derived(VornRole::qa, workers, cycle);
    EXPECT_EQ(qa.activity, Activity::pending);
    EXPECT_FALSE(qa.rank.has_value());  // the rank is the cycle role's
    const RoleStatus design = RoleStatus::derived(VornRole::design, workers, cycle);
    EXPECT_EQ(design.activity, Activity::idle);

    // The cycle's own role, idle: no rank.
    cycle.pending = {};
    const RoleStatus idleDev = RoleStatus::derived(VornRole::dev, {}, cycle);
    EXPECT_EQ(idleDev.activity, Activity::idle);
    EXPECT_FALSE(idleDev.rank.has_value());
    cycle.pending = {VornRole::dev};
    EXPECT_EQ(RoleStatus::derived(VornRole::dev, {}, cycle).rank, 4);
    EXPECT_EQ(RoleStatus::derived(VornRole::dev, {}, std::nullopt).activity, Activity::idle);

    RoleStatus named = dev;
    EXPECT_EQ(named.id(), "dev");
    EXPECT_EQ(named.primaryLabel(), "Dev");
    named.seatName = "Devi";
    EXPECT_EQ(named.primaryLabel(), "Devi");
}

}  // namespace
}  // namespace vorn
