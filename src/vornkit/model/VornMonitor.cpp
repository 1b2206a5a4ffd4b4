#include "model/VornMonitor.h"

#include <signal.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QPointer>
#include <QUuid>
#include <algorithm>
#include <cstdio>

#include "model/AttentionAnnouncer.h"
#include "model/Background.h"
#include "model/HelmSpinTrigger.h"
#include "model/ShipAttentionAnnouncer.h"
#include "model/ShipNameNotice.h"
#include "platform/LocalTime.h"
#include "service/CommandLookups.h"
#include "service/Diagnostics.h"
#include "service/VornPaths.h"
#include "support/HomeFolder.h"
#include "support/RawValue.h"

namespace vorn {

namespace {

std::string freshIdentifier() {
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toStdString();
}

std::string yesNo(bool value) {
    return value ? "yes" : "no";
}

// The newest event of `recent` that says a ticket went out.
const VornEvent* releaseEvent(const std::vector<VornEvent>& recent) {
    for (auto event = recent.rbegin(); event != recent.rend(); ++event) {
        if (event->step == VornStep::release &&
            event->message.find("released") != std::string::npos) {
            return &*event;
        }
    }
    return nullptr;
}

std::vector<ErrorGroup> newestFirst(std::vector<ErrorGroup> groups) {
    std::stable_sort(groups.begin(), groups.end(),
                     [](const ErrorGroup& a, const ErrorGroup& b) { return a.lastAt > b.lastAt; });
    return groups;
}

void tellStandardError(const std::string& line) {
    std::fputs((line + "\n").c_str(), stderr);
}

// What the built-in check found, read on a worker.
struct BundledCheck {
    Expected<BundledVorn::Outcome, BundledVorn::InstallError> outcome;
    int quarantineRemoved = 0;
};

std::string outcomeLine(const BundledVorn::Outcome& outcome) {
    if (const auto* installed = std::get_if<BundledVorn::Installed>(&outcome)) {
        return "built-in vorn: installed " + installed->version + " (replaced " +
               installed->replaced.value_or("nothing") + ")";
    }
    if (const auto* upToDate = std::get_if<BundledVorn::UpToDate>(&outcome)) {
        return "built-in vorn: up to date (" + upToDate->version + ")";
    }
    return "built-in vorn: not bundled";
}

// The machine's own service manager unless one is given, made once, so the
// readers and the actions on the timers ask the same.
VornMonitor::Options withServiceManager(VornMonitor::Options options) {
    if (!options.reader.serviceManager) {
        options.reader.serviceManager = ServiceManager::forThisMachine();
    }
    return options;
}

}  // namespace

VornMonitor::Options VornMonitor::forThisProcess() {
    Options options;
    options.reader = VornReader::currentProcess();
    options.home = HomeFolder::path();
    options.environment = ProcessEnvironment::current();
    options.bundled = BundledVorn::forThisApplication(options.home);
    options.warmLookups = &CommandLookups::warmLive;
    options.update.architecture = std::string(BundledVorn::buildArchitecture);
    options.update.fetch = VornUpdateModel::liveFetch();
    options.shortTime = LocalTime::shortTimeInSystemLocale();
    return options;
}

VornMonitor::VornMonitor(Options options, Preferences& preferences, Notifier& notifier,
                         QObject* parent)
    : QObject(parent),
      options(withServiceManager(std::move(options))),
      preferences(preferences),
      notifier(notifier),
      helm(new HelmSpin(preferences, this->options.motionReduced, HelmSpin::defaultAmplitude,
                        HelmSpin::defaultDuration, this)),
      updates(new VornUpdateModel(this->options.update, this)),
      shipNotice(preferences.shipNameNotice()),
      errorCoalescer(this->options.shortTime),
      launchedAt(now()),
      reader(makeReader()) {
    readerPool.setMaxThreadCount(1);
    ticker.setSingleShot(true);
    connect(&ticker, &QTimer::timeout, this, [this] { tick(tickerGeneration); });
}

// The reader's pool, going, waits for the snapshot it is reading.
VornMonitor::~VornMonitor() = default;

// Observable state

void VornMonitor::setShipNameEditRequested(bool requested) {
    change(shipNameEditWanted, requested, &VornMonitor::shipNameEditRequestedChanged);
}

void VornMonitor::dismissShipNameNotice() {
    change(shipNotice, std::nullopt, &VornMonitor::shipNameNoticeChanged);
    preferences.setShipNameNotice(std::nullopt);
}

void VornMonitor::setMenuIsOpen(bool open) {
    if (open == menuOpen) return;
    menuOpen = open;
    emit menuIsOpenChanged();
    if (!open) return;
    refresh();
    // The ticker's sleep shortens to the open menu's at once.
    if (ticker.isActive() && ticker.remainingTimeAsDuration() > options.intervals.menuOpen) {
        ticker.start(options.intervals.menuOpen);
    }
}

std::optional<std::string> VornMonitor::vornVersion() const {
    if (!health) return std::nullopt;
    return health->version;
}

bool VornMonitor::usingBuiltInVorn() const {
    return currentInstallation &&
           currentInstallation->executableSource == ExecutableSource::bundled;
}

std::optional<VornCLI> VornMonitor::currentCLI() const {
    if (!currentInstallation) return std::nullopt;
    return VornCLI(*currentInstallation, options.environment);
}

bool VornMonitor::vornReady() const {
    return currentCLI() && health && health->version && !health->runFailure;
}

std::optional<VornVersion> VornMonitor::requiredVornVersion() const {
    for (const ShipAttentionItem& item : currentSnapshot.shipAttention) {
        if (item.kind == "vorn_outdated") return item.requiredVornVersion();
    }
    return std::nullopt;
}

SetupStep::Facts VornMonitor::setupFacts() const {
    return SetupStep::facts(currentSnapshot, currentInstallation);
}

// The ticker

void VornMonitor::start() {
    if (ticking) return;
    ticking = true;
    beginTicking(++tickerGeneration);
}

void VornMonitor::stop() {
    ticking = false;
    ++tickerGeneration;
    ticker.stop();
    helm->stop();
}

std::chrono::milliseconds VornMonitor::sleepAfter(const VornSnapshot& snapshot, bool menuIsOpen,
                                                  const Intervals& intervals) {
    if (menuIsOpen) return intervals.menuOpen;
    if (snapshot.runningPid) return intervals.running;
    return intervals.idle;
}

QCoro::Task<> VornMonitor::beginTicking(int generation) {
    const QPointer<VornMonitor> self(this);
    co_await installBundledVorn();
    if (!self || generation != tickerGeneration) co_return;
    warmLookups();
    co_await tick(generation);
}

QCoro::Task<> VornMonitor::tick(int generation) {
    const QPointer<VornMonitor> self(this);
    co_await refresh();
    if (!self || generation != tickerGeneration) co_return;
    ticker.start(sleepAfter(currentSnapshot, menuOpen, options.intervals));
}

void VornMonitor::warmLookups() {
    if (!options.warmLookups) return;
    // Discovery asks the lookups only once they are warm, so a better
    // scheduler than the one found at first shows up with the next pass.
    const QPointer<VornMonitor> self(this);
    options.warmLookups([self] {
        QCoreApplication* application = QCoreApplication::instance();
        if (!application) return;
        QMetaObject::invokeMethod(
            application,
            [self] {
                if (self && self->ticking) self->refresh();
            },
            Qt::QueuedConnection);
    });
}

// One pass

QCoro::Task<VornMonitor::ReaderPass> VornMonitor::readSnapshot(bool invalidateFirst) {
    const std::shared_ptr<VornReader> current = reader;
    auto work = [current, invalidateFirst] {
        if (invalidateFirst) current->invalidate();
        ReaderPass pass;
        pass.snapshot = current->snapshot();
        pass.installation = current->installation();
        return pass;
    };
    ReaderPass pass = co_await Background::run(readerPool, std::move(work));
    co_return pass;
}

QCoro::Task<> VornMonitor::refresh() {
    const QPointer<VornMonitor> self(this);
    ReaderPass pass = co_await readSnapshot(false);
    if (!self) co_return;
    Diagnostics::log([] { return std::string("snapshot: status done"); });
    if (pass.installation != currentInstallation || versionStale) {
        co_await checkHealth(pass.installation);
        if (!self) co_return;
    }
    const bool firstLoad = !loaded;
    change(loaded, true, &VornMonitor::hasLoadedChanged);
    const VornSnapshot previous = currentSnapshot;
    publish(pass.snapshot, firstLoad);
    // A launch has nothing to hand over from.
    const std::optional<VornSnapshot> handedFrom =
        firstLoad ? std::nullopt : std::optional<VornSnapshot>(previous);
    if (HelmSpinTrigger::shouldSpin(handedFrom, pass.snapshot)) helm->spin();
    announceIfNeeded(previous, pass.snapshot);
    announceErrorsIfNeeded(pass.snapshot);
    announceAttentionIfNeeded(pass.snapshot);
    announceShipAttentionIfNeeded(pass.snapshot);
    co_await reconcileShipNameIfNeeded(pass.snapshot);
    if (!self) co_return;
    checkForVornUpdateIfDue();
}

QCoro::Task<> VornMonitor::checkHealth(std::optional<VornInstallation> found) {
    const QPointer<VornMonitor> self(this);
    change(currentInstallation, found, &VornMonitor::installationChanged);
    QElapsedTimer timer;
    timer.start();
    std::optional<VornHealth> result;
    if (const std::optional<VornCLI> cli = currentCLI()) {
        auto work = [command = *cli] { return command.health(); };
        result = co_await Background::run(std::move(work));
        if (!self) co_return;
    }
    change(health, result, &VornMonitor::vornHealthChanged);
    if (!loaded) {
        Diagnostics::log([&] {
            const std::string version = result && result->version ? *result->version : "none";
            const std::string failure =
                result && result->runFailure ? *result->runFailure : std::string("ok");
            char seconds[32];
            std::snprintf(seconds, sizeof seconds, "%.1f",
                          static_cast<double>(timer.elapsed()) / 1000);
            return "vorn health check: " + version + " (" + failure + ") in " + seconds + " s";
        });
    }
    versionStale = false;
}

void VornMonitor::publish(const VornSnapshot& fresh, bool firstLoad) {
    const bool configChanged = fresh.config != currentSnapshot.config;
    change(currentSnapshot, fresh, &VornMonitor::snapshotChanged);
    if (!firstLoad) return;
    Diagnostics::log([&] {
        return "snapshot loaded: config=" + yesNo(configChanged) +
               " unit=" + yesNo(setupFacts().hasSchedulerUnit) +
               " cli=" + yesNo(currentCLI().has_value());
    });
}

void VornMonitor::announceIfNeeded(const VornSnapshot& previous, const VornSnapshot& current) {
    if (!current.cycle || current.cycle->cycle == announcedCycle) return;
    // The notice waits for the run's end.
    if (!previous.runningPid || current.runningPid) return;
    announcedCycle = current.cycle->cycle;
    if (!preferences.notifyOnRelease()) return;
    if (const VornEvent* released = releaseEvent(current.recent)) {
        notifier.post(freshIdentifier(), "Vorn: released", released->message, std::nullopt);
    }
}

void VornMonitor::announceErrorsIfNeeded(const VornSnapshot& current) {
    const std::vector<ErrorNotice> notices =
        errorCoalescer.ingest(current.recent, launchedAt, now());
    change(groups, newestFirst(errorCoalescer.groups()), &VornMonitor::errorGroupsChanged);
    for (const ErrorNotice& notice : notices) {
        const bool wanted =
            notice.transient ? preferences.notifyOnTrackerDown() : preferences.notifyOnFailure();
        if (wanted) notifier.post(notice.identifier, notice.title, notice.body, std::nullopt);
    }
}

void VornMonitor::announceAttentionIfNeeded(const VornSnapshot& current) {
    // Switched off, the watermark stays where it is: events held back now
    // are announced once it is switched on, while they are still recent.
    if (!preferences.notifyOnAttention()) return;
    const std::vector<VornEvent> selected =
        AttentionAnnouncer::select(current.recent, preferences.attentionNotifiedThrough());
    for (const VornEvent& event : selected) {
        const NotificationContent content = AttentionAnnouncer::notice(event);
        notifier.post(freshIdentifier(), content.title, content.body, content.url);
    }
    if (const auto newest = AttentionAnnouncer::newestAt(selected)) {
        preferences.setAttentionNotifiedThrough(*newest);
    }
}

void VornMonitor::announceShipAttentionIfNeeded(const VornSnapshot& current) {
    if (!preferences.notifyOnAttention()) return;
    std::set<std::string> announced = preferences.shipAttentionAnnounced();
    for (const ShipAttentionItem& item :
         ShipAttentionAnnouncer::select(current.shipAttention, announced, now())) {
        const NotificationContent content = ShipAttentionAnnouncer::notice(item, item.label());
        notifier.post(freshIdentifier(), content.title, content.body, content.url);
        announced.insert(item.id());
    }
    preferences.setShipAttentionAnnounced(
        ShipAttentionAnnouncer::stillOpen(announced, current.shipAttention));
}

QCoro::Task<> VornMonitor::reconcileShipNameIfNeeded(VornSnapshot current) {
    const QPointer<VornMonitor> self(this);
    const std::optional<ShipNameStatus>& status = current.shipName;
    if (!status || status->drift == ShipNameDrift::none || !status->rowName) {
        reconciledDrift.reset();
        co_return;
    }
    const std::string rowName = *status->rowName;
    const std::string key = std::string(rawValue(status->drift)) + ":" + rowName;
    // A disagreement is tried once, until it changes or clears.
    if (reconciledDrift == key) co_return;
    const std::optional<VornCLI> cli = currentCLI();
    if (!cli) co_return;
    reconciledDrift = key;
    auto poll = [command = *cli] { return command.poll(std::nullopt); };
    const auto polled = co_await Background::run(std::move(poll));
    if (!self || !polled) co_return;
    const ReaderPass pass = co_await readSnapshot(true);
    if (!self) co_return;
    if (!pass.snapshot.config || pass.snapshot.config->ship.name != rowName) co_return;
    change(currentSnapshot, pass.snapshot, &VornMonitor::snapshotChanged);
    std::optional<std::string> replacedLocal;
    if (status->drift == ShipNameDrift::both && current.config) {
        replacedLocal = current.config->ship.name;
    }
    const std::string notice = ShipNameNotice::text(rowName, replacedLocal);
    change(shipNotice, notice, &VornMonitor::shipNameNoticeChanged);
    preferences.setShipNameNotice(notice);
}

// Maintenance

void VornMonitor::checkForVornUpdateIfDue() {
    if (!usingBuiltInVorn() || updateCheckStarted) return;
    const std::optional<Timestamp> checkedAt = preferences.vornUpdateCheckedAt();
    if (checkedAt && secondsBetween(*checkedAt, now()) < updateCheckInterval) return;
    updateCheckStarted = true;
    checkForVornUpdate();
}

QCoro::Task<> VornMonitor::checkForVornUpdate() {
    const QPointer<VornMonitor> self(this);
    co_await updates->check(vornVersion());
    if (!self) co_return;
    updateCheckStarted = false;
    if (const auto checkedAt = updates->lastChecked()) {
        preferences.setVornUpdateCheckedAt(*checkedAt);
    }
    const std::optional<VornRelease>& release = updates->available();
    if (!release || !preferences.notifyOnVornUpdate()) co_return;
    const std::string version = release->version.description();
    if (version == preferences.vornUpdateAnnounced()) co_return;
    preferences.setVornUpdateAnnounced(version);
    notifier.post(freshIdentifier(), "vorn " + version + " is available",
                  "Open Vorn's Settings or menu to update. Nothing is installed until you do.",
                  std::nullopt);
}

QCoro::Task<bool> VornMonitor::updateVorn() {
    const QPointer<VornMonitor> self(this);
    if (!currentInstallation || !currentInstallation->executable) co_return false;
    const std::filesystem::path folder = currentInstallation->executable->parent_path();
    const bool updated = co_await updates->update(folder);
    if (!self || !updated) co_return updated;
    co_await readSnapshot(true);
    if (!self) co_return true;
    if (const std::optional<VornCLI> command = co_await cli()) {
        auto reload = [command = *command] { return command.reload(); };
        co_await Background::run(std::move(reload));
        if (!self) co_return true;
    }
    co_await refresh();
    co_return true;
}

QCoro::Task<> VornMonitor::installBundledVorn() {
    if (!options.bundled) co_return;
    const QPointer<VornMonitor> self(this);
    auto work = [bundledVorn = *options.bundled] {
        BundledCheck check{bundledVorn.installIfNeeded(), 0};
        check.quarantineRemoved = bundledVorn.repairQuarantine();
        return check;
    };
    const BundledCheck check = co_await Background::run(std::move(work));
    if (!self) co_return;
    if (check.quarantineRemoved > 0) {
        Diagnostics::log([&] {
            return "built-in vorn: removed quarantine from " +
                   std::to_string(check.quarantineRemoved) + " installed item(s)";
        });
    }
    if (check.outcome) {
        Diagnostics::log([&] { return outcomeLine(*check.outcome); });
        setBundledStatus(BundledVorn::Status::outcome(*check.outcome));
        co_return;
    }
    const std::string& reason = check.outcome.error().description();
    Diagnostics::log([&] { return "built-in vorn: failed: " + reason; });
    tellStandardError("Vorn: could not install the built-in vorn: " + reason);
    setBundledStatus(BundledVorn::Status{BundledVorn::Status::Failed{reason}});
}

QCoro::Task<> VornMonitor::reload() {
    reader = makeReader();
    co_await refresh();
}

QCoro::Task<> VornMonitor::retryBundledInstall() {
    const QPointer<VornMonitor> self(this);
    versionStale = true;
    co_await installBundledVorn();
    if (!self) co_return;
    co_await refresh();
}

// Actions

QCoro::Task<> VornMonitor::setVornPaused(bool paused) {
    return perform(withCLI([paused](const VornCLI& cli) {
        return paused ? cli.pause(std::nullopt, std::nullopt)
                      : cli.resume(std::nullopt, std::nullopt);
    }));
}

QCoro::Task<> VornMonitor::resumeReleases() {
    return perform(withCLI([](const VornCLI& cli) { return cli.resumeReleases(std::nullopt); }));
}

QCoro::Task<> VornMonitor::setRolePaused(VornRole role, bool paused) {
    return perform(withCLI([role, paused](const VornCLI& cli) {
        return paused ? cli.pause(role, std::nullopt) : cli.resume(role, std::nullopt);
    }));
}

QCoro::Task<> VornMonitor::setRunTimerRunning(bool running) {
    return perform(withAgent(runLaunchAgent(), running));
}

QCoro::Task<> VornMonitor::setReleaseTimerRunning(bool running) {
    return perform(withAgent(releaseLaunchAgent(), running));
}

QCoro::Task<> VornMonitor::runCycleNow() {
    return perform(fireCycle());
}

QCoro::Task<> VornMonitor::stopCurrentCycle() {
    auto interrupt = [](std::optional<std::int64_t> pid) -> QCoro::Task<ActionResult> {
        // What the signal did shows in the next snapshot; its answer doesn't.
        if (pid) ::kill(static_cast<pid_t>(*pid), SIGINT);
        co_return ActionResult{};
    };
    return perform(interrupt(currentSnapshot.runningPid));
}

QCoro::Task<> VornMonitor::perform(QCoro::Task<ActionResult> operation) {
    // A second action while one runs is not refused: the screens disable
    // their controls through `busy`.
    const QPointer<VornMonitor> self(this);
    change(working, true, &VornMonitor::busyChanged);
    change(actionError, std::nullopt, &VornMonitor::lastActionErrorChanged);
    const ActionResult result = co_await std::move(operation);
    if (!self) co_return;
    if (!result) change(actionError, result.error(), &VornMonitor::lastActionErrorChanged);
    change(working, false, &VornMonitor::busyChanged);
    co_await refresh();
}

QCoro::Task<std::optional<VornCLI>> VornMonitor::cli() {
    // The reader's own installation, so that an action right after the
    // installation changed already uses the new one.
    const std::shared_ptr<VornReader> current = reader;
    const Environment environment = options.environment;
    auto work = [current] { return current->installation(); };
    const std::optional<VornInstallation> found =
        co_await Background::run(readerPool, std::move(work));
    if (!found) co_return std::nullopt;
    co_return VornCLI(*found, environment);
}

QCoro::Task<VornMonitor::ActionResult> VornMonitor::withCLI(CLICommand command) {
    const std::optional<VornCLI> found = co_await cli();
    if (!found) co_return Unexpected(VornCLI::Failure::notInstalled().description());
    auto work = [command, cli = *found]() -> ActionResult {
        const auto answer = command(cli);
        if (!answer) return Unexpected(answer.error().description());
        return {};
    };
    const ActionResult result = co_await Background::run(std::move(work));
    co_return result;
}

QCoro::Task<VornMonitor::ActionResult> VornMonitor::withAgent(std::optional<LaunchAgent> agent,
                                                              bool running) {
    if (!agent) co_return Unexpected(LaunchAgentFailure::noPropertyList().description());
    auto work = [running, job = *agent, manager = options.reader.serviceManager]() -> ActionResult {
        const LaunchAgent::Outcome outcome = running ? job.start(*manager) : job.stop(*manager);
        if (!outcome) return Unexpected(outcome.error().description());
        return {};
    };
    const ActionResult result = co_await Background::run(std::move(work));
    co_return result;
}

QCoro::Task<VornMonitor::ActionResult> VornMonitor::fireCycle() {
    // The run timer, when it is loaded, runs the cycle the way it always
    // does; the application starts one itself only without it.
    const QPointer<VornMonitor> self(this);
    const std::optional<LaunchAgent> agent = runLaunchAgent();
    const std::shared_ptr<const ServiceManager> manager = options.reader.serviceManager;
    if (agent) {
        auto kick = [job = *agent, manager]() -> std::optional<LaunchAgent::Outcome> {
            if (!job.status(*manager).loaded) return std::nullopt;
            return job.kickstart(*manager);
        };
        const std::optional<LaunchAgent::Outcome> kicked =
            co_await Background::run(std::move(kick));
        if (kicked && *kicked) co_return ActionResult{};
        if (kicked) co_return Unexpected(kicked->error().description());
        if (!self) co_return ActionResult{};
    }
    const ActionResult ran = co_await withCLI(
        [](const VornCLI& cli) { return cli.runCycle(std::nullopt, std::nullopt); });
    co_return ran;
}

std::optional<LaunchAgent> VornMonitor::runLaunchAgent() const {
    return launchAgent(runAgentLabel,
                       currentInstallation ? currentInstallation->runLaunchAgent : std::nullopt);
}

std::optional<LaunchAgent> VornMonitor::releaseLaunchAgent() const {
    return launchAgent(releaseAgentLabel, currentInstallation
                                              ? currentInstallation->releaseLaunchAgent
                                              : std::nullopt);
}

std::optional<LaunchAgent> VornMonitor::launchAgent(
    std::string_view label, const std::optional<LaunchAgentLocation>& found) const {
    // The timer discovery found, which may carry a hashed label; else the
    // plain one the scheduler installs by default.
    if (found) return LaunchAgent{found->label, found->plist};
    if (options.home.empty()) return std::nullopt;
    return LaunchAgent{std::string(label), VornPaths::launchAgentURL(label, options.home)};
}

// Helpers

std::shared_ptr<VornReader> VornMonitor::makeReader() const {
    VornReader::Options readerOptions = options.reader;
    readerOptions.discovery.configOverride = preferences.configOverride();
    readerOptions.discovery.vornCommandOverride = preferences.vornCommandOverride();
    return std::make_shared<VornReader>(std::move(readerOptions));
}

Timestamp VornMonitor::now() const {
    return options.reader.now ? options.reader.now() : std::chrono::system_clock::now();
}

void VornMonitor::setBundledStatus(const BundledVorn::Status& status) {
    preferences.setBundledInstallSummary(status.summary());
    change(bundledState, std::optional(status), &VornMonitor::bundledStatusChanged);
}

}  // namespace vorn
