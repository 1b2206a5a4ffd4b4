#include "model/AttentionAnnouncer.h"

#include <algorithm>

#include "support/Text.h"

namespace vorn {

std::vector<VornEvent> AttentionAnnouncer::select(std::span<const VornEvent> events,
                                                  Timestamp notifiedThrough) {
    std::vector<VornEvent> selected;
    for (const VornEvent& event : events) {
        if (event.at <= notifiedThrough) continue;
        if (asksAboutTicket(event) || reportsToolchainFallback(event)) selected.push_back(event);
    }
    return selected;
}

bool AttentionAnnouncer::asksAboutTicket(const VornEvent& event) {
    return event.step == VornStep::sweep && !event.attention.empty();
}

bool AttentionAnnouncer::reportsToolchainFallback(const VornEvent& event) {
    return event.step == VornStep::agent && event.level == VornLevel::warn && !event.agentKind &&
           event.message.starts_with("seat ");
}

NotificationContent AttentionAnnouncer::notice(const VornEvent& event) {
    if (reportsToolchainFallback(event)) {
        std::string title = "Toolchain fallback";
        if (event.role) title += " (" + std::string(label(*event.role)) + ")";
        return {.title = std::move(title), .body = event.message, .url = event.url};
    }
    return {.title = event.ticket.value_or("A ticket") +
                     " needs you: " + Text::joined(event.attention, ", "),
            .body = event.ticketTitle.value_or(event.message),
            .url = event.url};
}

std::optional<Timestamp> AttentionAnnouncer::newestAt(std::span<const VornEvent> selected) {
    if (selected.empty()) return std::nullopt;
    const auto newest = std::max_element(
        selected.begin(), selected.end(),
        [](const VornEvent& left, const VornEvent& right) { return left.at < right.at; });
    return newest->at;
}

}  // namespace vorn
