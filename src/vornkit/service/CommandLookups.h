#pragma once

#include <filesystem>
#include <functional>
#include <optional>

namespace vorn {

// The two slow questions discovery may ask about where the scheduler lives:
// its place on the login shell's PATH, and npm's global bin folder. Tests
// and callers that must not block choose how they are answered.
struct CommandLookups {
    using Lookup = std::function<std::optional<std::filesystem::path>()>;

    Lookup onPath;
    Lookup npmGlobalBin;

    // Never finds anything.
    static CommandLookups none();
    // Asks the login shell now; may block for many seconds.
    static CommandLookups blocking();
    // Reads what the shared cache has learned so far; never blocks, and
    // finds nothing before the cache is warm.
    static CommandLookups live();

    // Warms the shared cache if need be and calls `handler` once it is warm.
    static void warmLive(std::function<void()> handler);
};

}  // namespace vorn
