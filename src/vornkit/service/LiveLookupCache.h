#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "service/CommandLookups.h"

namespace vorn {

// Asks the slow lookups once per application run, on a background thread,
// and keeps the answers. Readers never block: before the first warm-up has
// finished they get nothing.
class LiveLookupCache : public std::enable_shared_from_this<LiveLookupCache> {
  public:
    // The process-wide cache, over the blocking lookups.
    static LiveLookupCache& shared();
    // A cache of its own over other lookups, for tests.
    static std::shared_ptr<LiveLookupCache> over(CommandLookups raw);

    // Starts the lookups the first time; calls `handler` when they are done,
    // at once (on this thread) when they already are, otherwise on the
    // background thread, in the order handlers were added.
    void warm(std::function<void()> handler);

    std::optional<std::filesystem::path> onPath() const;
    std::optional<std::filesystem::path> npmGlobalBin() const;
    bool isFinished() const;

  private:
    explicit LiveLookupCache(CommandLookups raw);
    void lookUpAndNotify();

    CommandLookups raw;
    mutable std::mutex lock;
    bool started = false;
    bool finished = false;
    std::optional<std::filesystem::path> foundOnPath;
    std::optional<std::filesystem::path> foundNpmGlobalBin;
    std::vector<std::function<void()>> handlers;
};

}  // namespace vorn
