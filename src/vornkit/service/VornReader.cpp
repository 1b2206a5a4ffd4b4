#include "service/VornReader.h"

#include <signal.h>

#include <algorithm>
#include <future>
#include <limits>
#include <system_error>

#include "model/CycleFold.h"
#include "model/VornEventDecoder.h"
#include "model/VornStatusDocument.h"
#include "service/VornCLI.h"
#include "service/WorktreeLocator.h"
#include "support/Expected.h"
#include "support/Text.h"
#include "support/TextFile.h"

namespace vorn {

namespace {

std::optional<std::filesystem::file_time_type> modificationDate(const std::filesystem::path& file) {
    std::error_code error;
    const auto date = std::filesystem::last_write_time(file, error);
    if (error) return std::nullopt;
    return date;
}

bool markerExists(const VornConfig& config, std::string_view name) {
    std::error_code error;
    return std::filesystem::exists(config.ship.stateDir / name, error);
}

// A launch agent as discovery found it, else the one the scheduler would
// install under its plain label.
LaunchAgent agentFor(const std::optional<LaunchAgentLocation>& location,
                     std::string_view defaultLabel, const std::filesystem::path& home) {
    if (location) return LaunchAgent{location->label, location->plist};
    return LaunchAgent{std::string(defaultLabel), VornPaths::launchAgentURL(defaultLabel, home)};
}

// The scheduler's own document, from `status --json` run for this
// installation; without one, why not, as the structure line tells it.
Expected<VornStatusDocument, std::string> askVorn(const VornInstallation& installation) {
    if (!installation.executable) return Unexpected(std::string(StructureSource::noExecutable));
    const auto output = VornCLI(installation).run({"status", "--json"}, VornReader::statusTimeout);
    if (!output || !Text::trimWhitespace(*output).starts_with('{')) {
        return Unexpected(std::string(StructureSource::noStatusCommand));
    }
    auto document = VornStatusDocument::decode(*output, installation.configFile);
    if (!document) return Unexpected(std::string(StructureSource::unreadableVersion));
    return std::move(*document);
}

}  // namespace

VornReader::Options VornReader::currentProcess(
    std::optional<std::filesystem::path> configOverride,
    std::optional<std::filesystem::path> vornCommandOverride) {
    Options options;
    options.discovery = VornPaths::currentProcess();
    options.discovery.configOverride = std::move(configOverride);
    options.discovery.vornCommandOverride = std::move(vornCommandOverride);
    return options;
}

VornReader::VornReader(Options readerOptions) : options(std::move(readerOptions)) {
    if (!options.serviceManager) options.serviceManager = ServiceManager::forThisMachine();
}

Timestamp VornReader::now() const {
    return options.now ? options.now() : std::chrono::system_clock::now();
}

bool VornReader::isFresh(const std::optional<Timestamp>& checkedAt, double interval) const {
    return checkedAt && secondsBetween(*checkedAt, now()) < interval;
}

VornSnapshot VornReader::snapshot() {
    loadConfigIfNeeded();
    VornSnapshot snapshot = VornSnapshot::empty();
    snapshot.config = config;
    snapshot.configError = configError;
    snapshot.editableRoutes = fileRoutes;
    if (!config) return snapshot;

    if (!tail) {
        tail = std::make_unique<EventTail>(config->eventFile(), EventTail::standardSeedBytes,
                                           EventTail::standardKeep);
    }
    tail->pump();
    const auto events = tail->events();
    snapshot.cycle = CycleFold::fold(events);
    snapshot.recent = recentWindow(events, recentKeep);
    if (!events.empty()) snapshot.lastEventAt = events.back().at;
    snapshot.vornPaused = markerExists(*config, ".vorn-paused");
    snapshot.releasePaused = markerExists(*config, ".release-paused");
    if (snapshot.cycle && snapshot.cycle->role) {
        snapshot.runningPid =
            livePid("vorn-role-" + std::string(rawValue(*snapshot.cycle->role)), *config);
    }
    snapshot.watermark = watermark(*config);
    const TimerPair timerPair = timerStatuses();
    snapshot.runTimer = timerPair.run;
    snapshot.releaseTimer = timerPair.release;
    snapshot.workers = workers(snapshot.cycle, *config, snapshot.runningPid);
    snapshot.roles = roles(snapshot.cycle, *config, snapshot.workers);
    snapshot.agentDetail = agentDetail(snapshot.cycle, *config, snapshot.runningPid);
    snapshot.passenger = currentPassengerStatus();
    snapshot.shipAttention = shipAttention;
    snapshot.shipName = shipName;
    return snapshot;
}

void VornReader::invalidate() {
    configStamp.reset();
    timerCheckedAt.reset();
    tail.reset();
    agentDetailTail.reset();
}

void VornReader::loadConfigIfNeeded() {
    auto discovered = VornPaths::discover(options.discovery);
    if (!discovered) {
        found.reset();
        config.reset();
        configError = discovered.error().description();
        fileRoutes.clear();
        return;
    }
    const VornInstallation& installation = *discovered;
    const auto stamp = modificationDate(installation.configFile);
    if (config && found == installation && stamp == configStamp) return;

    found = installation;
    configStamp = stamp;
    runLaunchAgent =
        agentFor(installation.runLaunchAgent, VornPaths::defaultLabel, options.discovery.home);
    releaseLaunchAgent = agentFor(installation.releaseLaunchAgent, VornPaths::releaseLabelStem,
                                  options.discovery.home);
    timerCheckedAt.reset();
    passengerCheckedAt.reset();
    if (!installation.configExists) {
        config.reset();
        configError.reset();
        fileRoutes.clear();
        return;
    }
    auto parsed = VornConfig::load(installation.configFile, options.discovery.home);
    fileRoutes = parsed ? parsed->routes : std::vector<VornRoute>{};
    askStatusOrParse(installation);
}

void VornReader::askStatusOrParse(const VornInstallation& installation) {
    auto document = askVorn(installation);
    if (document) {
        source = StructureSource::statusJSON(document->version);
        storeConfig(std::move(document->config));
        return;
    }
    source = StructureSource::parsedYAML(std::move(document.error()));
    auto parsed = VornConfig::load(installation.configFile, options.discovery.home);
    if (!parsed) {
        config.reset();
        configError = parsed.error().description();
        return;
    }
    storeConfig(std::move(*parsed));
}

void VornReader::storeConfig(VornConfig fresh) {
    // Another event log means another tail; the same one keeps its buffer.
    if (config && config->eventFile() != fresh.eventFile()) tail.reset();
    config = std::move(fresh);
    configError.reset();
}

VornReader::TimerPair VornReader::timerStatuses() {
    if (isFresh(timerCheckedAt, timerInterval)) return timers;
    const auto ask = [this](const std::optional<LaunchAgent>& agent) {
        return agent ? std::optional<TimerStatus>(agent->status(*options.serviceManager))
                     : std::nullopt;
    };
    // Each question may wait for its manager's time limit; both wait at once.
    auto releaseAnswer = std::async(std::launch::async, ask, std::cref(releaseLaunchAgent));
    timers.run = ask(runLaunchAgent);
    timers.release = releaseAnswer.get();
    timerCheckedAt = now();
    return timers;
}

std::vector<VornEvent> VornReader::agentDetail(const std::optional<CycleState>& cycle,
                                               const VornConfig& config,
                                               std::optional<std::int64_t> runningPid) {
    if (!runningPid || !cycle || !cycle->role) {
        agentDetailTail.reset();
        return {};
    }
    const std::filesystem::path file =
        config.streamsDir() / (cycle->route + "-" + std::string(rawValue(*cycle->role)) + "-" +
                               cycle->cycle + ".events.jsonl");
    if (!agentDetailTail || agentDetailTail->file() != file) {
        agentDetailTail = std::make_unique<EventTail>(file, EventTail::standardSeedBytes,
                                                      EventTail::standardKeep);
    }
    // Read what the agent appended since the last snapshot, so the detail
    // follows the run as the log does.
    agentDetailTail->pump();
    const auto events = agentDetailTail->events();
    return {events.begin(), events.end()};
}

std::optional<PassengerStatus> VornReader::currentPassengerStatus() {
    if (!found || !found->executable) return std::nullopt;
    if (isFresh(passengerCheckedAt, passengerInterval)) return passengerStatus;
    passengerCheckedAt = now();
    auto document = askVorn(*found);
    if (!document) {
        passengerStatus.reset();
        shipAttention.clear();
        shipName.reset();
        return std::nullopt;
    }
    passengerStatus = document->passenger;
    shipAttention = std::move(document->shipAttention);
    shipName = document->shipName;
    return passengerStatus;
}

std::vector<VornEvent> VornReader::recentWindow(std::span<const VornEvent> events,
                                                std::size_t keep) {
    // Chosen from the newest back, so only the events kept are ever copied:
    // this runs on every snapshot over a buffer of thousands.
    std::vector<std::size_t> chosen;
    std::size_t storyCount = 0;
    std::size_t hookCount = 0;
    for (std::size_t index = events.size(); index-- > 0;) {
        if (storyCount == keep && hookCount == keep) break;
        std::size_t& count = events[index].hook ? hookCount : storyCount;
        if (count == keep) continue;
        ++count;
        chosen.push_back(index);
    }
    std::vector<VornEvent> window;
    window.reserve(chosen.size());
    for (auto index = chosen.rbegin(); index != chosen.rend(); ++index) {
        window.push_back(events[*index]);
    }
    const auto byID = [](const VornEvent& left, const VornEvent& right) {
        return left.id < right.id;
    };
    // A tail's buffer is in id order already; only other input needs the sort.
    if (!std::is_sorted(window.begin(), window.end(), byID)) {
        std::stable_sort(window.begin(), window.end(), byID);
    }
    return window;
}

std::optional<std::int64_t> VornReader::livePid(std::string_view lockName,
                                                const VornConfig& config) {
    // Built by appending: GCC 12's optimiser misreads `"." + name + ".lock"`
    // as an overlapping copy.
    std::string fileName(".");
    fileName.append(lockName).append(".lock");
    const auto text = TextFile::read(config.ship.stateDir / fileName);
    if (!text) return std::nullopt;
    const auto pid = Text::decimalInteger(Text::trimWhitespace(*text));
    if (!pid || *pid < 1 || *pid > std::numeric_limits<std::int32_t>::max()) return std::nullopt;
    if (::kill(static_cast<pid_t>(*pid), 0) != 0) return std::nullopt;
    return pid;
}

std::optional<Timestamp> VornReader::watermark(const VornConfig& config) {
    const auto text = TextFile::read(config.ship.stateDir / ".poll-watermark");
    if (!text) return std::nullopt;
    const auto trimmed = Text::trimWhitespace(*text);
    if (trimmed.empty()) return std::nullopt;
    const Timestamp date = VornEventDecoder::date(trimmed);
    if (date == distantPast) return std::nullopt;
    return date;
}

std::vector<ActiveWorker> VornReader::workers(const std::optional<CycleState>& cycle,
                                              const VornConfig& config,
                                              std::optional<std::int64_t> runningPid) {
    if (!runningPid || !cycle || !cycle->role || cycle->step == VornStep::idle) return {};
    ActiveWorker worker;
    worker.route = cycle->route;
    worker.role = *cycle->role;
    worker.ticket = cycle->ticket;
    worker.step = cycle->step;
    worker.startedAt = cycle->startedAt;
    worker.lastEventAt = cycle->lastAt;
    const auto number = cycle->ticket ? VornEvent::ticketNumber(*cycle->ticket) : std::nullopt;
    const VornRoute* route = number ? config.route(cycle->route) : nullptr;
    if (route) {
        if (auto match = WorktreeLocator::locate(*number, *route)) {
            worker.repo = std::move(match->repo);
            worker.worktree = std::move(match->path);
        }
    }
    if (const auto seat = config.seat(*cycle->role)) {
        worker.seatName = seat->name;
        worker.personaName = seat->personaName;
    }
    return {std::move(worker)};
}

std::vector<RoleStatus> VornReader::roles(const std::optional<CycleState>& cycle,
                                          const VornConfig& config,
                                          std::span<const ActiveWorker> workers) {
    std::vector<RoleStatus> statuses;
    for (const auto& [role, name] : RawValues<VornRole>::table) {
        RoleStatus status = RoleStatus::derived(role, workers, cycle);
        status.paused = markerExists(config, ".role-paused-" + std::string(name));
        if (const auto seat = config.seat(role)) {
            status.seatName = seat->name;
            status.personaName = seat->personaName;
        }
        statuses.push_back(std::move(status));
    }
    return statuses;
}

}  // namespace vorn
