#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "service/LiveLookupCache.h"

namespace vorn {
namespace {

// Lookups that wait for the test to let them answer, counting how often
// they are asked.
struct GatedLookups {
    std::mutex lock;
    std::condition_variable changed;
    bool open = false;
    std::atomic<int> asked = 0;

    CommandLookups lookups() {
        return {[this] {
                    ++asked;
                    std::unique_lock guard(lock);
                    changed.wait(guard, [this] { return open; });
                    return std::optional<std::filesystem::path>("/found/vorn");
                },
                [this] {
                    ++asked;
                    return std::optional<std::filesystem::path>("/npm/bin/vorn");
                }};
    }
    void release() {
        std::lock_guard guard(lock);
        open = true;
        changed.notify_all();
    }
};

struct Recorder {
    std::mutex lock;
    std::condition_variable changed;
    std::vector<int> calls;

    std::function<void()> handler(int number) {
        return [this, number] {
            std::lock_guard guard(lock);
            calls.push_back(number);
            changed.notify_all();
        };
    }
    std::vector<int> waitFor(std::size_t count) {
        std::unique_lock guard(lock);
        changed.wait_for(guard, std::chrono::seconds(10), [&] { return calls.size() >= count; });
        return calls;
    }
};

TEST(LiveLookupCache, GivesNothingUntilWarmAndAsksOnceForManyCallers) {
    GatedLookups gate;
    Recorder recorder;
    const auto cache = LiveLookupCache::over(gate.lookups());
    cache->warm(recorder.handler(1));
    cache->warm(recorder.handler(2));
    cache->warm(recorder.handler(3));
    // Reads never wait for the shell, even while it is being asked.
    EXPECT_FALSE(cache->onPath().has_value());
    EXPECT_FALSE(cache->npmGlobalBin().has_value());
    gate.release();
    EXPECT_EQ(recorder.waitFor(3), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(gate.asked, 2);
    EXPECT_EQ(cache->onPath(), std::filesystem::path("/found/vorn"));
    EXPECT_EQ(cache->npmGlobalBin(), std::filesystem::path("/npm/bin/vorn"));
}

TEST(LiveLookupCache, AWarmCacheCallsTheHandlerAtOnceOnTheCallersThread) {
    GatedLookups gate;
    gate.release();
    Recorder recorder;
    const auto cache = LiveLookupCache::over(gate.lookups());
    cache->warm(recorder.handler(1));
    recorder.waitFor(1);
    ASSERT_TRUE(cache->isFinished());

    std::thread::id calledOn;
    cache->warm([&] { calledOn = std::this_thread::get_id(); });
    EXPECT_EQ(calledOn, std::this_thread::get_id());
    EXPECT_EQ(gate.asked, 2);
}

TEST(LiveLookupCache, ConcurrentWarmUpsStartOneLookup) {
    GatedLookups gate;
    Recorder recorder;
    const auto cache = LiveLookupCache::over(gate.lookups());
    std::vector<std::thread> callers;
    for (int number = 0; number < 8; ++number) {
        callers.emplace_back([&, number] { cache->warm(recorder.handler(number)); });
    }
    for (auto& caller : callers)
        caller.join();
    gate.release();
    EXPECT_EQ(recorder.waitFor(8).size(), 8u);
    EXPECT_EQ(gate.asked, 2);
}

}  // namespace
}  // namespace vorn
