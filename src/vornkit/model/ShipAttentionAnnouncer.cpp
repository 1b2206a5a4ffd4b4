#include "model/ShipAttentionAnnouncer.h"

namespace vorn {

std::vector<ShipAttentionItem> ShipAttentionAnnouncer::select(
    std::span<const ShipAttentionItem> items, const std::set<std::string>& announced,
    Timestamp now) {
    std::vector<ShipAttentionItem> selected;
    for (const ShipAttentionItem& item : items) {
        if (!item.since || announced.contains(item.id())) continue;
        if (secondsBetween(*item.since, now) <= freshness) selected.push_back(item);
    }
    return selected;
}

NotificationContent ShipAttentionAnnouncer::notice(const ShipAttentionItem& item,
                                                   std::string_view label) {
    return {.title = "Ship needs attention: " + std::string(label), .body = item.message};
}

std::set<std::string> ShipAttentionAnnouncer::stillOpen(const std::set<std::string>& announced,
                                                        std::span<const ShipAttentionItem> items) {
    std::set<std::string> open;
    for (const ShipAttentionItem& item : items) {
        std::string id = item.id();
        if (announced.contains(id)) open.insert(std::move(id));
    }
    return open;
}

}  // namespace vorn
