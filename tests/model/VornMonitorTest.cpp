#include <gtest/gtest.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QDateTime>
#include <QElapsedTimer>
#include <QProcess>
#include <QTimer>
#include <atomic>
#include <csignal>
#include <fstream>
#include <iterator>

#include "common/EventLoop.h"
#include "common/FakeTool.h"
#include "common/MemoryPreferenceStore.h"
#include "common/RecordingNotifier.h"
#include "common/Script.h"
#include "common/TempDir.h"
#include "model/Background.h"
#include "model/VornMonitor.h"
#include "platform/LaunchctlManager.h"
#include "service/Diagnostics.h"

namespace vorn {
namespace {

using namespace std::chrono_literals;
using testing::FakeTool;
using testing::TempDir;
using testing::turnFor;
using testing::turnUntil;

const Timestamp kLaunch = std::chrono::sys_days(std::chrono::year(2026) / 3 / 2) + 9h;

std::string isoDate(Timestamp at) {
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(at.time_since_epoch()).count();
    return QDateTime::fromMSecsSinceEpoch(milliseconds, Qt::UTC)
        .toString(Qt::ISODateWithMs)
        .toStdString();
}

// One line of the event log at `at`, with the other members as written.
std::string event(Timestamp at, std::string_view members) {
    return R"({"at":")" + isoDate(at) + R"(",)" + std::string(members) + "}\n";
}

// A scheduler whose answers a test sets through the files of `control`
// beside its folder. It logs each call, sleeps for the seconds in `delay`,
// prints `status.json` for its status, and fails `poll` while `poll-fails`
// exists; a `poll` that succeeds makes `after-poll.json` the status.
constexpr std::string_view kScheduler = R"sh(#!/bin/sh
control="$(dirname "$0")/../control"
echo "$*" >> "$control/calls"
[ -e "$control/delay" ] && sleep "$(cat "$control/delay")"
case "$1" in
  --version) echo 1.4.2 ;;
  status) cat "$control/status.json" ;;
  poll)
    if [ -e "$control/poll-fails" ]; then echo 'poll refused: offline' >&2; exit 1; fi
    [ -e "$control/after-poll.json" ] && mv "$control/after-poll.json" "$control/status.json"
    echo polled ;;
  pause) echo 'pause refused: the lock is held' >&2; exit 1 ;;
  *) echo ok ;;
esac
)sh";

// A machine of the test's own: a home with vorn.yaml, the state folder it
// names, a service manager that answers through a recording stand-in, and
// optionally the scheduler above.
class MonitorBench {
  public:
    explicit MonitorBench(bool runTimerLoaded = false) {
        root.write("home/.config/vorn/vorn.yaml",
                   "ship:\n  name: Nautilus\n  stateDir: " + state().string() +
                       "\nroutes:\n  - route: acme/web\n    enabled: true\n");
        std::filesystem::create_directories(state());
        if (runTimerLoaded) {
            launchctl.on("print", {"state = not running\n", "", 0});
        } else {
            launchctl.on("print", {"", "Could not find service \"com.pelorinth.vorn\"\n", 113});
        }
    }

    ~MonitorBench() {
        // Passes still awaiting a worker end once it is done.
        monitor.reset();
        Background::blockingPool().waitForDone();
        turnFor(50ms);
    }

    std::filesystem::path home() const { return root / "home"; }
    std::filesystem::path state() const { return root / "state"; }
    std::filesystem::path control() const { return root / "control"; }

    void appendEvents(const std::vector<std::string>& lines) const {
        std::ofstream log(state() / "events.jsonl", std::ios::app);
        for (const std::string& line : lines)
            log << line;
    }

    // A scheduler the preferences point to; see `kScheduler`.
    void installScheduler() {
        testing::writeScript(root / "bin/vorn", kScheduler);
        std::filesystem::create_directories(control());
        preferences.setVornCommandPath((root / "bin/vorn").string());
    }

    // How many calls of the scheduler began with `word`.
    int calls(std::string_view word) const {
        std::ifstream log(control() / "calls");
        int count = 0;
        for (std::string line; std::getline(log, line);) {
            if (line == word || line.starts_with(std::string(word) + " ")) ++count;
        }
        return count;
    }

    std::string statusDocument(std::string_view shipName, std::string_view members) const {
        return R"({"version":1,"ship":{"name":")" + std::string(shipName) + R"(","stateDir":")" +
               state().string() + R"("},"route":{"name":"acme/web","enabled":true},)" +
               std::string(members) + "}";
    }

    VornMonitor::Options options() {
        VornMonitor::Options options;
        const Environment environment{{"HOME", home().string()}, {"PATH", "/usr/bin:/bin"}};
        options.reader.discovery.home = home();
        options.reader.discovery.environment = environment;
        options.reader.serviceManager = manager;
        options.reader.now = [this] { return now(); };
        options.home = home();
        options.environment = environment;
        options.update.architecture = "x86_64";
        options.update.fetch =
            [this](const std::string&) -> Expected<QByteArray, VornUpdater::Failure> {
            ++fetches;
            return Unexpected(VornUpdater::Failure{VornUpdater::Failure::Download{"offline"}});
        };
        options.shortTime = [](Timestamp) { return std::string("09:00"); };
        options.intervals = {20ms, 20ms, 20ms};
        return options;
    }

    VornMonitor& make() {
        monitor = std::make_unique<VornMonitor>(options(), preferences, notifier);
        return *monitor;
    }

    // A monitor whose ticker runs, once its first pass is done.
    VornMonitor& start() {
        make().start();
        EXPECT_TRUE(turnUntil([this] { return monitor->hasLoaded(); }));
        return *monitor;
    }

    Timestamp now() const { return kLaunch + std::chrono::seconds(clockSeconds.load()); }
    // Lets the reader's ten-second caches of the timers and the status run out.
    void outlastCaches() { clockSeconds += 11; }

    const std::vector<testing::RecordingNotifier::Posted>& posted() const {
        return notifier.posted;
    }

    int argc = 1;
    char name[5] = "test";
    char* argv[2] = {name, nullptr};
    QCoreApplication application{argc, argv};
    TempDir root;
    std::atomic<std::int64_t> clockSeconds{0};
    std::atomic<int> fetches{0};
    testing::MemoryPreferenceStore store;
    Preferences preferences{store, [this] { return now(); }, root / "home"};
    testing::RecordingNotifier notifier;
    DiagnosticsLog diagnostics{root / "Vorn.log", true};
    Diagnostics::Redirect redirect{diagnostics};
    FakeTool launchctl{root.path(), "launchctl"};
    std::shared_ptr<const ServiceManager> manager =
        std::make_shared<LaunchctlManager>(launchctl.path(), getuid());
    std::unique_ptr<VornMonitor> monitor;
};

TEST(VornMonitor, InterruptingTheCycleEndsItsRunAndTheReleaseIsAnnouncedOnce) {
    MonitorBench bench;
    bench.preferences.setNotifyOnRelease(true);
    // The scheduler's running cycle.
    QProcess run;
    run.start("/bin/sleep", {"60"});
    ASSERT_TRUE(run.waitForStarted());
    bench.root.write("state/.vorn-role-dev.lock", std::to_string(run.processId()) + "\n");
    bench.appendEvents({
        event(kLaunch - 30s, R"("cycle":"c1","route":"acme/web","step":"poll","message":"poll")"),
        event(
            kLaunch - 20s,
            R"("cycle":"c1","route":"acme/web","step":"worktree","role":"dev","ticket":"ENG-1","message":"worktree")"),
    });
    VornMonitor& monitor = bench.start();
    ASSERT_TRUE(turnUntil([&] { return monitor.snapshot().runningPid == run.processId(); }));

    bench.appendEvents({
        event(
            kLaunch - 10s,
            R"("cycle":"c1","route":"acme/web","step":"release","role":"dev","ticket":"ENG-1","message":"ENG-1 released to main")"),
        event(kLaunch - 9s, R"("cycle":"c1","route":"acme/web","step":"idle","message":"idle")"),
    });
    // Nothing is announced while the run still lives.
    turnFor(100ms);
    EXPECT_TRUE(bench.posted().empty());

    QCoro::waitFor(monitor.stopCurrentCycle());
    ASSERT_TRUE(turnUntil([&] { return run.state() == QProcess::NotRunning; }));
    EXPECT_EQ(run.exitStatus(), QProcess::CrashExit);
    EXPECT_EQ(run.exitCode(), SIGINT);
    ASSERT_TRUE(turnUntil([&] { return !bench.posted().empty(); }));
    turnFor(200ms);
    ASSERT_EQ(bench.posted().size(), 1u);
    EXPECT_EQ(bench.posted()[0].title, "Vorn: released");
    EXPECT_EQ(bench.posted()[0].body, "ENG-1 released to main");
    EXPECT_EQ(bench.posted()[0].url, std::nullopt);
    EXPECT_FALSE(monitor.snapshot().runningPid);
}

TEST(VornMonitor, ErrorsAndAttentionFromBeforeTheFirstLaunchFillRowsButAnnounceNothing) {
    MonitorBench bench;
    bench.appendEvents({
        event(kLaunch - 120s,
              R"("cycle":"c0","step":"poll","level":"error","message":"poll failed: HTTP 500")"),
        event(
            kLaunch - 60s,
            R"("cycle":"c0","step":"sweep","ticket":"ENG-3","message":"sweep","data":{"attention":["answer"]})"),
    });
    VornMonitor& monitor = bench.start();
    ASSERT_EQ(monitor.errorGroups().size(), 1u);
    EXPECT_EQ(monitor.errorGroups()[0].key, "poll failed");
    turnFor(100ms);
    EXPECT_TRUE(bench.posted().empty());

    bench.appendEvents({
        event(
            kLaunch + 5s,
            R"("cycle":"c1","step":"reconcile","level":"error","message":"reconcile failed: merge conflict in app.ts")"),
        event(
            kLaunch + 6s,
            R"("cycle":"c1","step":"sweep","ticket":"ENG-7","message":"sweep","data":{"attention":["review","answer"],"title":"Dark mode","url":"https://example.com/ENG-7"})"),
    });
    ASSERT_TRUE(turnUntil([&] { return bench.posted().size() >= 2; }));
    turnFor(100ms);
    ASSERT_EQ(bench.posted().size(), 2u);
    EXPECT_EQ(bench.posted()[0], (testing::RecordingNotifier::Posted{
                                     "error|reconcile failed", "Vorn: reconcile failed",
                                     "merge conflict in app.ts", std::nullopt}));
    EXPECT_EQ(bench.posted()[1].title, "ENG-7 needs you: review, answer");
    EXPECT_EQ(bench.posted()[1].body, "Dark mode");
    EXPECT_EQ(bench.posted()[1].url, "https://example.com/ENG-7");
    EXPECT_EQ(bench.preferences.attentionNotifiedThrough(), kLaunch + 6s);

    ASSERT_EQ(monitor.errorGroups().size(), 2u);
    EXPECT_EQ(monitor.errorGroups()[0].key, "reconcile failed");  // the newest first
}

TEST(VornMonitor, AShipNameDisagreementIsReconciledOnceAndTheAdoptedNameIsNoticed) {
    MonitorBench bench;
    bench.installScheduler();
    const std::string since = isoDate(kLaunch - 60s);
    bench.root.write(
        "control/status.json",
        bench.statusDocument("Nautilus", R"("nameDrift":"row","rowName":"Kestrel",)"
                                         R"("attention":[{"kind":"disk_low","key":"/",)"
                                         R"("message":"2 GB left","since":")" +
                                             since + R"("}])"));
    bench.root.write("control/poll-fails", "");
    VornMonitor& monitor = bench.make();
    for (int pass = 0; pass < 3; ++pass) {
        QCoro::waitFor(monitor.refresh());
        bench.outlastCaches();
    }
    // The failed poll is not retried while the disagreement stays the same.
    EXPECT_EQ(bench.calls("poll"), 1);
    EXPECT_FALSE(monitor.shipNameNotice());
    ASSERT_EQ(bench.posted().size(), 1u);
    EXPECT_EQ(bench.posted()[0].title, "Ship needs attention: Disk low");
    EXPECT_EQ(bench.posted()[0].body, "2 GB left");

    // Both sides moved: the workspace's name wins over the local change.
    std::filesystem::remove(bench.control() / "poll-fails");
    bench.root.write("control/status.json",
                     bench.statusDocument("Nautilus", R"("nameDrift":"both","rowName":"Osprey")"));
    bench.root.write("control/after-poll.json",
                     bench.statusDocument("Osprey", R"("nameDrift":"none")"));
    for (int pass = 0; pass < 3; ++pass) {
        QCoro::waitFor(monitor.refresh());
        bench.outlastCaches();
    }
    EXPECT_EQ(bench.calls("poll"), 2);
    const std::string notice =
        "This ship is now called Osprey \u2014 renamed in the Ships table. Your local change to "
        "\u201cNautilus\u201d was replaced.";
    EXPECT_EQ(monitor.shipNameNotice(), notice);
    EXPECT_EQ(bench.preferences.shipNameNotice(), notice);
    EXPECT_EQ(monitor.snapshot().config->ship.name, "Osprey");
    EXPECT_EQ(bench.posted().size(), 1u);

    // One health check for one installation; none of the update service for
    // a scheduler that isn't the built-in one.
    EXPECT_EQ(bench.calls("--version"), 1);
    EXPECT_EQ(monitor.vornVersion(), "1.4.2");
    EXPECT_EQ(bench.fetches, 0);
}

TEST(VornMonitor, AFailedActionLeavesItsOwnWordsAndTheNextActionClearsThem) {
    MonitorBench bench(/*runTimerLoaded=*/true);
    bench.installScheduler();
    VornMonitor& monitor = bench.make();
    QCoro::waitFor(monitor.refresh());
    int busyChanges = 0;
    QObject::connect(&monitor, &VornMonitor::busyChanged, [&] { ++busyChanges; });

    QCoro::waitFor(monitor.setVornPaused(true));
    EXPECT_EQ(monitor.lastActionError(), "pause refused: the lock is held");
    EXPECT_FALSE(monitor.busy());
    EXPECT_EQ(busyChanges, 2);

    QCoro::waitFor(monitor.resumeReleases());
    EXPECT_EQ(monitor.lastActionError(), std::nullopt);
    EXPECT_EQ(bench.calls("resume"), 1);

    // A loaded run timer is fired rather than a cycle run here, and its
    // refusal is what a person reads.
    bench.launchctl.on("kickstart",
                       {"", "Could not kickstart service: 5: Input/output error\n", 5});
    QCoro::waitFor(monitor.runCycleNow());
    EXPECT_EQ(monitor.lastActionError(), "Could not kickstart service: 5: Input/output error");
    EXPECT_EQ(bench.calls("run"), 0);
}

TEST(VornMonitor, TheMainThreadKeepsTurningWhileTheSchedulersCommandsTakeSeconds) {
    MonitorBench bench;
    bench.installScheduler();
    bench.root.write("control/delay", "2");
    bench.root.write("control/status.json", bench.statusDocument("Nautilus", R"("passenger":{})"));

    QElapsedTimer sinceTick;
    qint64 longestGap = 0;
    QTimer ticking;
    QObject::connect(&ticking, &QTimer::timeout,
                     [&] { longestGap = std::max(longestGap, sinceTick.restart()); });
    sinceTick.start();
    ticking.start(10);

    QElapsedTimer whole;
    whole.start();
    VornMonitor& monitor = bench.make();
    monitor.start();
    QCoro::waitFor(monitor.runCycleNow());
    ASSERT_TRUE(turnUntil([&] { return monitor.hasLoaded(); }, 60s));

    EXPECT_EQ(bench.calls("run"), 1);
    EXPECT_GE(bench.calls("status"), 2);
    // Each command slept two seconds; the main thread never waited for one.
    EXPECT_GE(whole.elapsed(), 6000);
    EXPECT_LT(longestGap, 1000);
}

TEST(VornMonitor, AnIdleMonitorPublishesNothing) {
    MonitorBench bench;
    bench.appendEvents({
        event(kLaunch - 30s, R"("cycle":"c1","route":"acme/web","step":"poll","message":"poll")"),
        event(
            kLaunch - 20s,
            R"("cycle":"c1","route":"acme/web","step":"idle","level":"error","message":"poll failed: 502")"),
    });
    VornMonitor& monitor = bench.start();
    int changes = 0;
    const auto count = [&] { ++changes; };
    for (auto changed : {&VornMonitor::snapshotChanged, &VornMonitor::installationChanged,
                         &VornMonitor::hasLoadedChanged, &VornMonitor::lastActionErrorChanged,
                         &VornMonitor::busyChanged, &VornMonitor::vornHealthChanged,
                         &VornMonitor::bundledStatusChanged, &VornMonitor::shipNameNoticeChanged,
                         &VornMonitor::menuIsOpenChanged, &VornMonitor::errorGroupsChanged}) {
        QObject::connect(&monitor, changed, count);
    }

    bench.diagnostics.waitUntilWritten();
    const auto passes = [&] {
        std::ifstream log(bench.root / "Vorn.log");
        const std::string text(std::istreambuf_iterator<char>(log), {});
        int found = 0;
        for (auto at = text.find("snapshot: status done"); at != std::string::npos;
             at = text.find("snapshot: status done", at + 1)) {
            ++found;
        }
        return found;
    };
    const int before = passes();
    turnFor(300ms);
    bench.diagnostics.waitUntilWritten();
    EXPECT_GE(passes() - before, 5);
    EXPECT_EQ(changes, 0);
    EXPECT_EQ(monitor.errorGroups().size(), 1u);
}

}  // namespace
}  // namespace vorn
