#pragma once

#include <string>

namespace vorn {

// A worktree the scheduler keeps aside instead of removing it.
struct HeldWorktree {
    std::string repo;
    std::string path;
    std::string ticket;
    std::string reason;

    // The last component of `path`; a trailing "/" doesn't make it empty.
    std::string directoryName() const;

    bool operator==(const HeldWorktree&) const = default;
};

}  // namespace vorn
