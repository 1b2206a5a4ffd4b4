#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "model/CycleState.h"
#include "model/StructureSource.h"
#include "model/VornSnapshot.h"
#include "model/VornStatusDocument.h"
#include "platform/ServiceManager.h"
#include "service/EventTail.h"
#include "service/LaunchAgent.h"
#include "service/VornPaths.h"
#include "support/Timestamp.h"

namespace vorn {

// Turns what lies on the disk into one snapshot on demand, and keeps what
// makes the next one cheap: the configuration until its file or the
// installation changes, the event tails, and the answers of the timers and
// of the scheduler's status for ten seconds each.
//
// Not thread-safe: its owner calls it from one thread at a time (the
// application gives it a worker thread of its own). Every call may block
// for a command's time limit.
class VornReader {
  public:
    struct Options {
        // Overrides, home, environment and lookups of discovery. The
        // built-in folder is left to discovery's default.
        VornPaths::DiscoverOptions discovery;
        // The machine's own when none is given (the reader fills it in).
        std::shared_ptr<const ServiceManager> serviceManager;
        // The wall clock when none is given; the ten-second caches run on it.
        std::function<Timestamp()> now;
    };

    static constexpr double timerInterval = 10;
    static constexpr double passengerInterval = 10;
    static constexpr double statusTimeout = 20;
    static constexpr std::size_t recentKeep = 200;

    // The running process's home, environment and live lookups, with the
    // two overrides.
    static Options currentProcess(std::optional<std::filesystem::path> configOverride = {},
                                  std::optional<std::filesystem::path> vornCommandOverride = {});

    explicit VornReader(Options options);

    VornSnapshot snapshot();
    // The next snapshot reads everything afresh; the configuration shown
    // stays until then.
    void invalidate();

    const std::optional<VornInstallation>& installation() const { return found; }
    const StructureSource& structureSource() const { return source; }
    // Routes as parsed from vorn.yaml itself, for the editing screens.
    const std::vector<VornRoute>& yamlRoutes() const { return fileRoutes; }

    // The last `keep` events without a hook and the last `keep` with one,
    // in id order: a burst of hook output can't push out the main story.
    static std::vector<VornEvent> recentWindow(std::span<const VornEvent> events, std::size_t keep);
    // The pid in `.{lockName}.lock` of the state folder while that process
    // lives; a stale, unreadable or nonsensical lock gives nothing.
    static std::optional<std::int64_t> livePid(std::string_view lockName, const VornConfig& config);
    // The time of the scheduler's last poll, when its marker holds a date.
    static std::optional<Timestamp> watermark(const VornConfig& config);
    // The one worker of a live cycle that isn't idle, with its worktree.
    static std::vector<ActiveWorker> workers(const std::optional<CycleState>& cycle,
                                             const VornConfig& config,
                                             std::optional<std::int64_t> runningPid);
    // One line per role, in role order.
    static std::vector<RoleStatus> roles(const std::optional<CycleState>& cycle,
                                         const VornConfig& config,
                                         std::span<const ActiveWorker> workers);

  private:
    struct TimerPair {
        std::optional<TimerStatus> run;
        std::optional<TimerStatus> release;
    };

    void loadConfigIfNeeded();
    void storeConfig(VornConfig fresh);
    void askStatusOrParse(const VornInstallation& installation);
    TimerPair timerStatuses();
    std::vector<VornEvent> agentDetail(const std::optional<CycleState>& cycle,
                                       const VornConfig& config,
                                       std::optional<std::int64_t> runningPid);
    std::optional<PassengerStatus> currentPassengerStatus();
    bool isFresh(const std::optional<Timestamp>& checkedAt, double interval) const;
    Timestamp now() const;

    Options options;

    std::optional<VornInstallation> found;
    std::optional<VornConfig> config;
    std::optional<std::string> configError;
    std::vector<VornRoute> fileRoutes;
    std::optional<std::filesystem::file_time_type> configStamp;
    StructureSource source = StructureSource::unknown();

    std::unique_ptr<EventTail> tail;
    std::unique_ptr<EventTail> agentDetailTail;

    std::optional<LaunchAgent> runLaunchAgent;
    std::optional<LaunchAgent> releaseLaunchAgent;
    TimerPair timers;
    std::optional<Timestamp> timerCheckedAt;

    std::optional<PassengerStatus> passengerStatus;
    std::vector<ShipAttentionItem> shipAttention;
    std::optional<ShipNameStatus> shipName;
    std::optional<Timestamp> passengerCheckedAt;
};

}  // namespace vorn
