#pragma once

#include <optional>
#include <string>

#include "model/HeldWorktree.h"
#include "support/Timestamp.h"
#include "support/VornVersion.h"

namespace simdjson::dom {
class object;
}

namespace vorn {

// An open item the scheduler wants this machine's person to look at.
struct ShipAttentionItem {
    std::string kind;
    std::string key;  // what it concerns, within the kind
    std::string message;
    std::optional<Timestamp> since;
    std::optional<HeldWorktree> held;  // for held worktrees

    // Nothing without a `kind` text. `key` and `message` are texts, empty
    // when absent; `since` is a date text; `held` is an object that needs a
    // `path` and counts as absent without one.
    static std::optional<ShipAttentionItem> decode(simdjson::dom::object members);

    // "{kind}|{key}".
    std::string id() const { return kind + "|" + key; }
    // The kind in words: "Worktree held" for `worktree_held`; a kind this
    // application doesn't know reads as its words capitalised.
    std::string label() const;
    // For an item of kind `vorn_outdated`: the version written after
    // "minimum " in its message, up to the next whitespace.
    std::optional<VornVersion> requiredVornVersion() const;

    bool operator==(const ShipAttentionItem&) const = default;
};

}  // namespace vorn
