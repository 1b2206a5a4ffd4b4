#pragma once

#include <optional>
#include <span>
#include <vector>

#include "model/NotificationContent.h"
#include "model/VornEvent.h"
#include "support/Timestamp.h"

namespace vorn {

// The events of the log that call for a person: a ticket the scheduler
// can't go on with alone, and a seat that fell back to another toolchain.
struct AttentionAnnouncer {
    // The events dated after `notifiedThrough` that call for a person, in
    // their order.
    static std::vector<VornEvent> select(std::span<const VornEvent> events,
                                         Timestamp notifiedThrough);

    // A sweep that names what it wants of a person for a ticket.
    static bool asksAboutTicket(const VornEvent& event);
    // A seat's warning that it runs on another toolchain than its own.
    static bool reportsToolchainFallback(const VornEvent& event);

    // The notification for one selected event; it carries the event's link.
    static NotificationContent notice(const VornEvent& event);

    // Where the watermark moves to once `selected` is announced: the newest
    // date among them, none for no events.
    static std::optional<Timestamp> newestAt(std::span<const VornEvent> selected);
};

}  // namespace vorn
