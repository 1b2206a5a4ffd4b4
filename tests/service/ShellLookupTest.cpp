#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>

#include "common/TempDir.h"
#include "service/Diagnostics.h"
#include "service/ShellLookup.h"
#include "support/Text.h"
#include "support/TextFile.h"

namespace vorn {
namespace {

using Attempt = ShellLookup::Attempt;
using testing::TempDir;

// Stand-ins for login shells: scripts that get the flags as $1 and the
// command as $2, as a real shell would.
class FakeShells {
  public:
    std::string make(const std::string& name, const std::string& body) const {
        const auto script = folder.write(name, "#!/bin/sh\n" + body);
        std::filesystem::permissions(script, std::filesystem::perms::owner_all);
        return script.string();
    }
    std::filesystem::path operator/(std::string_view name) const { return folder / name; }

  private:
    TempDir folder;
};

TEST(ShellLookupAttempts, TheLoginShellInteractiveThenZshUnlessItIsZsh) {
    EXPECT_EQ(ShellLookup::attempts("/bin/bash"),
              (std::vector<Attempt>{{"/bin/bash", "-lic"}, {"/bin/zsh", "-lc"}}));
    EXPECT_EQ(ShellLookup::attempts("/bin/zsh"), (std::vector<Attempt>{{"/bin/zsh", "-lic"}}));
    EXPECT_EQ(ShellLookup::attempts(std::nullopt), (std::vector<Attempt>{{"/bin/zsh", "-lc"}}));
    // Only exactly "/bin/zsh" is the fallback itself.
    EXPECT_EQ(ShellLookup::attempts("/usr/bin/zsh").size(), 2u);
}

TEST(ShellLookupRun, TheLastLineOfTheFirstShellThatAnswersIsThePath) {
    FakeShells shells;
    const std::string greeting = shells.make("greeting",
                                             "printf '%s' \"$2\" > \"$0.command\"\n"
                                             "echo 'Welcome back!'\necho\n"
                                             "echo \"  /answer/$TERM$1  \"\necho\n");
    EXPECT_EQ(ShellLookup::run("command -v git", {{greeting, "-lic"}}), "/answer/dumb-lic");
    EXPECT_EQ(TextFile::read(greeting + ".command").value_or(""), "command -v git");

    // Each of these gives nothing, so the next attempt runs.
    const std::vector<Attempt> refusals{
        {shells.make("notFound", "echo /usr/bin/git; echo 'not found'"), "-lic"},
        {shells.make("failed", "echo /usr/bin/git; exit 1"), "-lic"},
        {shells.make("relative", "echo bin/git"), "-lic"},
        {shells.make("silent", "true"), "-lic"},
        {(shells / "missing").string(), "-lic"},
    };
    for (const Attempt& refusal : refusals) {
        EXPECT_EQ(ShellLookup::run("x", {refusal}), std::nullopt) << refusal.shell;
        EXPECT_EQ(ShellLookup::run("x", {refusal, {greeting, "-lc"}}), "/answer/dumb-lc")
            << refusal.shell;
    }
    EXPECT_EQ(ShellLookup::run("x", refusals), std::nullopt);
}

TEST(ShellLookupRun, LogsHowLongItTookAndWhichShellGaveNothing) {
    FakeShells shells;
    DiagnosticsLog log(shells / "diagnostics.log", true);
    {
        Diagnostics::Redirect redirect(log);
        ShellLookup::run("command -v vorn", {{(shells / "missing").string(), "-lic"},
                                             {shells.make("ok", "echo /v"), "-lc"}});
    }
    log.waitUntilWritten();
    const std::string text = TextFile::read(shells / "diagnostics.log").value_or("");
    const auto lines = Text::split(text, '\n');
    ASSERT_EQ(lines.size(), 3u) << text;
    EXPECT_TRUE(lines[0].ends_with(" discovery: 'command -v vorn' via " +
                                   (shells / "missing").string() + " timed out after 10 s"))
        << lines[0];
    const size_t took = lines[1].find(" discovery: 'command -v vorn' took ");
    ASSERT_NE(took, std::string_view::npos) << lines[1];
    const std::string_view milliseconds = lines[1].substr(took + 35);
    ASSERT_TRUE(milliseconds.ends_with(" ms")) << lines[1];
    EXPECT_EQ(milliseconds.find_first_not_of("0123456789"), milliseconds.size() - 3) << lines[1];
}

TEST(ShellLookupRun, TheLoginShellOfThisUserFindsSh) {
    const auto found = ShellLookup::run("command -v sh");
    ASSERT_TRUE(found.has_value());
    EXPECT_TRUE(found->ends_with("/sh")) << *found;
}

TEST(ShellLookupRunTimed, GivesStatusAndStandardOutputOnly) {
    EXPECT_EQ(ShellLookup::runTimed("/bin/sh", {"-c", "echo out; echo err >&2; exit 4"}, 10),
              (std::pair<int32_t, std::string>{4, "out\n"}));
    EXPECT_EQ(ShellLookup::runTimed("/nonexistent/shell", {}, 10), std::nullopt);
    // Over its time it gives nothing, even what it printed.
    EXPECT_EQ(ShellLookup::runTimed("/bin/sh", {"-c", "echo /printed; exec sleep 30"}, 0.3),
              std::nullopt);
}

TEST(ShellLookupRunTimed, DoesNotWaitForAProcessLeftHoldingTheOutput) {
    TempDir folder;
    const auto pidFile = folder / "pid";
    const auto start = std::chrono::steady_clock::now();
    const auto answer = ShellLookup::runTimed(
        "/bin/sh", {"-c", "sleep 30 & echo $! > '" + pidFile.string() + "'; echo /quick"}, 10);
    const auto elapsed = std::chrono::steady_clock::now() - start;
    ::kill(std::stoi(TextFile::read(pidFile).value_or("0")), SIGKILL);
    EXPECT_EQ(answer, (std::pair<int32_t, std::string>{0, "/quick\n"}));
    EXPECT_LT(elapsed, std::chrono::seconds(3));
}

TEST(ShellLookupRunTimed, TheShellRunsInASessionOfItsOwn) {
    // Away from any controlling terminal an interactive shell can't take
    // the terminal from the person's own shell. Its session is its own id.
    const auto answer =
        ShellLookup::runTimed("/bin/sh", {"-c", "echo $$; cut -d ' ' -f 6 /proc/$$/stat"}, 10);
    ASSERT_TRUE(answer.has_value());
    const auto lines = Text::split(answer->second, '\n');
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(lines[0], lines[1]);
}

}  // namespace
}  // namespace vorn
