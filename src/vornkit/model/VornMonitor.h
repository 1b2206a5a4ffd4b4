#pragma once

#include <QCoroTask>
#include <QObject>
#include <QThreadPool>
#include <QTimer>
#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "model/ErrorCoalescer.h"
#include "model/ErrorGroup.h"
#include "model/HelmSpin.h"
#include "model/SetupStep.h"
#include "model/VornHealth.h"
#include "model/VornInstallation.h"
#include "model/VornRole.h"
#include "model/VornSnapshot.h"
#include "model/VornUpdateModel.h"
#include "platform/Notifier.h"
#include "platform/Preferences.h"
#include "service/BundledVorn.h"
#include "service/LaunchAgent.h"
#include "service/VornCLI.h"
#include "service/VornReader.h"
#include "support/Expected.h"
#include "support/ProcessEnvironment.h"
#include "support/Timestamp.h"
#include "support/VornVersion.h"

namespace vorn {

// The root of the running application: it keeps the newest snapshot of the
// scheduler's state current, tells observers when something they show really
// changed, decides what deserves a notification, and carries every action a
// person takes on the scheduler. Lives on the main thread and never blocks
// it: the reader works on a thread of its own, commands on worker threads,
// and the monitor awaits both.
class VornMonitor : public QObject {
    Q_OBJECT

  public:
    // How long the ticker sleeps after a refresh; the first that holds.
    struct Intervals {
        std::chrono::milliseconds menuOpen{1000};
        std::chrono::milliseconds running{3000};  // while a scheduler process lives
        std::chrono::milliseconds idle{10000};
    };

    // Where the monitor meets the machine.
    struct Options {
        // Discovery, service manager and clock of every reader the monitor
        // makes; the two overrides come from the preferences instead. The
        // timers' actions use the same service manager, the machine's own
        // when none is given.
        VornReader::Options reader;
        // Holds the launch agents' property lists; empty when unknown.
        std::filesystem::path home;
        // What scheduler commands start their environment from.
        Environment environment;
        // The built-in scheduler kept current at start; none checks nothing.
        std::optional<BundledVorn> bundled;
        // Starts the slow path lookups and calls back, on any thread, once
        // they are done; none to skip the warm-up.
        std::function<void(std::function<void()>)> warmLookups;
        VornUpdateModel::Options update;
        ErrorCoalescer::ShortTime shortTime;
        HelmSpin::MotionReduced motionReduced;
        Intervals intervals;
    };

    // What a failed action leaves for a person to read.
    using ActionResult = Expected<void, std::string>;

    static constexpr std::string_view runAgentLabel = "com.pelorinth.vorn";
    static constexpr std::string_view releaseAgentLabel = "com.pelorinth.vorn-release";
    static constexpr double updateCheckInterval = 86400;
    static constexpr double reloadTimeout = 30;

    // The running process's home, environment, lookups, built-in payload
    // and network.
    static Options forThisProcess();

    VornMonitor(Options options, Preferences& preferences, Notifier& notifier,
                QObject* parent = nullptr);
    // Waits for a snapshot being read to finish.
    ~VornMonitor() override;

    const VornSnapshot& snapshot() const { return currentSnapshot; }
    const std::optional<VornInstallation>& installation() const { return currentInstallation; }
    HelmSpin& spin() { return *helm; }
    bool hasLoaded() const { return loaded; }
    const std::optional<std::string>& lastActionError() const { return actionError; }
    bool busy() const { return working; }
    const std::optional<VornHealth>& vornHealth() const { return health; }
    const std::optional<BundledVorn::Status>& bundledStatus() const { return bundledState; }
    VornUpdateModel& vornUpdate() { return *updates; }
    bool shipNameEditRequested() const { return shipNameEditWanted; }
    void setShipNameEditRequested(bool requested);
    const std::optional<std::string>& shipNameNotice() const { return shipNotice; }
    void dismissShipNameNotice();
    bool menuIsOpen() const { return menuOpen; }
    // Opening the menu refreshes at once, so it never shows an old state.
    void setMenuIsOpen(bool open);
    // Newest `lastAt` first.
    const std::vector<ErrorGroup>& errorGroups() const { return groups; }

    std::optional<std::string> vornVersion() const;
    bool usingBuiltInVorn() const;
    std::optional<VornCLI> currentCLI() const;
    bool vornReady() const;
    // The oldest scheduler the workspace accepts, when it said so.
    std::optional<VornVersion> requiredVornVersion() const;
    SetupStep::Facts setupFacts() const;

    // The built-in check, the warm-up of the lookups, then a refresh after
    // each sleep. A second call while it runs does nothing.
    void start();
    void stop();
    bool isRunning() const { return ticking; }

    // One full pass: read, publish, announce, maintain.
    QCoro::Task<> refresh();
    // Takes up changed overrides from the preferences with a new reader.
    QCoro::Task<> reload();
    QCoro::Task<> retryBundledInstall();

    QCoro::Task<> setVornPaused(bool paused);
    QCoro::Task<> resumeReleases();
    QCoro::Task<> setRolePaused(VornRole role, bool paused);
    QCoro::Task<> setRunTimerRunning(bool running);
    QCoro::Task<> setReleaseTimerRunning(bool running);
    // Fires the run timer when it is loaded, else runs a cycle itself.
    QCoro::Task<> runCycleNow();
    // Interrupts the running cycle; the scheduler cleans up after itself.
    QCoro::Task<> stopCurrentCycle();
    // Installs the offered scheduler update; whether it was installed.
    QCoro::Task<bool> updateVorn();

    // The sleep after a refresh that read `snapshot`.
    static std::chrono::milliseconds sleepAfter(const VornSnapshot& snapshot, bool menuIsOpen,
                                                const Intervals& intervals);

  signals:
    void snapshotChanged();
    void installationChanged();
    void hasLoadedChanged();
    void lastActionErrorChanged();
    void busyChanged();
    void vornHealthChanged();
    void bundledStatusChanged();
    void shipNameEditRequestedChanged();
    void shipNameNoticeChanged();
    void menuIsOpenChanged();
    void errorGroupsChanged();

  private:
    struct ReaderPass {
        VornSnapshot snapshot;
        std::optional<VornInstallation> installation;
    };
    using CLICommand = std::function<Expected<std::string, VornCLI::Failure>(const VornCLI&)>;

    QCoro::Task<> beginTicking(int generation);
    QCoro::Task<> tick(int generation);
    void warmLookups();
    void scheduleTick();

    QCoro::Task<ReaderPass> readSnapshot(bool invalidateFirst);
    QCoro::Task<> checkHealth(std::optional<VornInstallation> found);
    void publish(const VornSnapshot& fresh, bool firstLoad);
    void announceIfNeeded(const VornSnapshot& previous, const VornSnapshot& current);
    void announceErrorsIfNeeded(const VornSnapshot& current);
    void announceAttentionIfNeeded(const VornSnapshot& current);
    void announceShipAttentionIfNeeded(const VornSnapshot& current);
    QCoro::Task<> reconcileShipNameIfNeeded(VornSnapshot current);
    void checkForVornUpdateIfDue();
    QCoro::Task<> checkForVornUpdate();
    QCoro::Task<> installBundledVorn();

    QCoro::Task<> perform(QCoro::Task<ActionResult> operation);
    QCoro::Task<std::optional<VornCLI>> cli();
    QCoro::Task<ActionResult> withCLI(CLICommand command);
    // Starts the timer, or stops it.
    QCoro::Task<ActionResult> withAgent(std::optional<LaunchAgent> agent, bool running);
    QCoro::Task<ActionResult> fireCycle();
    std::optional<LaunchAgent> runLaunchAgent() const;
    std::optional<LaunchAgent> releaseLaunchAgent() const;
    std::optional<LaunchAgent> launchAgent(std::string_view label,
                                           const std::optional<LaunchAgentLocation>& found) const;

    std::shared_ptr<VornReader> makeReader() const;
    Timestamp now() const;

    void setBundledStatus(const BundledVorn::Status& status);
    // Stores `value` and tells the observers of `field`, only when it differs.
    template <class T, class Value>
    void change(T& field, Value&& value, void (VornMonitor::*changed)()) {
        if (field == value) return;
        field = std::forward<Value>(value);
        (this->*changed)();
    }

    Options options;
    Preferences& preferences;
    Notifier& notifier;

    VornSnapshot currentSnapshot = VornSnapshot::empty();
    std::optional<VornInstallation> currentInstallation;
    HelmSpin* helm;
    bool loaded = false;
    std::optional<std::string> actionError;
    bool working = false;
    std::optional<VornHealth> health;
    std::optional<BundledVorn::Status> bundledState;
    VornUpdateModel* updates;
    bool shipNameEditWanted = false;
    std::optional<std::string> shipNotice;
    bool menuOpen = false;
    std::vector<ErrorGroup> groups;

    std::optional<std::string> reconciledDrift;
    bool versionStale = true;
    std::optional<std::string> announcedCycle;
    ErrorCoalescer errorCoalescer;
    Timestamp launchedAt;
    bool updateCheckStarted = false;

    // One thread: the reader is called by one thread at a time, in order.
    QThreadPool readerPool;
    // Shared with the work on the reader's thread, so a reader replaced
    // while it reads lives until it is done.
    std::shared_ptr<VornReader> reader;
    QTimer ticker;
    bool ticking = false;
    // Tells the passes of a ticker that was stopped, or restarted, to end.
    int tickerGeneration = 0;
};

}  // namespace vorn
