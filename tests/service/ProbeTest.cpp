#include <gtest/gtest.h>

#include <cstdlib>

#include "common/Git.h"
#include "common/LiveProcess.h"
#include "common/PlistFile.h"
#include "common/Script.h"
#include "common/TempDir.h"
#include "platform/SystemdUserManager.h"
#include "service/BundledVorn.h"
#include "service/Probe.h"

namespace vorn {
namespace {

using testing::LiveProcess;
using testing::makeExecutable;
using testing::TempDir;
using testing::writeLaunchAgentPlist;
using testing::writeScript;

// A service manager that has never heard of the scheduler's jobs, as on a
// machine where the scheduler installed property lists only.
std::shared_ptr<const ServiceManager> managerThatKnowsNoUnit(const TempDir& home) {
    const auto systemctl = writeScript(home / "fake/systemctl", "#!/bin/sh\nexit 1\n");
    return std::make_shared<SystemdUserManager>(systemctl);
}

VornReader::Options optionsFor(const TempDir& home) {
    VornReader::Options options;
    options.discovery = {std::nullopt, std::nullopt, home.path(), {{"PATH", "/usr/bin"}}};
    options.serviceManager = managerThatKnowsNoUnit(home);
    return options;
}

std::string builtInLines() {
    return "built-in     none in this build\n"
           "  installed  not installed\n"
           "  last install not recorded yet\n";
}

std::string installationLines(const std::string& configLine) {
    return configLine +
           "executable   NOT FOUND\n"
           "interpreter  (none \u2014 will use the shebang)\n"
           "launchd run     (no plist installed)\n"
           "launchd release (no plist installed)\n";
}

TEST(ProbeReport, UnconfiguredMachineEndsAtTheLaunchdLinesOnStandardOutput) {
    TempDir home;
    const ProbeReport report = Probe::run(optionsFor(home));
    EXPECT_EQ(report.status, 0);
    EXPECT_EQ(report.destination, ProbeReport::Destination::standardOutput);
    EXPECT_EQ(report.text, builtInLines() + installationLines(
                                                "config       not yet, will be written at " +
                                                (home / ".config/vorn/vorn.yaml").string() + "\n"));
}

TEST(ProbeReport, MalformedConfigurationGoesToStandardErrorUpToTheErrorLine) {
    TempDir home;
    const auto file = home.write(".config/vorn/vorn.yaml", "ship:\n  a: 1\n b: 2\n");
    const ProbeReport report = Probe::run(optionsFor(home));
    EXPECT_EQ(report.status, 1);
    EXPECT_EQ(report.destination, ProbeReport::Destination::standardError);
    EXPECT_EQ(report.text, builtInLines() +
                               installationLines("config       " + file.string() + "\n") +
                               "ERROR        vorn.yaml could not be read \u2014 line 3: unexpected "
                               "indentation\n");
}

TEST(ProbeReport, ConfiguredMachineListsShipAndRoutes) {
    TempDir home;
    const auto file = home.write(".config/vorn/vorn.yaml",
                                 "ship:\n  name: Nautilus\n  stateDir: /var/s\n"
                                 "routes:\n  - route: acme/web\n    enabled: yes\n    repos:\n"
                                 "      web: /src/web\n      a-very-long-repo-nm: /src/long\n"
                                 "  - route: beta\n");
    const ProbeReport report = Probe::run(optionsFor(home));
    EXPECT_EQ(report.status, 0);
    EXPECT_EQ(report.destination, ProbeReport::Destination::standardOutput);
    EXPECT_EQ(report.text, builtInLines() +
                               installationLines("config       " + file.string() + "\n") +
                               "structure    parsed vorn.yaml \u2014 bin/vorn was not found\n"
                               "ship         Nautilus (macos)\n"
                               "state        /var/s\n"
                               "events       /var/s/events.jsonl\n"
                               "log          /tmp/vorn.log\n"
                               "route        acme/web \u2014 enabled workspace=acme\n"
                               "               repo web            /src/web\n"
                               "               repo a-very-long-repo-nm /src/long\n"
                               "route        beta \u2014 DISABLED workspace=beta\n"
                               "\nvorn         active\n"
                               "running      no cycle holding the lock\n"
                               "run timer     com.pelorinth.vorn installed=false loaded=false\n"
                               "release timer com.pelorinth.vorn-release installed=false "
                               "loaded=false\n"
                               "watermark    none\n"
                               "health       stopped \u2014 Timer off\n"
                               "\nseats\n"
                               "  dev      idle\n"
                               "  design   idle\n"
                               "  qa       idle\n"
                               "  triage   idle\n"
                               "\nworkers      none\n"
                               "\nworktrees (acme/web) 0\n"
                               "\nworktrees (beta) 0\n"
                               "\nrecent events 0 buffered\n");
}

TEST(ProbeReport, WorktreesHeadingCountsAllWhileTwelveAreListed) {
    TempDir home;
    const auto web = home / "src/web";
    ASSERT_NO_FATAL_FAILURE(testing::makeRepository(web));
    for (int ticket = 1; ticket <= 13; ++ticket) {
        ASSERT_NO_FATAL_FAILURE(
            testing::addWorktree(web, home / ("src/web-issue-" + std::to_string(ticket))));
    }
    home.write(".config/vorn/vorn.yaml",
               "ship:\n  name: N\nroutes:\n  - route: acme/web\n"
               "    repos:\n      web: " +
                   web.string() + "\n  - route: empty\n");
    const ProbeReport report = Probe::run(optionsFor(home));
    ASSERT_EQ(report.status, 0);

    std::string listed;
    // By ticket, not by folder name: 10 to 12 follow 9, and 13 is left out.
    for (int ticket = 1; ticket <= 12; ++ticket) {
        listed += "  ISSUE-" + std::to_string(ticket) + " web " +
                  (home / ("src/web-issue-" + std::to_string(ticket))).string() + "\n";
    }
    EXPECT_TRUE(report.text.ends_with("\nworktrees (acme/web) 13\n" + listed +
                                      "\nworktrees (empty) 0\n" + "\nrecent events 0 buffered\n"))
        << report.text;
}

TEST(ProbeReport, TheLastInstallLineCarriesTheStoredSummary) {
    TempDir home;
    const ProbeReport report =
        Probe::run(optionsFor(home), {.lastInstallSummary = "installed 1.3.2 (replaced nothing)"});
    EXPECT_TRUE(
        report.text.starts_with("built-in     none in this build\n"
                                "  installed  not installed\n"
                                "  last install installed 1.3.2 (replaced nothing)\n"))
        << report.text;
}

TEST(ProbeReport, LabelsPadToThirteenColumns) {
    EXPECT_EQ(Probe::line("state", "x"), "state        x\n");
    EXPECT_EQ(Probe::line("", ""), "             \n");
    EXPECT_EQ(Probe::line("thirteen-char", "x"), "thirteen-charx\n");
}

TEST(ProbeReport, InstallationBlockShowsTheTimersExecutableInterpreterAndAgents) {
    TempDir home;
    const auto node = makeExecutable(home / "usr/bin/node");
    const auto vorn = makeExecutable(home / "opt/vorn/bin/vorn");
    const auto run = home / "Library/LaunchAgents/com.pelorinth.vorn.0badcafe.plist";
    const auto release = home / "Library/LaunchAgents/com.pelorinth.vorn-release.0badcafe.plist";
    writeLaunchAgentPlist(run, "com.pelorinth.vorn.0badcafe",
                          {node.string(), vorn.string(), "run"});
    writeLaunchAgentPlist(release, "com.pelorinth.vorn-release.0badcafe", {vorn.string()}, 60,
                          true);
    const std::string text = Probe::run(optionsFor(home)).text;
    EXPECT_NE(text.find("executable   " + vorn.string() +
                        " (from the installed timer)\n"
                        "vorn         installed but reports no version\n"
                        "interpreter  " +
                        node.string() +
                        "\n"
                        "launchd run     " +
                        run.string() +
                        "\n"
                        "launchd release " +
                        release.string() + "\n"),
              std::string::npos)
        << text;
}

TEST(ProbeReport, TheVornLineAsksTheExecutable) {
    TempDir home;
    const auto vorn = writeScript(home / "opt/vorn/bin/vorn",
                                  "#!/bin/sh\n[ \"$1\" = --version ] && echo 1.4.2\n");
    VornReader::Options options = optionsFor(home);
    options.discovery.vornCommandOverride = vorn;
    const std::string text = Probe::run(options).text;
    EXPECT_NE(text.find("executable   " + vorn.string() +
                        " (set by you)\n"
                        "vorn         1.4.2 (vorn --version)\n"
                        "interpreter  "),
              std::string::npos)
        << text;

    writeScript(vorn, "#!/bin/sh\necho 'no such flag' >&2\nexit 64\n");
    EXPECT_NE(Probe::run(options).text.find(
                  "vorn         installed but does not run (exit 64: no such flag)\n"),
              std::string::npos);
}

TEST(ProbeReport, TheBuiltInBlockReadsThePayloadAndTheUnpackedCopy) {
    TempDir home;
    TempDir resources;
    const std::string architecture(BundledVorn::buildArchitecture);
    writeScript(resources / (architecture + "/vorn"), "#!/bin/sh\n");
    resources.write(architecture + "/VERSION", "1.3.0\n");
    const auto installed = BundledVorn::defaultInstallDirectory(home.path());
    home.write("Library/Application Support/Vorn/vorn/VERSION", " 1.2.0 ");
    EXPECT_TRUE(Probe::run(optionsFor(home), {.resources = resources.path()})
                    .text.starts_with("built-in     v1.3.0 (" + architecture +
                                      ")\n"
                                      "  installed  v1.2.0 at " +
                                      installed.string() +
                                      "\n"
                                      "  last install not recorded yet\n"));

    // A payload without a version, or a version without a payload, is none.
    resources.write(architecture + "/VERSION", "\n");
    std::filesystem::remove(installed / "VERSION");
    EXPECT_TRUE(Probe::run(optionsFor(home), {.resources = resources.path()})
                    .text.starts_with(builtInLines()));
    resources.write(architecture + "/VERSION", "1.3.0");
    std::filesystem::remove(resources / (architecture + "/vorn"));
    EXPECT_TRUE(Probe::run(optionsFor(home), {.resources = resources.path()})
                    .text.starts_with(builtInLines()));
}

// Local clock times are those of a zone half an hour off UTC, so a clock
// printed in UTC by mistake shows.
class ProbeInAnotherZone : public ::testing::Test {
  protected:
    void SetUp() override {
        const char* zone = std::getenv("TZ");
        if (zone) savedZone = zone;
        setenv("TZ", "IST-5:30", 1);
        tzset();
    }
    void TearDown() override {
        if (savedZone) {
            setenv("TZ", savedZone->c_str(), 1);
        } else {
            unsetenv("TZ");
        }
        tzset();
    }

  private:
    std::optional<std::string> savedZone;
};

std::string event(std::string_view at, std::string_view fields) {
    return "{\"at\":\"2026-03-04T" + std::string(at) + "Z\",\"route\":\"acme/web\"," +
           std::string(fields) + "}\n";
}

TEST_F(ProbeInAnotherZone, AConfiguredMachineWithALiveWorkerPrintsTheWholeReport) {
    TempDir home;
    const auto web = home / "src/web";
    ASSERT_NO_FATAL_FAILURE(testing::makeRepository(web));
    ASSERT_NO_FATAL_FAILURE(testing::addWorktree(web, home / "src/web-issue-7"));
    const auto config = home.write(".config/vorn/vorn.yaml",
                                   "ship:\n  name: FromTheFile\nroutes:\n  - route: acme/web\n");
    const auto state = home / "state";
    const std::string document =
        R"({"version":1,"ship":{"name":"Nautilus","platform":"linux","stateDir":")" +
        state.string() +
        R"(","logFile":"/tmp/n.log"},"route":{"name":"acme/web","enabled":true,"repos":)" +
        R"([{"name":"web","dir":")" + web.string() +
        R"("}]},"vorn":{"seats":[{"role":"dev","name":"Ferris"}]}})";
    // Only the interpreter the timer names can run it: its own first line
    // names no program that exists.
    const auto vorn = writeScript(home / "opt/vorn/bin/vorn",
                                  "#!/nonexistent/sh\n"
                                  "case \"$1\" in\n"
                                  "  --version) echo 2.3.0 ;;\n"
                                  "  status) cat <<'EOF'\n" +
                                      document +
                                      "\nEOF\n ;;\n"
                                      "  *) exit 2 ;;\n"
                                      "esac\n");
    writeLaunchAgentPlist(home / "Library/LaunchAgents/com.pelorinth.vorn.plist",
                          "com.pelorinth.vorn", {"/bin/sh", vorn.string(), "run"}, 300);
    LiveProcess lock;
    home.write("state/.vorn-role-dev.lock", std::to_string(lock.id()) + "\n");
    home.write("state/.poll-watermark", "2026-03-04T05:00:00Z");
    home.write("state/events.jsonl",
               event("05:00:00", R"("cycle":"c-9","step":"poll","message":"polled")") +
                   event("05:00:01", R"("cycle":"c-9","step":"select","role":"dev",)"
                                     R"("ticket":"ISSUE-7","message":"picked",)"
                                     R"("data":{"rank":2,"pending":["qa","triage"]})") +
                   event("05:00:02", R"("cycle":"c-9","step":"worktree","role":"dev",)"
                                     R"("ticket":"ISSUE-7","level":"warn","message":"cut")") +
                   event("05:00:03", R"("cycle":"c-9","step":"agent","data":{"hook":"lint"},)"
                                     R"("message":"hook output")") +
                   event("05:06:07", R"("cycle":"c-9","step":"agent","role":"dev",)"
                                     R"("ticket":"ISSUE-7","message":"working")") +
                   event("05:06:08", R"("cycle":"c-9","step":"shipping","message":"odd")"));

    const ProbeReport report = Probe::run(optionsFor(home));
    ASSERT_EQ(report.status, 0) << report.text;
    const std::string expectedTail =
        "executable   " + vorn.string() +
        " (from the installed timer)\n"
        "vorn         2.3.0 (vorn --version)\n"
        "interpreter  /bin/sh\n"
        "launchd run     " +
        (home / "Library/LaunchAgents/com.pelorinth.vorn.plist").string() +
        "\n"
        "launchd release (no plist installed)\n"
        "structure    vorn status --json (v1)\n"
        "ship         Nautilus (linux)\n"
        "state        " +
        state.string() +
        "\n"
        "events       " +
        (state / "events.jsonl").string() +
        "\n"
        "log          /tmp/n.log\n"
        "route        acme/web \u2014 enabled workspace=acme\n"
        "               repo web            " +
        web.string() +
        "\n"
        "\nvorn         active\n"
        "running      pid " +
        std::to_string(lock.id()) +
        "\n"
        "run timer     com.pelorinth.vorn installed=true loaded=false every 300s\n"
        "release timer com.pelorinth.vorn-release installed=false loaded=false\n"
        "watermark    2026-03-04 05:00:00 +0000\n"
        "health       working \u2014 Ferris \u00B7 ISSUE-7\n"
        "\ncycle        c-9 on acme/web\n"
        "  step       \u2026\n"
        "  role       dev\n"
        "  ticket     ISSUE-7\n"
        "  pending    qa triage\n"
        "  rank       2\n"
        "  warn/err   1/0\n"
        "  started    2026-03-04 05:00:00 +0000  last 2026-03-04 05:06:08 +0000\n"
        "\nseats\n"
        "  dev      running rank 2\n"
        "  design   idle\n"
        "  qa       queued\n"
        "  triage   queued\n"
        "\nworkers      \n"
        "  Dev ISSUE-7 repo=web\n"
        "    worktree " +
        (home / "src/web-issue-7").string() +
        "\n"
        "\nworktrees (acme/web) 1\n"
        "  ISSUE-7 web " +
        (home / "src/web-issue-7").string() +
        "\n"
        "\nrecent events 6 buffered\n"
        "  10:30:00 poll  polled\n"
        "  10:30:01 select[dev] ISSUE-7 picked\n"
        "  10:30:02 worktree[dev] ISSUE-7 cut\n"
        "  10:36:07 agent[dev] ISSUE-7 working\n"
        "  10:36:08 \u2026  odd\n";
    EXPECT_EQ(report.text,
              builtInLines() + "config       " + config.string() + "\n" + expectedTail);
}

TEST(ProbeReport, TimerLinesPadTheirNameToFourteenColumnsAndShowWhatIsKnown) {
    EXPECT_EQ(Probe::timerLine("run timer",
                               {"com.pelorinth.vorn", false, false, std::nullopt, std::nullopt}),
              "run timer     com.pelorinth.vorn installed=false loaded=false\n");
    EXPECT_EQ(Probe::timerLine("release timer",
                               {"com.pelorinth.vorn-release.0badcafe", true, true, 86400, 0}),
              "release timer com.pelorinth.vorn-release.0badcafe installed=true loaded=true "
              "every 86400s lastExit=0\n");
    EXPECT_EQ(Probe::timerLine("run timer", {"x", true, false, std::nullopt, -9}),
              "run timer     x installed=true loaded=false lastExit=-9\n");
}

}  // namespace
}  // namespace vorn
