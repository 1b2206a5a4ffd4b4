#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QDateTime>
#include <QLocale>
#include <atomic>
#include <thread>
#include <vector>

#include "common/MemoryPreferenceStore.h"
#include "common/TempDir.h"
#include "platform/Preferences.h"
#include "service/Diagnostics.h"
#include "service/DiagnosticsLog.h"
#include "support/Text.h"
#include "support/TextFile.h"

namespace vorn {
namespace {

using std::chrono::system_clock;
using testing::TempDir;

system_clock::time_point localMorning(int hour, int minute, int second) {
    const QDateTime local(QDate(2024, 1, 15), QTime(hour, minute, second));
    return system_clock::time_point(std::chrono::milliseconds(local.toMSecsSinceEpoch()));
}

std::vector<std::string> filesIn(const std::filesystem::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        names.push_back(entry.path().filename().string());
    }
    return names;
}

TEST(DiagnosticsSwitch, VornDebugOfExactlyOneOrThePreferenceTurnsItOn) {
    EXPECT_TRUE(DiagnosticsLog::enabledBy({{"VORN_DEBUG", "1"}}, false));
    EXPECT_TRUE(DiagnosticsLog::enabledBy({{"VORN_DEBUG", "0"}}, true));
    EXPECT_TRUE(DiagnosticsLog::enabledBy({}, true));
    EXPECT_FALSE(DiagnosticsLog::enabledBy({}, false));
    EXPECT_FALSE(DiagnosticsLog::enabledBy({{"VORN_DEBUG", "0"}}, false));
    EXPECT_FALSE(DiagnosticsLog::enabledBy({{"VORN_DEBUG", "true"}}, false));
    EXPECT_FALSE(DiagnosticsLog::enabledBy({{"VORN_DEBUG", " 1"}}, false));
}

TEST(DiagnosticsSwitch, ThePreferenceIsReadOnceWhenTheLogIsMade) {
    TempDir home;
    testing::MemoryPreferenceStore store;
    Preferences preferences(store);
    const auto made = [&](const Environment& environment) {
        return DiagnosticsLog::forUser(home.path(), environment, preferences);
    };
    EXPECT_FALSE(made({})->isEnabled());

    preferences.setDebugLogging(true);
    const auto running = made({{"VORN_DEBUG", "0"}});
    EXPECT_TRUE(running->isEnabled());
    EXPECT_EQ(running->path(), home / "Library/Logs/Vorn.log");

    // Switched off while the log lives: it stays on until it is made again.
    preferences.setDebugLogging(false);
    EXPECT_TRUE(running->isEnabled());
    EXPECT_FALSE(made({})->isEnabled());
    EXPECT_TRUE(made({{"VORN_DEBUG", "1"}})->isEnabled());
}

TEST(DiagnosticsTimeOfDay, HasSecondsButNoDateAndNoTimeZone) {
    const auto instant = localMorning(9, 5, 12);
    EXPECT_EQ(DiagnosticsLog::timeOfDay(instant, QLocale(QLocale::English, QLocale::UnitedStates)),
              "9:05:12 AM");
    EXPECT_EQ(DiagnosticsLog::timeOfDay(instant, QLocale(QLocale::German, QLocale::Germany)),
              "09:05:12");
    // A locale that writes the zone first.
    EXPECT_EQ(DiagnosticsLog::timeOfDay(instant, QLocale(QLocale::Chinese, QLocale::China)),
              "09:05:12");
}

TEST(DiagnosticsLog, WhenOffTheMessageIsNeverBuiltAndNothingIsWritten) {
    TempDir home;
    DiagnosticsLog log(DiagnosticsLog::pathIn(home.path()), false);
    int built = 0;
    log.log([&] {
        ++built;
        return std::string("costly");
    });
    log.waitUntilWritten();
    EXPECT_EQ(built, 0);
    EXPECT_TRUE(filesIn(home.path()).empty());
}

TEST(DiagnosticsLog, EachLineHasTheTimeOfItsCallAndTheLinesKeepTheirOrder) {
    TempDir home;
    const auto start = localMorning(9, 5, 12);
    std::atomic<int> calls{0};
    const auto path = DiagnosticsLog::pathIn(home.path());
    std::string expected;
    {
        // Each look at the clock is one second later than the one before.
        DiagnosticsLog log(path, true, [&] { return start + std::chrono::seconds(calls++); });
        for (int index = 0; index < 300; ++index) {
            log.log([&] { return "line " + std::to_string(index); });
        }
        log.log([] { return "two\nlines, unescaped"; });
        // Destroying the log writes what is still queued.
    }
    for (int index = 0; index <= 300; ++index) {
        expected +=
            DiagnosticsLog::timeOfDay(start + std::chrono::seconds(index), QLocale::system());
        expected +=
            index < 300 ? " line " + std::to_string(index) + "\n" : " two\nlines, unescaped\n";
    }
    // The folders were made, and no staging file was left beside the log.
    EXPECT_EQ(TextFile::read(path).value_or("unreadable"), expected);
    EXPECT_EQ(filesIn(path.parent_path()), std::vector<std::string>{"Vorn.log"});
}

TEST(DiagnosticsLog, AnyThreadMayLogAndEachThreadsLinesStayInOrder) {
    TempDir home;
    const auto path = DiagnosticsLog::pathIn(home.path());
    DiagnosticsLog log(path, true);
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([&log, thread] {
                for (int index = 0; index < 100; ++index) {
                    log.log(
                        [&] { return "t" + std::to_string(thread) + " " + std::to_string(index); });
                }
            });
        }
    }
    log.waitUntilWritten();
    std::vector<int> nextOfThread(4, 0);
    const std::string text = TextFile::read(path).value_or("");
    for (const std::string_view line : Text::split(text, '\n')) {
        if (line.empty()) continue;
        const size_t mark = line.find(" t");
        ASSERT_NE(mark, std::string_view::npos) << line;
        const int thread = line[mark + 2] - '0';
        EXPECT_EQ(line.substr(mark + 4), std::to_string(nextOfThread[thread]++)) << line;
    }
    EXPECT_EQ(nextOfThread, std::vector<int>(4, 100));
}

TEST(DiagnosticsLog, AppendsToTheFileAndMakesItAgainWhenSomebodyDeletedIt) {
    TempDir home;
    const auto path = home.write("Library/Logs/Vorn.log", "earlier\n");
    DiagnosticsLog log(path, true, [] { return localMorning(9, 5, 12); });
    const std::string time = DiagnosticsLog::timeOfDay(localMorning(9, 5, 12), QLocale::system());
    log.log([] { return "first"; });
    log.waitUntilWritten();
    EXPECT_EQ(TextFile::read(path).value_or(""), "earlier\n" + time + " first\n");

    std::filesystem::remove(path);
    log.log([] { return "second"; });
    log.waitUntilWritten();
    EXPECT_EQ(TextFile::read(path).value_or(""), time + " second\n");
}

TEST(DiagnosticsLog, LinesThatCannotBeWrittenAreDroppedAndNothingIsReplaced) {
    TempDir home;
    // The log's place is taken by a folder or a pipe nobody reads, its
    // folder by a file, and its file is a device that accepts no bytes.
    std::filesystem::create_directories(home / "folder/Vorn.log");
    std::filesystem::create_directories(home / "pipe");
    ASSERT_EQ(::mkfifo((home / "pipe/Vorn.log").c_str(), 0600), 0);
    home.write("file/Library", "not a folder\n");
    std::filesystem::create_directories(home / "full");
    std::filesystem::create_symlink("/dev/full", home / "full/Vorn.log");

    for (const char* place :
         {"folder/Vorn.log", "pipe/Vorn.log", "file/Library/Logs/Vorn.log", "full/Vorn.log"}) {
        DiagnosticsLog log(home / place, true);
        log.log([] { return "lost"; });
        log.waitUntilWritten();
    }
    EXPECT_TRUE(std::filesystem::is_directory(home / "folder/Vorn.log"));
    EXPECT_TRUE(std::filesystem::is_empty(home / "folder/Vorn.log"));
    EXPECT_EQ(filesIn(home / "folder"), std::vector<std::string>{"Vorn.log"});
    EXPECT_EQ(TextFile::read(home / "file/Library").value_or(""), "not a folder\n");
    EXPECT_TRUE(std::filesystem::is_fifo(home / "pipe/Vorn.log"));
    EXPECT_TRUE(std::filesystem::is_symlink(home / "full/Vorn.log"));
    EXPECT_EQ(filesIn(home / "full"), std::vector<std::string>{"Vorn.log"});
}

TEST(Diagnostics, ARedirectTakesTheCallsWhileItLives) {
    TempDir home;
    DiagnosticsLog log(home / "redirected.log", true);
    {
        Diagnostics::Redirect redirect(log);
        EXPECT_TRUE(Diagnostics::isEnabled());
        EXPECT_EQ(Diagnostics::path(), home / "redirected.log");
        Diagnostics::log([] { return "through the redirect"; });
    }
    EXPECT_NE(&Diagnostics::current(), &log);
    log.waitUntilWritten();
    EXPECT_TRUE(
        TextFile::read(home / "redirected.log").value_or("").ends_with(" through the redirect\n"));
}

}  // namespace
}  // namespace vorn
