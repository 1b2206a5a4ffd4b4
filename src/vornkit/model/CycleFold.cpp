#include "model/CycleFold.h"

namespace vorn {

namespace {

void takeForward(const VornEvent& event, CycleState& state) {
    if (event.rank) state.rank = event.rank;
    if (!event.pending.empty()) state.pending = event.pending;
    if (event.step == VornStep::agent && event.durationMs) state.agentFinished = true;
    if (event.level == VornLevel::warn) ++state.warnings;
    if (event.level == VornLevel::error) ++state.errors;
}

// Role and ticket are the newest that the cycle names; a ticket counts only
// when a working step names it, since `select` and `poll` name candidates.
void takeBackward(std::span<const VornEvent> events, const std::string& cycle, CycleState& state) {
    for (auto event = events.rbegin(); event != events.rend(); ++event) {
        if (state.role && state.ticket) return;
        if (event->cycle != cycle) continue;
        if (!state.role && event->role) state.role = event->role;
        if (!state.ticket && event->ticket && isWorking(event->step)) state.ticket = event->ticket;
    }
}

}  // namespace

std::optional<CycleState> CycleFold::fold(std::span<const VornEvent> events) {
    if (events.empty()) return std::nullopt;
    const VornEvent& newest = events.back();
    CycleState state;
    state.cycle = newest.cycle;
    state.route = newest.route;
    state.step = newest.step;
    state.lastAt = newest.at;
    bool started = false;
    for (const VornEvent& event : events) {
        if (event.cycle != newest.cycle) continue;
        if (!started) {
            state.startedAt = event.at;
            started = true;
        }
        takeForward(event, state);
    }
    takeBackward(events, newest.cycle, state);
    return state;
}

}  // namespace vorn
