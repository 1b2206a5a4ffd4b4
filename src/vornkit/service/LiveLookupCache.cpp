#include "service/LiveLookupCache.h"

#include <thread>

namespace vorn {

LiveLookupCache::LiveLookupCache(CommandLookups raw) : raw(std::move(raw)) {}

LiveLookupCache& LiveLookupCache::shared() {
    // Never destroyed: a warm-up may still be running when the process ends.
    static auto* const instance =
        new std::shared_ptr<LiveLookupCache>(over(CommandLookups::blocking()));
    return **instance;
}

std::shared_ptr<LiveLookupCache> LiveLookupCache::over(CommandLookups raw) {
    return std::shared_ptr<LiveLookupCache>(new LiveLookupCache(std::move(raw)));
}

void LiveLookupCache::warm(std::function<void()> handler) {
    std::unique_lock guard(lock);
    if (finished) {
        guard.unlock();
        if (handler) handler();
        return;
    }
    if (handler) handlers.push_back(std::move(handler));
    const bool wasStarted = started;
    started = true;
    guard.unlock();
    if (wasStarted) return;
    // The thread keeps the cache alive until it is done with it.
    std::thread([self = shared_from_this()] { self->lookUpAndNotify(); }).detach();
}

void LiveLookupCache::lookUpAndNotify() {
    // Outside the lock: these run the login shell and may take many seconds.
    auto pathAnswer = raw.onPath ? raw.onPath() : std::nullopt;
    auto npmAnswer = raw.npmGlobalBin ? raw.npmGlobalBin() : std::nullopt;
    std::vector<std::function<void()>> waiting;
    {
        std::lock_guard guard(lock);
        foundOnPath = std::move(pathAnswer);
        foundNpmGlobalBin = std::move(npmAnswer);
        finished = true;
        waiting.swap(handlers);
    }
    for (auto& handler : waiting)
        handler();
}

std::optional<std::filesystem::path> LiveLookupCache::onPath() const {
    std::lock_guard guard(lock);
    return foundOnPath;
}

std::optional<std::filesystem::path> LiveLookupCache::npmGlobalBin() const {
    std::lock_guard guard(lock);
    return foundNpmGlobalBin;
}

bool LiveLookupCache::isFinished() const {
    std::lock_guard guard(lock);
    return finished;
}

}  // namespace vorn
