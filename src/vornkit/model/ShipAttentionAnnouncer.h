#pragma once

#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "model/NotificationContent.h"
#include "model/ShipAttentionItem.h"
#include "support/Timestamp.h"

namespace vorn {

// Which open items of the ship are news. An item is announced once while it
// stays open, and only when it began lately: an item already old when this
// machine first sees it is no news to anyone.
struct ShipAttentionAnnouncer {
    // How recently, in seconds, an item must have begun to be announced.
    static constexpr double freshness = 3600;

    // The items not in `announced` (by id) that began at most `freshness`
    // seconds before `now`; an item without a beginning never is.
    static std::vector<ShipAttentionItem> select(std::span<const ShipAttentionItem> items,
                                                 const std::set<std::string>& announced,
                                                 Timestamp now);

    // `label` is the item's kind as a person reads it, "Disk low".
    static NotificationContent notice(const ShipAttentionItem& item, std::string_view label);

    // The ids of `announced` that are still open among `items`. Keeping no
    // others lets an item that went away and came back be announced again.
    static std::set<std::string> stillOpen(const std::set<std::string>& announced,
                                           std::span<const ShipAttentionItem> items);
};

}  // namespace vorn
