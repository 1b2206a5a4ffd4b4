#include <gtest/gtest.h>

#include <fstream>

#include "common/FakeTool.h"
#include "common/Git.h"
#include "common/LiveProcess.h"
#include "common/Script.h"
#include "common/TempDir.h"
#include "platform/SystemdUserManager.h"
#include "service/VornReader.h"

namespace vorn {
namespace {

using testing::FakeTool;
using testing::LiveProcess;
using testing::TempDir;

using namespace std::chrono_literals;

std::string eventLine(std::string_view fields) {
    return "{\"at\":\"2026-03-04T05:06:07Z\",\"message\":\"m\"," + std::string(fields) + "}\n";
}

std::string statusDocument(const std::filesystem::path& stateDir, std::string_view shipName,
                           std::int64_t version = 1) {
    return "{\"version\":" + std::to_string(version) + ",\"ship\":{\"name\":\"" +
           std::string(shipName) + "\",\"stateDir\":\"" + stateDir.string() +
           "\"},\"route\":{\"name\":\"acme/web\"},\"passenger\":{\"connected\":true,"
           "\"active\":true},\"rowName\":\"Row\",\"nameDrift\":\"row\"}\n";
}

class VornReaderTest : public ::testing::Test {
  protected:
    std::filesystem::path state() const { return home / "state"; }

    std::filesystem::path writeConfig(std::string_view stateFolder = "state",
                                      std::string_view extra = "") {
        return home.write(".config/vorn/vorn.yaml",
                          "ship:\n  name: Nautilus\n  stateDir: " + (home / stateFolder).string() +
                              "\nroutes:\n  - route: acme/web\n    repos:\n      web: " +
                              (home / "src/web").string() + "\n" + std::string(extra));
    }

    void appendEvents(std::string_view lines, std::string_view file = "state/events.jsonl") {
        std::filesystem::create_directories((home / file).parent_path());
        std::ofstream(home / file, std::ios::app) << lines;
    }

    void holdLock(std::string_view role, std::string_view contents) {
        home.write("state/.vorn-role-" + std::string(role) + ".lock", contents);
    }

    VornReader makeReader(const std::optional<std::filesystem::path>& vorn = std::nullopt) {
        VornReader::Options options;
        options.discovery = {std::nullopt, vorn, home.path(), {{"PATH", "/usr/bin"}}};
        options.serviceManager = std::make_shared<SystemdUserManager>(systemctl.path());
        options.now = [this] { return now; };
        return VornReader(std::move(options));
    }

    TempDir home;
    FakeTool systemctl{home.path(), "systemctl"};
    Timestamp now = std::chrono::sys_days(std::chrono::year{2026} / 3 / 4) + 5h;
};

TEST_F(VornReaderTest, AMachineWithoutConfigurationOrWithABadOneReadsNoEvents) {
    appendEvents(eventLine(R"("cycle":"c1","step":"poll")"));
    VornReader reader = makeReader();
    VornSnapshot snapshot = reader.snapshot();
    EXPECT_FALSE(snapshot.config);
    EXPECT_FALSE(snapshot.configError);
    EXPECT_TRUE(snapshot.recent.empty());

    home.write(".config/vorn/vorn.yaml", "ship:\n  a: 1\n b: 2\n");
    snapshot = reader.snapshot();
    EXPECT_FALSE(snapshot.config);
    EXPECT_EQ(snapshot.configError,
              "vorn.yaml could not be read \u2014 line 3: unexpected indentation");
    EXPECT_TRUE(reader.yamlRoutes().empty());
    EXPECT_TRUE(snapshot.recent.empty());
    EXPECT_EQ(reader.structureSource(),
              StructureSource::parsedYAML(std::string(StructureSource::noExecutable)));
}

TEST_F(VornReaderTest, TheSchedulersStatusIsPreferredAndEachFallbackSaysWhy) {
    writeConfig();
    FakeTool vorn(home / "bin", "vorn");
    vorn.on("status", {statusDocument(home / "elsewhere", "FromStatus")});
    VornReader reader = makeReader(vorn.path());
    VornSnapshot snapshot = reader.snapshot();
    EXPECT_EQ(snapshot.config->ship.name, "FromStatus");
    EXPECT_EQ(reader.structureSource(), StructureSource::statusJSON(1));
    ASSERT_EQ(reader.yamlRoutes().size(), 1u);
    EXPECT_EQ((PassengerStatus{true, true}), snapshot.passenger);
    EXPECT_EQ(snapshot.shipName->rowName, "Row");

    const auto reasonAfter = [&](FakeTool::Answer answer) {
        FakeTool other(home / "bin", "vorn");
        other.on("status", std::move(answer));
        VornReader fresh = makeReader(other.path());
        const VornSnapshot seen = fresh.snapshot();
        EXPECT_EQ(seen.config->ship.name, "Nautilus");
        EXPECT_FALSE(seen.passenger);
        return fresh.structureSource();
    };
    EXPECT_EQ(reasonAfter({"", "unknown command", 2}),
              StructureSource::parsedYAML(std::string(StructureSource::noStatusCommand)));
    EXPECT_EQ(reasonAfter({"usage: vorn ...\n"}),
              StructureSource::parsedYAML(std::string(StructureSource::noStatusCommand)));
    EXPECT_EQ(reasonAfter({statusDocument(home / "s", "Two", 2)}),
              StructureSource::parsedYAML(std::string(StructureSource::unreadableVersion)));
}

TEST_F(VornReaderTest, AFileOnlyTheSchedulerAcceptsShowsTheDocumentAndNoYamlRoutes) {
    home.write(".config/vorn/vorn.yaml", "ship:\n  a: 1\n b: 2\n");
    FakeTool vorn(home / "bin", "vorn");
    vorn.on("status", {statusDocument(state(), "Lenient")});
    VornReader reader = makeReader(vorn.path());
    const VornSnapshot snapshot = reader.snapshot();
    EXPECT_EQ(snapshot.config->ship.name, "Lenient");
    EXPECT_FALSE(snapshot.configError);
    EXPECT_TRUE(reader.yamlRoutes().empty());
}

TEST_F(VornReaderTest, CommandsRunOnlyWhenTheFileChangesOrTenSecondsPass) {
    const auto file = writeConfig();
    FakeTool vorn(home / "bin", "vorn");
    vorn.on("status", {statusDocument(state(), "N")});
    VornReader reader = makeReader(vorn.path());
    const auto statusCalls = [&] { return vorn.calls().size(); };

    reader.snapshot();
    // One answer for the configuration, one for the passenger data.
    EXPECT_EQ(statusCalls(), 2u);
    const auto showCalls = systemctl.calls().size();
    EXPECT_GT(showCalls, 0u);
    reader.snapshot();
    now += 9s;
    reader.snapshot();
    EXPECT_EQ(statusCalls(), 2u);
    EXPECT_EQ(systemctl.calls().size(), showCalls);

    now += 1s;
    reader.snapshot();
    EXPECT_EQ(statusCalls(), 3u);
    EXPECT_EQ(systemctl.calls().size(), 2 * showCalls);

    // Touching the file without changing it is a change, and a reload asks
    // afresh for the passenger data too.
    std::filesystem::last_write_time(file, std::filesystem::last_write_time(file) + 1s);
    reader.snapshot();
    EXPECT_EQ(statusCalls(), 5u);
}

TEST_F(VornReaderTest, AnotherEventFileDropsTheTailAndInvalidateRereadsIt) {
    writeConfig();
    appendEvents(eventLine(R"("cycle":"c1","step":"poll")"));
    appendEvents(eventLine(R"("cycle":"other","step":"merge")"), "moved/events.jsonl");
    VornReader reader = makeReader();
    EXPECT_EQ(reader.snapshot().cycle->cycle, "c1");
    appendEvents(eventLine(R"("cycle":"c2","step":"select")"));
    EXPECT_EQ(reader.snapshot().recent.size(), 2u);

    writeConfig("moved");
    const VornSnapshot moved = reader.snapshot();
    EXPECT_EQ(moved.cycle->cycle, "other");
    EXPECT_EQ(moved.recent.size(), 1u);

    // A tail that was dropped seeds again, so a file rewritten in place is
    // read whole rather than from the old position.
    home.write("moved/events.jsonl", eventLine(R"("cycle":"rewritten","step":"poll")") +
                                         eventLine(R"("cycle":"rewritten","step":"agent")"));
    reader.invalidate();
    EXPECT_EQ(reader.snapshot().recent.size(), 2u);
}

TEST_F(VornReaderTest, OnlyALiveLockMakesAWorkerAndIdleHasNone) {
    writeConfig();
    appendEvents(eventLine(R"("cycle":"c1","route":"acme/web","step":"agent","role":"dev")"));
    for (const std::string_view contents : {"999999999", "0", "-5", "abc", ""}) {
        holdLock("dev", contents);
        const VornSnapshot snapshot = makeReader().snapshot();
        EXPECT_FALSE(snapshot.runningPid) << contents;
        EXPECT_TRUE(snapshot.workers.empty()) << contents;
    }
    LiveProcess process;
    holdLock("dev", " " + std::to_string(process.id()) + "\n");
    VornReader reader = makeReader();
    VornSnapshot snapshot = reader.snapshot();
    EXPECT_EQ(snapshot.runningPid, process.id());
    ASSERT_EQ(snapshot.workers.size(), 1u);
    EXPECT_EQ(snapshot.roles.front().activity, RoleStatus::Activity::running);

    appendEvents(eventLine(R"("cycle":"c1","route":"acme/web","step":"idle","role":"dev")"));
    snapshot = reader.snapshot();
    EXPECT_EQ(snapshot.runningPid, process.id());
    EXPECT_TRUE(snapshot.workers.empty());
}

TEST(VornReaderWorkers, ATicketFindsItsWorktreeByTheNumberAfterTheLastDash) {
    TempDir home;
    ASSERT_NO_FATAL_FAILURE(testing::makeRepository(home / "web"));
    ASSERT_NO_FATAL_FAILURE(testing::addWorktree(home / "web", home / "web-issue-12"));
    VornConfig config;
    VornRoute route;
    route.name = "acme/web";
    route.repos.push_back(VornRepo{.name = "web", .dir = home / "web"});
    config.routes.push_back(route);
    config.seats.push_back({VornRole::qa, "Quinn", "Quinn the Tester"});
    CycleState cycle{.cycle = "c1",
                     .route = "acme/web",
                     .step = VornStep::agent,
                     .role = VornRole::qa,
                     .ticket = "ISSUE-12"};

    auto workers = VornReader::workers(cycle, config, 42);
    ASSERT_EQ(workers.size(), 1u);
    EXPECT_EQ(workers[0].repo, "web");
    EXPECT_EQ(workers[0].worktree, (home / "web-issue-12").string());
    EXPECT_EQ(workers[0].seatName, "Quinn");

    cycle.ticket = "12";
    workers = VornReader::workers(cycle, config, 42);
    ASSERT_EQ(workers.size(), 1u);
    EXPECT_FALSE(workers[0].worktree);
}

TEST(VornReaderRecentWindow, HookBurstsCannotPushOutTheStory) {
    std::vector<VornEvent> events;
    for (int index = 0; index < 310; ++index) {
        VornEvent event;
        event.id = index;
        if (index >= 10) event.hook = "test";
        events.push_back(event);
    }
    const auto recent = VornReader::recentWindow(events, 200);
    ASSERT_EQ(recent.size(), 210u);
    EXPECT_EQ(recent[9].id, 9);
    EXPECT_EQ(recent[10].id, 110);
    EXPECT_EQ(recent.back().id, 309);
}

TEST_F(VornReaderTest, TheAgentsDetailFollowsTheRunningCycleOnly) {
    writeConfig();
    LiveProcess process;
    holdLock("qa", std::to_string(process.id()));
    appendEvents(eventLine(R"("cycle":"c1","route":"acme","step":"agent","role":"qa")"));
    appendEvents(eventLine(R"("message":"thinking")"), "state/streams/acme-qa-c1.events.jsonl");
    appendEvents(eventLine(R"("message":"next")"), "state/streams/acme-qa-c2.events.jsonl");
    VornReader reader = makeReader();
    EXPECT_EQ(reader.snapshot().agentDetail.size(), 1u);
    appendEvents(eventLine(R"("message":"more")"), "state/streams/acme-qa-c1.events.jsonl");
    EXPECT_EQ(reader.snapshot().agentDetail.size(), 2u);

    appendEvents(eventLine(R"("cycle":"c2","route":"acme","step":"agent","role":"qa")"));
    EXPECT_EQ(reader.snapshot().agentDetail.size(), 1u);
    appendEvents(eventLine(R"("cycle":"c2","route":"acme","step":"idle","role":"qa")"));
    holdLock("qa", "");
    EXPECT_TRUE(reader.snapshot().agentDetail.empty());
}

TEST_F(VornReaderTest, MarkersAndTheWatermarkAreReadFromTheStateFolder) {
    writeConfig();
    home.write("state/.vorn-paused", "");
    home.write("state/.role-paused-triage", "");
    home.write("state/.poll-watermark", " 2026-03-04T05:06:07Z\n");
    VornReader reader = makeReader();
    VornSnapshot snapshot = reader.snapshot();
    EXPECT_TRUE(snapshot.vornPaused);
    EXPECT_FALSE(snapshot.releasePaused);
    EXPECT_TRUE(snapshot.roles[3].paused);
    EXPECT_FALSE(snapshot.roles[0].paused);
    EXPECT_EQ(snapshot.watermark,
              std::chrono::sys_days(std::chrono::year{2026} / 3 / 4) + 5h + 6min + 7s);

    home.write("state/.poll-watermark", "yesterday");
    EXPECT_FALSE(reader.snapshot().watermark);
}

}  // namespace
}  // namespace vorn
