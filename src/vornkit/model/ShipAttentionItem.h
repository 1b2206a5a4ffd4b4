#pragma once

#include <optional>
#include <string>

#include "model/HeldWorktree.h"
#include "support/Timestamp.h"

namespace vorn {

// An open item the scheduler wants this machine's person to look at.
struct ShipAttentionItem {
    std::string kind;
    std::string key;  // what it concerns, within the kind
    std::string message;
    std::optional<Timestamp> since;
    std::optional<HeldWorktree> held;  // for held worktrees

    // "{kind}|{key}".
    std::string id() const { return kind + "|" + key; }

    bool operator==(const ShipAttentionItem&) const = default;
};

}  // namespace vorn
