#include "model/VornSnapshot.h"

namespace vorn {

namespace {

// An absent timer is one nobody could ask about, which is not a stopped one.
bool runTimerIsUpOrUnknown(const std::optional<TimerStatus>& timer) {
    return !timer || timer->loaded;
}

}  // namespace

VornSnapshot::Health VornSnapshot::health() const {
    if (configError) return Health::trouble;
    if (cycle && cycle->errors >= 1 && cycle->step != VornStep::idle) return Health::trouble;
    if (!workers.empty()) return Health::working;
    if (vornPaused) return Health::paused;
    if (runTimerIsUpOrUnknown(runTimer)) return Health::idle;
    return Health::stopped;
}

std::string VornSnapshot::headline() const {
    if (workers.empty()) {
        if (vornPaused) return "Paused";
        if (releasePaused) return "Releases paused";
        if (runTimerIsUpOrUnknown(runTimer)) return "Idle";
        return "Timer off";
    }
    const ActiveWorker& worker = workers.front();
    std::string text = worker.primaryLabel();
    if (worker.ticket) text += " \u00B7 " + *worker.ticket;
    if (releasePaused && !vornPaused) text += " \u00B7 releases paused";
    return text;
}

}  // namespace vorn
