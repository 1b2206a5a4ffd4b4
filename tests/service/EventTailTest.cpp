#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "common/TempDir.h"
#include "service/EventTail.h"

namespace vorn {
namespace {

using testing::TempDir;

std::string eventLine(int number, std::string_view padding = "") {
    return R"({"at":"2026-01-02T03:04:05Z","message":")" + std::to_string(number) +
           R"(","data":{"text":")" + std::string(padding) + "\"}}\n";
}

std::string eventLines(int from, int to) {
    std::string text;
    for (int number = from; number < to; ++number)
        text += eventLine(number);
    return text;
}

void append(const std::filesystem::path& file, std::string_view text) {
    const int descriptor = ::open(file.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    ASSERT_GE(descriptor, 0);
    ASSERT_EQ(::write(descriptor, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    ::close(descriptor);
}

std::vector<std::string> messages(std::span<const VornEvent> events) {
    std::vector<std::string> texts;
    for (const VornEvent& event : events)
        texts.push_back(event.message);
    return texts;
}

std::vector<std::int64_t> ids(std::span<const VornEvent> events) {
    std::vector<std::int64_t> numbers;
    for (const VornEvent& event : events)
        numbers.push_back(event.id);
    return numbers;
}

std::vector<std::string> numbered(int from, int to) {
    std::vector<std::string> texts;
    for (int number = from; number < to; ++number)
        texts.push_back(std::to_string(number));
    return texts;
}

// Copies, since what a pump gives and the buffer are views that the next
// pump replaces.
std::vector<VornEvent> pumped(EventTail& tail) {
    const std::span<const VornEvent> fresh = tail.pump();
    return std::vector<VornEvent>(fresh.begin(), fresh.end());
}

std::vector<VornEvent> held(const EventTail& tail) {
    return std::vector<VornEvent>(tail.events().begin(), tail.events().end());
}

class EventTailTest : public ::testing::Test {
  protected:
    TempDir folder;
    std::filesystem::path log = folder / "events.jsonl";
};

TEST_F(EventTailTest, MissingFileLeavesTheTailUnseeded) {
    EventTail tail(log, 200, 100);
    EXPECT_TRUE(pumped(tail).empty());
    // Created large later, it is still seeded from its end.
    append(log, eventLines(0, 20));
    const auto fresh = pumped(tail);
    ASSERT_FALSE(fresh.empty());
    EXPECT_EQ(fresh.back().message, "19");
    EXPECT_LT(fresh.size(), 10u);
    EXPECT_EQ(fresh.front().id, 0);
}

TEST_F(EventTailTest, EmptyFileSeedsAtItsStart) {
    append(log, "");
    EventTail tail(log, 200, 100);
    EXPECT_TRUE(pumped(tail).empty());
    // Seeded at byte 0, so everything appended since is read, however long.
    append(log, eventLines(0, 20));
    EXPECT_EQ(messages(pumped(tail)), numbered(0, 20));
}

TEST_F(EventTailTest, SeedingReadsOnlyTheLastBytes) {
    const std::string text = eventLines(0, 10);
    append(log, text);
    const size_t lineSize = eventLine(0).size();

    // A file of exactly `seedBytes` is read from byte 0.
    EventTail whole(log, text.size(), 100);
    EXPECT_EQ(messages(pumped(whole)), numbered(0, 10));

    // Starting inside a line: that fragment fails to decode and costs no id.
    EventTail partial(log, 3 * lineSize + 5, 100);
    const auto fresh = pumped(partial);
    EXPECT_EQ(messages(fresh), numbered(7, 10));
    EXPECT_EQ(ids(fresh), (std::vector<std::int64_t>{0, 1, 2}));
    EXPECT_EQ(held(partial), fresh);
}

TEST_F(EventTailTest, UnfinishedLineWaitsForItsNewline) {
    const std::string line = eventLine(2);
    append(log, eventLines(0, 2));
    EventTail tail(log, 1 << 20, 100);
    EXPECT_EQ(messages(pumped(tail)), numbered(0, 2));

    append(log, line.substr(0, 20));
    EXPECT_TRUE(pumped(tail).empty());
    append(log, line.substr(20, line.size() - 21));
    EXPECT_TRUE(pumped(tail).empty());
    append(log, "\n" + eventLine(3).substr(0, 10));
    const auto fresh = pumped(tail);
    EXPECT_EQ(messages(fresh), numbered(2, 3));
    EXPECT_EQ(fresh.front().id, 2);
    EXPECT_TRUE(pumped(tail).empty());
    append(log, eventLine(3).substr(10));
    EXPECT_EQ(messages(pumped(tail)), numbered(3, 4));
    EXPECT_EQ(messages(tail.events()), numbered(0, 4));
}

TEST_F(EventTailTest, FirstLineOfAnUnfinishedReadFromTheStartIsDropped) {
    // From byte 0 into an empty buffer, with an unfinished last line: the
    // first complete line goes.
    append(log, eventLines(0, 3) + eventLine(3).substr(0, 15));
    EventTail fromStart(log, 1 << 20, 100);
    EXPECT_EQ(messages(pumped(fromStart)), numbered(1, 3));

    // Seeded exactly at the start of line 2, the read begins inside the file
    // and keeps its first line.
    const size_t lineSize = eventLine(0).size();
    EventTail fromInside(log, lineSize + 15, 100);
    EXPECT_EQ(messages(pumped(fromInside)), numbered(2, 3));

    // A finished file loses nothing.
    append(log, eventLine(3).substr(15));
    EventTail finished(log, 1 << 20, 100);
    EXPECT_EQ(messages(pumped(finished)), numbered(0, 4));
}

TEST_F(EventTailTest, BadLinesCostOnlyThemselves) {
    append(log, eventLine(0) + "\n\nnot json\n{\"message\":\"no date\"}\n" + eventLine(1) +
                    "{\"at\":\"x\",\"message\":\"caf\xC3\"}\r\n" + eventLine(2));
    EventTail tail(log, 1 << 20, 100);
    const auto fresh = pumped(tail);
    ASSERT_EQ(fresh.size(), 4u);
    EXPECT_EQ(ids(fresh), (std::vector<std::int64_t>{0, 1, 2, 3}));
    EXPECT_EQ(fresh[1].message, "1");
    // Bytes that are not UTF-8 are repaired rather than losing the line.
    EXPECT_EQ(fresh[2].message, "caf\uFFFD");
    EXPECT_EQ(fresh[2].at, distantPast);
    EXPECT_EQ(fresh[3].message, "2");
}

TEST_F(EventTailTest, KeepBoundsTheBufferAndWhatAPumpGives) {
    append(log, eventLines(0, 5));
    EventTail tail(log, 1 << 20, 3);
    const auto first = pumped(tail);
    EXPECT_EQ(messages(first), numbered(2, 5));
    EXPECT_EQ(ids(first), (std::vector<std::int64_t>{2, 3, 4}));
    EXPECT_EQ(held(tail), first);

    append(log, eventLines(5, 7));
    EXPECT_EQ(messages(pumped(tail)), numbered(5, 7));
    EXPECT_EQ(messages(tail.events()), numbered(4, 7));
    EXPECT_EQ(ids(tail.events()), (std::vector<std::int64_t>{4, 5, 6}));

    // One line at a time, long past the point where the dropped ones are
    // let go.
    for (int number = 7; number < 20; ++number) {
        append(log, eventLine(number));
        EXPECT_EQ(messages(pumped(tail)), numbered(number, number + 1));
        EXPECT_EQ(messages(tail.events()), numbered(number - 2, number + 1));
        EXPECT_EQ(tail.events().back().id, number);
    }
}

TEST_F(EventTailTest, TruncationEmptiesTheBufferOnceAndIdsGoOn) {
    append(log, eventLines(0, 5));
    EventTail tail(log, 1 << 20, 100);
    EXPECT_EQ(pumped(tail).size(), 5u);

    std::filesystem::resize_file(log, 0);
    append(log, eventLines(10, 12));
    const auto fresh = pumped(tail);
    EXPECT_EQ(messages(fresh), numbered(10, 12));
    EXPECT_EQ(ids(fresh), (std::vector<std::int64_t>{5, 6}));
    EXPECT_EQ(held(tail), fresh);
    append(log, eventLine(12));
    EXPECT_EQ(messages(pumped(tail)), numbered(12, 13));
    EXPECT_EQ(messages(tail.events()), numbered(10, 13));

    // A replacement at least as long as the position reached reads as an
    // append: only what lies behind the old position is new.
    const std::string before = eventLines(10, 13);
    std::filesystem::remove(log);
    append(log, std::string(before.size(), '\n') + eventLine(20));
    EXPECT_EQ(messages(pumped(tail)), numbered(20, 21));
    EXPECT_EQ(messages(tail.events()), (std::vector<std::string>{"10", "11", "12", "20"}));
}

TEST_F(EventTailTest, ResetForgetsPositionAndBufferButNotIds) {
    append(log, eventLines(0, 3));
    EventTail tail(log, 1 << 20, 100);
    EXPECT_EQ(pumped(tail).size(), 3u);
    tail.reset();
    EXPECT_TRUE(tail.events().empty());
    const auto again = pumped(tail);
    EXPECT_EQ(messages(again), numbered(0, 3));
    EXPECT_EQ(ids(again), (std::vector<std::int64_t>{3, 4, 5}));
}

// Counters of this process's reads, from the kernel.
struct ReadCounters {
    long long bytes = 0;
    long long calls = 0;
};

std::optional<ReadCounters> readCounters() {
    const int descriptor = ::open("/proc/self/io", O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) return std::nullopt;
    char text[1024] = {};
    const ssize_t count = ::read(descriptor, text, sizeof text - 1);  // one read call
    ::close(descriptor);
    ReadCounters counters;
    if (count <= 0 || std::sscanf(text, "rchar: %lld\nwchar: %*d\nsyscr: %lld", &counters.bytes,
                                  &counters.calls) != 2) {
        return std::nullopt;
    }
    return counters;
}

TEST_F(EventTailTest, UnchangedFileIsNotReadAndSeedingReadsOnlyTheSeed) {
    if (!readCounters()) GTEST_SKIP() << "no /proc/self/io here";
    std::string text;
    while (text.size() < (4u << 20))
        text += eventLine(static_cast<int>(text.size()), std::string(200, 'x'));
    append(log, text);
    constexpr std::uint64_t seed = 64 * 1024;
    EventTail tail(log, seed, 2000);

    const ReadCounters beforeSeed = *readCounters();
    EXPECT_FALSE(pumped(tail).empty());
    const ReadCounters afterSeed = *readCounters();
    EXPECT_LE(afterSeed.bytes - beforeSeed.bytes, static_cast<long long>(seed) + 4096);

    const ReadCounters first = *readCounters();
    const ReadCounters second = *readCounters();
    EXPECT_TRUE(pumped(tail).empty());
    const ReadCounters third = *readCounters();
    // The same read calls as two looks at the counters with nothing between.
    EXPECT_EQ(third.calls - second.calls, second.calls - first.calls);
}

TEST_F(EventTailTest, LargeAppendsAreReadPieceByPieceWithoutLoss) {
    append(log, "");
    EventTail tail(log, 1 << 20, 100000);
    EXPECT_TRUE(pumped(tail).empty());
    // Several times the size of one piece, with one line longer than a piece.
    std::string text = eventLines(0, 30000);
    text += eventLine(30000, std::string(1500000, 'y'));
    text += eventLines(30001, 40000);
    append(log, text);
    const auto fresh = pumped(tail);
    EXPECT_EQ(messages(fresh), numbered(0, 40000));
    ASSERT_EQ(fresh.size(), 40000u);
    EXPECT_EQ(fresh[30000].agentText->size(), 1500000u);
    EXPECT_EQ(fresh.back().id, 39999);
}

TEST_F(EventTailTest, MoreNewEventsThanKeepGiveTheNewest) {
    append(log, "");
    EventTail tail(log, 1 << 20, 10);
    pumped(tail);
    append(log, eventLines(0, 25000));
    const auto fresh = pumped(tail);
    EXPECT_EQ(messages(fresh), numbered(24990, 25000));
    EXPECT_EQ(fresh.front().id, 24990);
    EXPECT_EQ(held(tail), fresh);
}

// A writer thread appends with separate write() calls, some lines in two
// halves, and truncates the file once, while the tail pumps without pause.
// Every line is delivered exactly once, in order.
TEST_F(EventTailTest, ConcurrentWriterLosesNoLineAndRepeatsNone) {
    constexpr int kBeforeTruncation = 1500;
    constexpr int kTotal = 2500;
    append(log, eventLine(0));
    EventTail tail(log, EventTail::standardSeedBytes, EventTail::standardKeep);
    std::vector<std::string> delivered = messages(pumped(tail));
    ASSERT_EQ(delivered.size(), 1u);
    std::atomic<int> deliveredCount{1};
    std::atomic<bool> writerFailed{false};

    std::thread writer([&] {
        const int descriptor = ::open(log.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
        if (descriptor < 0) {
            writerFailed = true;
            return;
        }
        const auto writeAll = [&](std::string_view bytes) {
            if (::write(descriptor, bytes.data(), bytes.size()) !=
                static_cast<ssize_t>(bytes.size()))
                writerFailed = true;
        };
        const auto waitUntilDelivered = [&](int count) {
            const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
            while (deliveredCount < count && std::chrono::steady_clock::now() < deadline)
                std::this_thread::yield();
        };
        for (int number = 1; number < kTotal; ++number) {
            if (number == kBeforeTruncation) {
                // Truncate only once all that the file held was read, since
                // truncation takes unread lines with it; then give the first
                // line after it whole, so the emptied tail doesn't start on
                // an unfinished batch.
                waitUntilDelivered(number);
                if (::ftruncate(descriptor, 0) != 0) writerFailed = true;
                writeAll(eventLine(number));
                waitUntilDelivered(number + 1);
                continue;
            }
            const std::string line = eventLine(number, std::string(number % 97, 'p'));
            if (number % 3 == 0) {
                const size_t half = line.size() / 2;
                writeAll(std::string_view(line).substr(0, half));
                std::this_thread::sleep_for(std::chrono::microseconds(50));
                writeAll(std::string_view(line).substr(half));
            } else {
                writeAll(line);
            }
        }
        ::close(descriptor);
    });

    std::vector<std::int64_t> allIds = {0};
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(120);
    while (deliveredCount < kTotal && std::chrono::steady_clock::now() < deadline &&
           !writerFailed) {
        for (const VornEvent& event : tail.pump()) {
            delivered.push_back(event.message);
            allIds.push_back(event.id);
        }
        deliveredCount = static_cast<int>(delivered.size());
    }
    writer.join();
    ASSERT_FALSE(writerFailed);
    EXPECT_EQ(delivered, numbered(0, kTotal));
    for (size_t index = 0; index < allIds.size(); ++index)
        EXPECT_EQ(allIds[index], static_cast<std::int64_t>(index));
    // The buffer holds what came after the truncation only.
    EXPECT_EQ(messages(tail.events()), numbered(kBeforeTruncation, kTotal));
}

}  // namespace
}  // namespace vorn
