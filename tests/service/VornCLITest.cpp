#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/Script.h"
#include "common/ShellResultPrinter.h"
#include "common/TempDir.h"
#include "service/VornCLI.h"
#include "support/Text.h"
#include "support/TextFile.h"

namespace vorn {
namespace {

using testing::TempDir;
using testing::writeScript;

// Prints each argument in brackets, then what the scheduler is told of its
// surroundings.
constexpr std::string_view kEchoScript =
    "#!/bin/sh\n"
    "for argument; do printf '[%s]\\n' \"$argument\"; done\n"
    "echo \"PATH=$PATH\"\n"
    "echo \"VORN_CONFIG=$VORN_CONFIG\"\n"
    "echo \"PWD=$(pwd)\"\n";

// A scheduler with its `bin` folder, as a package manager lays it out.
struct Package {
    TempDir folder;
    std::filesystem::path executable;

    explicit Package(std::string_view script)
        : executable(writeScript(folder / "pkg/bin/vorn", script)) {}

    VornInstallation installation(ExecutableSource source = ExecutableSource::path) const {
        VornInstallation installation;
        installation.configFile = folder / "config/vorn.yaml";
        installation.executable = executable;
        installation.executableSource = source;
        return installation;
    }
    VornCLI cli(Environment environment = {{"PATH", "/usr/bin:/bin"}, {"HOME", "/nowhere"}}) const {
        return VornCLI(installation(), std::move(environment));
    }
    // Where a script may note how it was called.
    std::filesystem::path calls() const { return folder / "calls"; }
};

std::vector<std::string> lines(std::string_view text) {
    std::vector<std::string> result;
    for (const std::string_view line : Text::split(Text::trimWhitespace(text), '\n'))
        result.emplace_back(line);
    return result;
}

std::string descriptionOf(const auto& expected) {
    return expected ? std::string("(no failure)") : expected.error().description();
}

TEST(VornCLILaunch, ArgumentsReachTheChildExactlyAsGiven) {
    const Package package(kEchoScript);
    const std::vector<std::string> arguments{
        "two words", "\"double\"", "'single'", "$HOME", "a;b", "`id`", "*", "", "back\\slash"};
    const auto output = package.cli().run(arguments, 30);
    ASSERT_TRUE(output) << descriptionOf(output);
    const auto printed = lines(*output);
    const std::vector<std::string> expected{"[two words]", "[\"double\"]", "['single']",
                                            "[$HOME]",     "[a;b]",        "[`id`]",
                                            "[*]",         "[]",           "[back\\slash]"};
    EXPECT_EQ(std::vector<std::string>(printed.begin(), printed.begin() + 9), expected);
}

TEST(VornCLILaunch, ConfigurationWorkingFolderAndPathOfAPackage) {
    const Package package(kEchoScript);
    const auto output = package.cli().run({"status"}, 30);
    ASSERT_TRUE(output) << descriptionOf(output);
    EXPECT_EQ(lines(*output),
              (std::vector<std::string>{
                  "[status]", "PATH=" + (package.folder / "pkg/bin").string() + ":/usr/bin:/bin",
                  "VORN_CONFIG=" + (package.folder / "config/vorn.yaml").string(),
                  "PWD=" + (package.folder / "pkg").string()}));

    // With no PATH of its own, the process lends the child a minimal one.
    const auto bare = package.cli({{"HOME", "/nowhere"}}).run({}, 30);
    ASSERT_TRUE(bare) << descriptionOf(bare);
    EXPECT_EQ(lines(*bare)[0], "PATH=" + (package.folder / "pkg/bin").string() + ":/usr/bin:/bin");
}

TEST(VornCLILaunch, AnInterpreterRunsTheScriptWithTheSubcommandAfterIt) {
    const Package package(kEchoScript);
    // The interpreter in a folder of its own, as a person's node would be.
    const auto interpreter = package.folder / "node/bin/sh";
    std::filesystem::create_directories(interpreter.parent_path());
    std::filesystem::create_symlink("/bin/sh", interpreter);
    VornInstallation installation = package.installation(ExecutableSource::timer);
    installation.interpreter = interpreter;
    const VornCLI cli(installation, {{"PATH", "/usr/bin:/bin"}});

    const auto plan = cli.launchPlan({"run", "acme"});
    ASSERT_TRUE(plan) << descriptionOf(plan);
    EXPECT_EQ(plan->tool, interpreter);
    EXPECT_EQ(plan->arguments,
              (std::vector<std::string>{package.executable.string(), "run", "acme"}));

    const auto output = cli.run({"run", "acme"}, 30);
    ASSERT_TRUE(output) << descriptionOf(output);
    EXPECT_EQ(lines(*output)[0], "[run]");
    EXPECT_EQ(lines(*output)[2], "PATH=" + interpreter.parent_path().string() + ":/usr/bin:/bin");
}

TEST(VornCLILaunch, TheBuiltInCommandKeepsTheApplicationsPathUnlessAnInterpreterRunsIt) {
    TempDir folder;
    const auto executable = writeScript(folder / "builtin/vorn", kEchoScript);
    VornInstallation installation;
    installation.configFile = folder / "vorn.yaml";
    installation.executable = executable;
    installation.executableSource = ExecutableSource::bundled;
    const Environment environment{{"PATH", "/opt/app/bin:/usr/bin:/bin"}, {"KEPT", "yes"}};

    const auto plan = VornCLI(installation, environment).launchPlan({"poll"});
    ASSERT_TRUE(plan) << descriptionOf(plan);
    EXPECT_EQ(plan->tool, executable);
    EXPECT_EQ(plan->environment, (Environment{{"PATH", "/opt/app/bin:/usr/bin:/bin"},
                                              {"KEPT", "yes"},
                                              {"VORN_CONFIG", (folder / "vorn.yaml").string()}}));
    // The built-in copy runs in its own folder.
    const auto output = VornCLI(installation, environment).run({}, 30);
    ASSERT_TRUE(output) << descriptionOf(output);
    EXPECT_EQ(lines(*output)[2], "PWD=" + (folder / "builtin").string());

    installation.interpreter = "/bin/sh";
    const auto interpreted = VornCLI(installation, environment).launchPlan({"poll"});
    ASSERT_TRUE(interpreted) << descriptionOf(interpreted);
    EXPECT_EQ(interpreted->environment.at("PATH"), "/bin:/opt/app/bin:/usr/bin:/bin");
}

TEST(VornCLIRun, FailuresCarryTheCommandsOwnWords) {
    const Package package(
        "#!/bin/sh\n"
        "case \"$1\" in\n"
        "  loud) echo '  partly done  '; echo 'fatal: no route' >&2; exit 3 ;;\n"
        "  silent) exit 4 ;;\n"
        "  slow) exec sleep 30 ;;\n"
        "esac\n"
        "printf '  untrimmed\\n\\n'\n");
    const VornCLI cli = package.cli();
    EXPECT_EQ(cli.run({}, 30), "  untrimmed\n\n");
    EXPECT_EQ(descriptionOf(cli.run({"loud"}, 30)), "partly done\nfatal: no route");
    EXPECT_EQ(descriptionOf(cli.run({"silent"}, 30)), "exit 4");
    EXPECT_EQ(descriptionOf(cli.run({"slow"}, 1)), "timed out after 1 s");

    const auto result = cli.exec({"loud"}, 30);
    ASSERT_TRUE(result) << descriptionOf(result);
    EXPECT_EQ(*result, (ShellResult{3, "  partly done  \n", "fatal: no route\n"}));

    VornInstallation gone = package.installation();
    gone.executable = package.folder / "pkg/bin/missing";
    EXPECT_EQ(descriptionOf(VornCLI(gone, {}).run({}, 30)),
              "could not run " + gone.executable->string() + ": No such file or directory");
}

TEST(VornCLIRun, WithoutAnExecutableNothingRuns) {
    VornInstallation installation;
    installation.configFile = "/nowhere/vorn.yaml";
    installation.executableSource = ExecutableSource::userSet;
    const VornCLI cli(installation, {});
    const std::string notReady =
        "The vorn built into this app is not ready. Open Set Up Vorn to see why and retry, or set "
        "a vorn location in Settings.";
    EXPECT_EQ(descriptionOf(cli.launchPlan({})), notReady);
    EXPECT_EQ(descriptionOf(cli.exec({}, 30)), notReady);
    EXPECT_EQ(descriptionOf(cli.reload()), notReady);
    EXPECT_EQ(cli.health(), VornHealth{});
    EXPECT_EQ(cli.version(), std::nullopt);
}

TEST(VornCLIOperations, EachGivesItsCommandLineInOrder) {
    const Package package("#!/bin/sh\necho \"$*\"\n");
    const VornCLI cli = package.cli();
    const auto said = [](const Expected<std::string, VornCLI::Failure>& output) {
        return output ? std::string(Text::trimWhitespace(*output)) : output.error().description();
    };
    EXPECT_EQ(said(cli.reload()), "reload");
    EXPECT_EQ(said(cli.pause(std::nullopt, std::nullopt)), "pause");
    EXPECT_EQ(said(cli.pause(VornRole::qa, "acme/web")), "pause acme/web qa");
    EXPECT_EQ(said(cli.pause(VornRole::dev, std::nullopt)), "pause dev");
    EXPECT_EQ(said(cli.resume(VornRole::triage, "acme")), "resume acme triage");
    EXPECT_EQ(said(cli.resume(std::nullopt, "acme")), "resume acme");
    EXPECT_EQ(said(cli.resumeReleases("acme")), "resume acme release");
    EXPECT_EQ(said(cli.resumeReleases(std::nullopt)), "resume release");
    EXPECT_EQ(said(cli.runCycle("acme", VornRole::design)), "run acme --role design");
    EXPECT_EQ(said(cli.runCycle(std::nullopt, VornRole::dev)), "run --role dev");
    EXPECT_EQ(said(cli.runCycle("acme", std::nullopt)), "run acme");
    EXPECT_EQ(said(cli.poll("acme")), "poll acme");
    EXPECT_EQ(said(cli.doctor(std::nullopt)), "doctor");
    EXPECT_EQ(said(cli.install()), "install");
}

TEST(VornCLIOperations, ProjectsOfARouteAfterABanner) {
    const Package package(
        "#!/bin/sh\n"
        "echo \"$*\" >\"$(dirname \"$0\")/../../calls\"\n"
        "echo 'warning: token expires soon'\n"
        "echo '{\"routes\":[{\"route\":\"acme\",\"projects\":[{\"id\":\"p1\",\"name\":\"Web\","
        "\"issuePrefix\":\"WEB\",\"current\":true}]},{\"route\":\"empty\",\"projects\":[]}]}'\n");
    const VornCLI cli = package.cli();
    const auto projects = cli.projects("acme");
    ASSERT_TRUE(projects) << descriptionOf(projects);
    EXPECT_EQ(*projects, (std::vector<VornProjectChoice>{{"p1", "Web", "WEB", true}}));
    EXPECT_EQ(TextFile::read(package.calls()), "projects --route acme --json\n");

    EXPECT_EQ(cli.projects("empty"), std::vector<VornProjectChoice>{});
    EXPECT_EQ(descriptionOf(cli.projects("other")),
              "vorn projects printed something that is not a project list");
}

// A scheduler whose answers to `--version` and `--help` the test writes; it
// notes each question in `calls`.
Package answering(std::string_view versionAnswer, std::string_view helpAnswer) {
    return Package(
        "#!/bin/sh\n"
        "echo \"$1\" >>\"$(dirname \"$0\")/../../calls\"\n"
        "case \"$1\" in\n"
        "  --version) " +
        std::string(versionAnswer) +
        " ;;\n"
        "  --help) " +
        std::string(helpAnswer) +
        " ;;\n"
        "esac\n");
}

TEST(VornCLIHealth, AVersionAnsweredByTheBinary) {
    const Package package = answering("printf '\\n  v1.4.2-rc.1\\nbuilt today\\n'", "exit 9");
    const VornHealth health = package.cli().health();
    EXPECT_EQ(health, (VornHealth{"v1.4.2-rc.1", VornHealth::Source::binary, std::nullopt,
                                  "vorn --version"}));
    EXPECT_EQ(health.summary(), "v1.4.2-rc.1 (vorn --version)");
    EXPECT_TRUE(health.isReady());
    EXPECT_EQ(package.cli().version(), "v1.4.2-rc.1");
}

TEST(VornCLIHealth, UsageOnVersionLeavesTheFileVersionStanding) {
    const Package package = answering("echo 'Usage: vorn <command>'", "exit 9");
    package.folder.write("pkg/bin/VERSION", "1.3.0\n");
    const VornHealth health = package.cli().health();
    EXPECT_EQ(health, (VornHealth{"1.3.0", VornHealth::Source::versionFile, std::nullopt,
                                  "vorn --version"}));
    EXPECT_EQ(health.summary(), "1.3.0 (VERSION file, ran vorn --version)");
    EXPECT_EQ(TextFile::read(package.calls()), "--version\n");
}

TEST(VornCLIHealth, UsageOnHelpAfterAFailedVersionStillRuns) {
    const Package package =
        answering("echo 'unknown option' >&2; exit 2", "echo '   Usage: vorn run' >&2; exit 1");
    package.folder.write("pkg/package.json", "{\"name\": \"vorn\", \"version\": \" 0.9.1\\n\"}");
    const VornHealth health = package.cli().health();
    EXPECT_EQ(health,
              (VornHealth{"0.9.1", VornHealth::Source::packageJSON, std::nullopt, "vorn --help"}));
    EXPECT_EQ(health.summary(), "0.9.1 (package.json, ran vorn --help)");
    EXPECT_EQ(TextFile::read(package.calls()), "--version\n--help\n");
}

TEST(VornCLIHealth, ACommandThatPrintsItsUsageAndExitsTwoForEverything) {
    const Package package(
        "#!/bin/sh\n"
        "echo 'vorn \u2014 a standing team of headless agents' >&2\n"
        "echo 'commands: run, poll' >&2\n"
        "exit 2\n");
    const VornHealth health = package.cli().health();
    EXPECT_EQ(health, (VornHealth{std::nullopt, std::nullopt, std::nullopt, "vorn --help"}));
    EXPECT_EQ(health.summary(), "installed but reports no version");
    EXPECT_FALSE(health.isReady());
}

TEST(VornCLIHealth, FailingBothQuestionsIsTheHelpRunsFailure) {
    const Package package = answering("exit 2",
                                      "echo ok; printf 'boom\\nfatal: broken \\n\\n' >&2; "
                                      "exit 1");
    package.folder.write("pkg/bin/VERSION", "1.3.0");
    const VornHealth health = package.cli().health();
    EXPECT_EQ(health, (VornHealth{"1.3.0", VornHealth::Source::versionFile, "exit 1: fatal: broken",
                                  std::nullopt}));
    EXPECT_EQ(health.summary(), "installed but does not run (exit 1: fatal: broken)");
    EXPECT_EQ(package.cli().version(), std::nullopt);

    const Package silent = answering("exit 2", "exit 5");
    EXPECT_EQ(silent.cli().health().runFailure, "exit 5");
}

TEST(VornCLIHealth, AVersionThatHangsIsNotAskedAgain) {
    const Package package = answering("exec sleep 60", "echo 'Usage: vorn'");
    const VornHealth health = package.cli().health();
    EXPECT_EQ(health.runFailure, "exit -1: timed out after 15 s");
    EXPECT_EQ(health.answeredBy, std::nullopt);
    EXPECT_EQ(TextFile::read(package.calls()), "--version\n");
}

TEST(VornCLIHealth, AnExecutableThatCannotStart) {
    TempDir folder;
    const auto executable = folder.write("bin/vorn", "no interpreter line\n");
    VornInstallation installation;
    installation.configFile = folder / "vorn.yaml";
    installation.executable = executable;
    installation.executableSource = ExecutableSource::userSet;
    EXPECT_EQ(VornCLI(installation, {}).health().summary(),
              "installed but does not run (exit -1: could not run " + executable.string() +
                  ": Permission denied)");
}

TEST(VornCLIFileVersion, FilesBesideTheResolvedExecutable) {
    TempDir folder;
    const auto real = writeScript(folder / "lib/vorn/bin/vorn", "#!/bin/sh\n");
    std::filesystem::create_directories(folder / "bin");
    std::filesystem::create_symlink(real, folder / "bin/vorn");
    const auto link = folder / "bin/vorn";
    EXPECT_EQ(VornCLI::fileVersion(link), std::nullopt);

    // The parent's package.json, when the folder's own has no usable one.
    folder.write("lib/vorn/bin/package.json", "{\"version\": \"  \"}");
    folder.write("lib/vorn/package.json", "{\"version\": \"2.0.0\"}");
    folder.write("bin/VERSION", "9.9.9");  // beside the link, not the file
    EXPECT_EQ(VornCLI::fileVersion(link),
              std::make_pair(std::string("2.0.0"), VornHealth::Source::packageJSON));

    folder.write("lib/vorn/bin/package.json", "{\"version\": \"2.1.0\"}");
    EXPECT_EQ(VornCLI::fileVersion(link)->first, "2.1.0");
    folder.write("lib/vorn/bin/package.json", "[\"version\"]");
    folder.write("lib/vorn/package.json", "{\"version\": 3}");
    EXPECT_EQ(VornCLI::fileVersion(link), std::nullopt);

    folder.write("lib/vorn/bin/VERSION", "\n2.2.0\r\n");
    EXPECT_EQ(VornCLI::fileVersion(link),
              std::make_pair(std::string("2.2.0"), VornHealth::Source::versionFile));
}

TEST(VornCLIText, VersionFirstLine) {
    EXPECT_EQ(VornCLI::versionFirstLine("1.4.2\n"), "1.4.2");
    EXPECT_EQ(VornCLI::versionFirstLine("\n\n  v1.4.2-rc.1  \nmore"), "v1.4.2-rc.1");
    EXPECT_EQ(VornCLI::versionFirstLine("0.73.0\r\n"), "0.73.0");
    EXPECT_EQ(VornCLI::versionFirstLine("10.20"), "10.20");
    for (const std::string_view refused :
         {"", "\n\n", "1", "1.", "v", ".1.2", "vorn 1.4.2", "1.4.2 (build 7)", "1.4.2\tx", "V1.2",
          "vv1.2", "1.x", "Usage: vorn"}) {
        EXPECT_EQ(VornCLI::versionFirstLine(refused), std::nullopt) << refused;
    }
}

TEST(VornCLIText, PrintsUsage) {
    EXPECT_TRUE(VornCLI::printsUsage("Usage: vorn <command>"));
    EXPECT_TRUE(VornCLI::printsUsage("error: unknown flag\n  \tUsage: vorn run"));
    EXPECT_TRUE(VornCLI::printsUsage("error\r\nUsage:"));
    EXPECT_TRUE(VornCLI::printsUsage("see: vorn \u2014 a standing team of headless agents, v1"));
    EXPECT_FALSE(VornCLI::printsUsage("error: see Usage: above"));
    EXPECT_FALSE(VornCLI::printsUsage("usage: vorn"));
    EXPECT_FALSE(VornCLI::printsUsage("vorn - a standing team of headless agents"));
    EXPECT_FALSE(VornCLI::printsUsage(""));
}

}  // namespace
}  // namespace vorn
