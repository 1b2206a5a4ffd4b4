#include "service/Probe.h"

#include <algorithm>

#include "platform/Preferences.h"
#include "service/BundledVorn.h"
#include "service/VornCLI.h"
#include "service/WorktreeLocator.h"
#include "support/Format.h"
#include "support/Text.h"

namespace vorn {

namespace {

constexpr size_t kLabelWidth = 13;
constexpr size_t kTimerNameWidth = 14;
constexpr size_t kRepoNameWidth = 14;
// A route can gather many worktrees; the heading still counts them all.
constexpr size_t kWorktreeLinesPerRoute = 12;
constexpr size_t kRecentEventLines = 8;
constexpr size_t kSeatRoleWidth = 8;

}  // namespace

std::string Probe::line(std::string_view label, std::string_view value) {
    std::string text = Text::paddedRight(label, kLabelWidth);
    text.append(value);
    text.push_back('\n');
    return text;
}

std::string Probe::timerLine(std::string_view name, const TimerStatus& timer) {
    const auto flag = [](bool value) { return value ? "true" : "false"; };
    std::string text = Text::paddedRight(name, kTimerNameWidth);
    text += timer.label;
    text += " installed=";
    text += flag(timer.installed);
    text += " loaded=";
    text += flag(timer.loaded);
    if (timer.intervalSeconds) text += " every " + std::to_string(*timer.intervalSeconds) + "s";
    if (timer.lastExitCode) text += " lastExit=" + std::to_string(*timer.lastExitCode);
    text.push_back('\n');
    return text;
}

ProbeReport Probe::run() {
    return run(VornReader::currentProcess(),
               {.resources = BundledVorn::applicationResources(),
                .lastInstallSummary = Preferences::storedBundledInstallSummary()});
}

ProbeReport Probe::run(const VornReader::Options& options, const Carried& carried) {
    VornReader reader(options);
    const VornSnapshot snapshot = reader.snapshot();
    std::string report;
    appendBuiltIn(report, carried, options.discovery.home);

    const auto& installation = reader.installation();
    if (installation) appendInstallation(report, *installation, options.discovery.environment);
    if (snapshot.configError) {
        report += line("ERROR", *snapshot.configError);
        return {1, ProbeReport::Destination::standardError, report};
    }
    // A machine that isn't set up yet is not a failure.
    if (installation && !installation->configExists) {
        return {0, ProbeReport::Destination::standardOutput, report};
    }
    // Discovery gave neither a configuration nor a reason: nothing to say.
    if (!snapshot.config) return {1, ProbeReport::Destination::nothing, {}};
    appendConfiguration(report, *snapshot.config, reader.structureSource());
    appendState(report, snapshot);
    if (snapshot.cycle) appendCycle(report, *snapshot.cycle);
    appendSeats(report, snapshot.roles);
    appendWorkers(report, snapshot.workers);
    appendWorktrees(report, *snapshot.config);
    appendRecentEvents(report, snapshot.recent);
    return {0, ProbeReport::Destination::standardOutput, report};
}

void Probe::appendBuiltIn(std::string& report, const Carried& carried,
                          const std::filesystem::path& home) {
    const auto payload = carried.resources ? BundledVorn::bundledDirectory(
                                                 *carried.resources, BundledVorn::buildArchitecture)
                                           : std::nullopt;
    const auto carriedVersion = payload ? BundledVorn::version(*payload) : std::nullopt;
    report +=
        line("built-in", carriedVersion ? "v" + *carriedVersion + " (" +
                                              std::string(BundledVorn::buildArchitecture) + ")"
                                        : std::string("none in this build"));
    const auto installFolder = BundledVorn::defaultInstallDirectory(home);
    const auto installed = BundledVorn::version(installFolder);
    report += line("  installed", installed ? "v" + *installed + " at " + installFolder.string()
                                            : std::string("not installed"));
    // Not padded like the other labels: it is wider than they are.
    report += "  last install " + carried.lastInstallSummary.value_or("not recorded yet") + "\n";
}

void Probe::appendInstallation(std::string& report, const VornInstallation& installation,
                               const Environment& environment) {
    const std::string configFile = installation.configFile.string();
    report +=
        line("config",
             installation.configExists ? configFile : "not yet, will be written at " + configFile);
    std::string executable =
        installation.executable ? installation.executable->string() : std::string("NOT FOUND");
    if (installation.executableSource) {
        executable += " (" + std::string(rawValue(*installation.executableSource)) + ")";
    }
    report += line("executable", executable);
    if (installation.executable) {
        report += line("vorn", VornCLI(installation, environment).health().summary());
    }
    report += line("interpreter", installation.interpreter
                                      ? installation.interpreter->string()
                                      : std::string("(none \u2014 will use the shebang)"));
    const auto plistText = [](const std::optional<LaunchAgentLocation>& agent) {
        return agent ? agent->plist.string() : std::string("(no plist installed)");
    };
    report += "launchd run     " + plistText(installation.runLaunchAgent) + "\n";
    report += "launchd release " + plistText(installation.releaseLaunchAgent) + "\n";
}

void Probe::appendConfiguration(std::string& report, const VornConfig& config,
                                const StructureSource& source) {
    report += line("structure", source.description());
    report += line("ship", config.ship.name + " (" + config.ship.platform + ")");
    report += line("state", config.ship.stateDir.string());
    report += line("events", config.eventFile().string());
    report += line("log", config.ship.logFile.string());
    for (const VornRoute& route : config.routes) {
        report +=
            line("route", route.name + (route.enabled ? " \u2014 enabled" : " \u2014 DISABLED") +
                              " workspace=" + route.workspace);
        for (const VornRepo& repo : route.repos) {
            report += "               repo " + Text::paddedRight(repo.name, kRepoNameWidth) + " " +
                      repo.dir.string() + "\n";
        }
    }
}

void Probe::appendState(std::string& report, const VornSnapshot& snapshot) {
    report += "\n" + line("vorn", snapshot.vornPaused ? "PAUSED" : "active");
    report += line("running", snapshot.runningPid ? "pid " + std::to_string(*snapshot.runningPid)
                                                  : std::string("no cycle holding the lock"));
    if (snapshot.runTimer) report += timerLine("run timer", *snapshot.runTimer);
    if (snapshot.releaseTimer) report += timerLine("release timer", *snapshot.releaseTimer);
    report += line("watermark",
                   snapshot.watermark ? Format::utcDate(*snapshot.watermark) : std::string("none"));
    report +=
        line("health", std::string(rawValue(snapshot.health())) + " \u2014 " + snapshot.headline());
}

void Probe::appendCycle(std::string& report, const CycleState& cycle) {
    const auto orDash = [](const std::optional<std::string>& text) { return text.value_or("-"); };
    std::vector<std::string> pending;
    for (const VornRole role : cycle.pending)
        pending.emplace_back(rawValue(role));
    report += "\n" + line("cycle", cycle.cycle + " on " + cycle.route);
    report += line("  step", label(cycle.step));
    report += line("  role", cycle.role ? rawValue(*cycle.role) : "-");
    report += line("  ticket", orDash(cycle.ticket));
    report += line("  pending", Text::joined(pending, " "));
    report += line("  rank", cycle.rank ? std::to_string(*cycle.rank) : std::string("-"));
    report +=
        line("  warn/err", std::to_string(cycle.warnings) + "/" + std::to_string(cycle.errors));
    report += line("  started",
                   Format::utcDate(cycle.startedAt) + "  last " + Format::utcDate(cycle.lastAt));
}

void Probe::appendSeats(std::string& report, const std::vector<RoleStatus>& roles) {
    report += "\nseats\n";
    for (const RoleStatus& role : roles) {
        const std::string activity = role.paused ? "PAUSED"
                                     : role.activity == RoleStatus::Activity::pending
                                         ? "queued"
                                         : std::string(rawValue(role.activity));
        report += "  " + Text::paddedRight(role.id(), kSeatRoleWidth) + " " + activity;
        if (role.rank) report += " rank " + std::to_string(*role.rank);
        report += "\n";
    }
}

void Probe::appendWorkers(std::string& report, const std::vector<ActiveWorker>& workers) {
    report += "\n" + line("workers", workers.empty() ? "none" : "");
    for (const ActiveWorker& worker : workers) {
        report += "  " + std::string(label(worker.role)) + " " + worker.ticket.value_or("-") +
                  " repo=" + worker.repo.value_or("-") + "\n";
        report += "    worktree " + worker.worktree.value_or("-") + "\n";
    }
}

void Probe::appendWorktrees(std::string& report, const VornConfig& config) {
    for (const VornRoute& route : config.routes) {
        const auto worktrees = WorktreeLocator::all(route);
        report += "\nworktrees (" + route.name + ") " + std::to_string(worktrees.size()) + "\n";
        const size_t shown = std::min(worktrees.size(), kWorktreeLinesPerRoute);
        for (size_t index = 0; index < shown; ++index) {
            const auto& [ticket, match] = worktrees[index];
            report +=
                "  ISSUE-" + std::to_string(ticket) + " " + match.repo + " " + match.path + "\n";
        }
    }
}

void Probe::appendRecentEvents(std::string& report, const std::vector<VornEvent>& recent) {
    report += "\nrecent events " + std::to_string(recent.size()) + " buffered\n";
    // Hook output is counted but never listed: the lines tell the story.
    std::vector<const VornEvent*> listed;
    for (auto event = recent.rbegin(); event != recent.rend() && listed.size() < kRecentEventLines;
         ++event) {
        if (!event->hook) listed.push_back(&*event);
    }
    for (auto event = listed.rbegin(); event != listed.rend(); ++event) {
        report += eventLine(**event);
    }
}

std::string Probe::eventLine(const VornEvent& event) {
    std::string text = "  " + Format::time(event.at) + " " + std::string(label(event.step));
    if (event.role) text += "[" + std::string(rawValue(*event.role)) + "]";
    text += " " + event.ticket.value_or("") + " " + event.message + "\n";
    return text;
}

}  // namespace vorn
