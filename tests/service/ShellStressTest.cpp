// A thousand commands of every kind, run eight to a dozen at a time, must
// leave this process as they found it: no child, no zombie, no descriptor
// and no thread more than before.
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "common/ShellResultPrinter.h"
#include "service/Shell.h"

namespace vorn {
namespace {

struct Command {
    std::string kind;
    std::filesystem::path tool;
    std::vector<std::string> arguments;
    double timeout = 30;
    ShellResult expected;
};

Command script(std::string kind, const std::string& text, ShellResult expected,
               double timeout = 30) {
    return {std::move(kind), "/bin/sh", {"-c", text}, timeout, std::move(expected)};
}

Command commandOfKind(const std::string& kind, int index) {
    const std::string mark = std::to_string(index);
    if (kind == "ignores SIGTERM") {
        return script(kind, "trap '' TERM; echo " + mark + "; exec sleep 30",
                      {-1, mark + "\n", "timed out after 0 s"}, 0.2);
    }
    if (kind == "leaves a process holding the pipe past the limit") {
        // The leftover ends by itself soon after the runner gave up on it.
        return script(kind, "sleep 7 & echo " + mark, {0, "", ""});
    }
    if (kind == "leaves a process holding the pipe a moment") {
        return script(kind, "(sleep 0.3; echo late) & echo " + mark, {0, mark + "\nlate\n", ""});
    }
    if (kind == "times out") {
        return script(kind, "echo " + mark + "; exec sleep 30",
                      {-1, mark + "\n", "timed out after 0 s"}, 0.1);
    }
    if (kind == "large output on both streams") {
        return script(kind,
                      "head -c 200000 /dev/zero | tr '\\0' e >&2; "
                      "head -c 300000 /dev/zero | tr '\\0' o",
                      {0, std::string(300000, 'o'), std::string(200000, 'e')});
    }
    if (kind == "ends by a signal") {
        return script(kind, "echo " + mark + "; kill -KILL $$", {9, mark + "\n", ""});
    }
    if (kind == "cannot start") {
        const std::string tool = "/nonexistent/stress-" + mark;
        return {
            kind, tool, {}, 30, {-1, "", "could not run " + tool + ": No such file or directory"}};
    }
    return script("quick", "echo " + mark + "; echo err" + mark + " >&2",
                  {0, mark + "\n", "err" + mark + "\n"});
}

// The slow kinds first, so they start together and overlap.
std::vector<Command> thousandCommands() {
    const std::vector<std::pair<std::string, int>> mix{
        {"ignores SIGTERM", 6},
        {"leaves a process holding the pipe past the limit", 3},
        {"leaves a process holding the pipe a moment", 20},
        {"times out", 20},
        {"large output on both streams", 50},
        {"ends by a signal", 50},
        {"cannot start", 50},
    };
    std::vector<Command> commands;
    for (const auto& [kind, count] : mix) {
        for (int made = 0; made < count; ++made) {
            commands.push_back(commandOfKind(kind, static_cast<int>(commands.size())));
        }
    }
    while (commands.size() < 1000) {
        commands.push_back(commandOfKind("quick", static_cast<int>(commands.size())));
    }
    return commands;
}

size_t entriesIn(const std::filesystem::path& folder) {
    size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder))
        ++count;
    return count;
}

// Every process whose parent is this one, zombies included, as "pid state".
std::vector<std::string> childrenOfThisProcess() {
    std::vector<std::string> children;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/proc", error)) {
        std::ifstream statFile(entry.path() / "stat");
        std::string stat;
        if (!std::getline(statFile, stat)) continue;
        // "pid (name) state ppid ...", and the name may hold anything.
        const size_t nameEnd = stat.rfind(')');
        if (nameEnd == std::string::npos) continue;
        std::istringstream rest(stat.substr(nameEnd + 1));
        std::string state;
        pid_t parent = 0;
        rest >> state >> parent;
        if (parent == ::getpid())
            children.push_back(entry.path().filename().string() + " " + state);
    }
    return children;
}

TEST(ShellStress, AThousandCommandsOfEveryKindLeaveNothingBehind) {
    const std::vector<Command> commands = thousandCommands();
    const size_t descriptorsBefore = entriesIn("/proc/self/fd");
    const size_t threadsBefore = entriesIn("/proc/self/task");

    std::vector<ShellResult> results(commands.size());
    std::atomic<size_t> next{0};
    {
        std::vector<std::jthread> runners;
        for (int runner = 0; runner < 12; ++runner) {
            runners.emplace_back([&] {
                for (size_t index = next++; index < commands.size(); index = next++) {
                    const Command& command = commands[index];
                    results[index] = Shell::run(command.tool, command.arguments, std::nullopt,
                                                std::nullopt, command.timeout);
                }
            });
        }
    }

    size_t wrong = 0;
    for (size_t index = 0; index < commands.size(); ++index) {
        if (results[index] == commands[index].expected) continue;
        if (++wrong <= 5) {
            ADD_FAILURE() << "#" << index << " (" << commands[index].kind << ") gave "
                          << ::testing::PrintToString(results[index]) << ", expected "
                          << ::testing::PrintToString(commands[index].expected);
        }
    }
    EXPECT_EQ(wrong, 0u);
    EXPECT_EQ(childrenOfThisProcess(), std::vector<std::string>());
    EXPECT_EQ(entriesIn("/proc/self/fd"), descriptorsBefore);
    EXPECT_EQ(entriesIn("/proc/self/task"), threadsBefore);
}

}  // namespace
}  // namespace vorn
