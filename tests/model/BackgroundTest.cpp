#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QThread>
#include <QTimer>
#include <condition_variable>
#include <mutex>

#include "common/ShellResultPrinter.h"
#include "model/Background.h"
#include "service/Shell.h"

namespace vorn {
namespace {

struct Threads {
    QThread* worker = nullptr;
    QThread* resumed = nullptr;
};

QCoro::Task<ShellResult> sleepInBackground(Threads* threads) {
    const ShellResult result = co_await Background::run([threads] {
        threads->worker = QThread::currentThread();
        return Shell::run("/bin/sleep", {"0.5"}, std::nullopt, std::nullopt, 10);
    });
    threads->resumed = QThread::currentThread();
    co_return result;
}

// Waits until `count` calls are inside it at once; false after 20 s.
class Gathering {
  public:
    explicit Gathering(int count) : expected(count) {}
    bool arriveAndWait() {
        std::unique_lock lock(mutex);
        ++arrived;
        changed.notify_all();
        return changed.wait_for(lock, std::chrono::seconds(20),
                                [this] { return arrived >= expected; });
    }

  private:
    std::mutex mutex;
    std::condition_variable changed;
    int arrived = 0;
    const int expected;
};

QCoro::Task<bool> gatherInBackground(Gathering* gathering) {
    co_return co_await Background::run([gathering] { return gathering->arriveAndWait(); });
}

TEST(Background, AShellCommandRunsOnAWorkerWhileTheMainEventLoopTurns) {
    int argc = 1;
    char name[] = "test";
    char* argv[] = {name, nullptr};
    QCoreApplication application(argc, argv);
    int ticks = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&ticks] { ++ticks; });
    timer.start(10);

    Threads threads;
    const ShellResult result = QCoro::waitFor(sleepInBackground(&threads));
    EXPECT_TRUE(result.ok()) << result.output();
    // Half a second of sleep in the child; the main thread went on ticking.
    EXPECT_GE(ticks, 10);
    EXPECT_NE(threads.worker, application.thread());
    EXPECT_EQ(threads.resumed, application.thread());
}

TEST(Background, MoreBlockingCallsThanCoresRunAtOnce) {
    int argc = 1;
    char name[] = "test";
    char* argv[] = {name, nullptr};
    QCoreApplication application(argc, argv);
    constexpr int kCalls = 12;
    Gathering gathering(kCalls);
    std::vector<QCoro::Task<bool>> calls;
    for (int call = 0; call < kCalls; ++call)
        calls.push_back(gatherInBackground(&gathering));
    for (auto& call : calls)
        EXPECT_TRUE(QCoro::waitFor(call));
}

}  // namespace
}  // namespace vorn
