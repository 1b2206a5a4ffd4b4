#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "model/VornRepo.h"
#include "model/VornRoute.h"

namespace vorn {

// Finds on disk the worktrees the scheduler cut for a route's tickets. The
// scheduler puts a ticket's worktree beside its checkout, named by a prefix
// and the ticket number; a folder counts only when git says it is a worktree
// of one of the route's own checkouts. Nothing is cached: every call reads
// the disk afresh.
struct WorktreeLocator {
    struct Match {
        std::string repo;  // the repository's name
        std::string path;  // the worktree's folder

        bool operator==(const Match&) const = default;
    };

    struct Found {
        std::int64_t ticket = 0;
        Match match;

        bool operator==(const Found&) const = default;
    };

    // The folder-name prefixes worth trying for a repository, each once: its
    // own, the one its .vorn.yaml names, "{name}-issue-", "{folder}-issue-",
    // and the route's.
    static std::vector<std::string> prefixes(const VornRepo& repo, const VornRoute& route);

    // The main checkout a worktree folder belongs to, as its `.git` file
    // names it (possibly relative to the folder); nothing for a main
    // checkout, a plain folder or a `.git` file of another shape.
    static std::optional<std::filesystem::path> checkout(const std::filesystem::path& worktree);

    // The first worktree of the ticket among the route's repositories.
    static std::optional<Match> locate(std::int64_t ticketNumber, const VornRoute& route);

    // Every worktree of the route, each folder once, by ascending ticket.
    static std::vector<Found> all(const VornRoute& route);
};

}  // namespace vorn
