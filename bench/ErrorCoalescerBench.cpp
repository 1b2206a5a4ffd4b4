// The monitor hands the coalescer the whole buffer of recent events on every
// refresh, up to once a second. These measure the first call, which folds
// every error of a full buffer, and the refresh that finds nothing new, which
// is what nearly every call is.
#include <benchmark/benchmark.h>

#include <chrono>
#include <string>
#include <vector>

#include "model/ErrorCoalescer.h"

namespace {

using vorn::Timestamp;

constexpr int kBufferedEvents = 2000;
const Timestamp kStart = Timestamp{} + std::chrono::seconds{1'800'000'000};

// A full buffer: one event in ten an error, of a handful of failures, some
// of them outages, a minute apart.
std::vector<vorn::VornEvent> bufferedEvents() {
    static constexpr const char* kMessages[] = {
        "poll failed: fetch failed", "merge failed: git: conflict in src/a.c",
        "sync failed: HTTP 503 Service Unavailable", "agent exited: status 1",
        "release failed: Unexpected token '<'"};
    std::vector<vorn::VornEvent> events(kBufferedEvents);
    for (int index = 0; index < kBufferedEvents; ++index) {
        vorn::VornEvent& event = events[static_cast<size_t>(index)];
        event.id = index;
        event.at = kStart + std::chrono::seconds{60 * index};
        event.level = index % 10 == 0 ? vorn::VornLevel::error : vorn::VornLevel::info;
        event.message = index % 10 == 0 ? kMessages[(index / 10) % 5] : "working on ENG-42";
    }
    return events;
}

std::string shortTime(Timestamp) {
    return "14:05";
}

void firstRefresh(benchmark::State& state) {
    const auto events = bufferedEvents();
    for (auto _ : state) {
        vorn::ErrorCoalescer coalescer(&shortTime);
        auto notices = coalescer.ingest(events, kStart, events.back().at);
        benchmark::DoNotOptimize(notices);
    }
    state.SetItemsProcessed(state.iterations() * kBufferedEvents);
}
BENCHMARK(firstRefresh);

void refreshWithNothingNew(benchmark::State& state) {
    const auto events = bufferedEvents();
    vorn::ErrorCoalescer coalescer(&shortTime);
    coalescer.ingest(events, kStart, events.back().at);
    for (auto _ : state) {
        auto notices = coalescer.ingest(events, kStart, events.back().at);
        benchmark::DoNotOptimize(notices);
    }
    state.SetItemsProcessed(state.iterations() * kBufferedEvents);
}
BENCHMARK(refreshWithNothingNew);

}  // namespace
