#pragma once

#include <string>

namespace vorn {

// A worktree the scheduler keeps aside instead of removing it.
struct HeldWorktree {
    std::string repo;
    std::string path;
    std::string ticket;
    std::string reason;

    bool operator==(const HeldWorktree&) const = default;
};

}  // namespace vorn
