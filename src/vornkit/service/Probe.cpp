#include "service/Probe.h"

#include <algorithm>

#include "platform/Preferences.h"
#include "service/BundledVorn.h"
#include "service/VornCLI.h"
#include "service/WorktreeLocator.h"
#include "support/Text.h"

namespace vorn {

namespace {

constexpr size_t kLabelWidth = 13;
constexpr size_t kTimerNameWidth = 14;
constexpr size_t kRepoNameWidth = 14;
// A route can gather many worktrees; the heading still counts them all.
constexpr size_t kWorktreeLinesPerRoute = 12;

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
    return run(VornPaths::currentProcess(),
               {.resources = BundledVorn::applicationResources(),
                .lastInstallSummary = Preferences::storedBundledInstallSummary()});
}

ProbeReport Probe::run(const VornPaths::DiscoverOptions& options, const Carried& carried) {
    std::string report;
    appendBuiltIn(report, carried, options.home);

    const auto installation = VornPaths::discover(options);
    std::optional<VornConfig> config;
    std::optional<std::string> configError;
    if (!installation) {
        configError = installation.error().description();
    } else if (installation->configExists) {
        auto loaded = VornConfig::load(installation->configFile, options.home);
        if (loaded) {
            config = std::move(*loaded);
        } else {
            configError = loaded.error().description();
        }
    }

    if (installation) appendInstallation(report, *installation, options.environment);
    if (configError) {
        report += line("ERROR", *configError);
        return {1, ProbeReport::Destination::standardError, report};
    }
    // A machine that isn't set up yet is not a failure.
    if (installation && !installation->configExists) {
        return {0, ProbeReport::Destination::standardOutput, report};
    }
    if (!config) return {1, ProbeReport::Destination::nothing, {}};
    appendConfiguration(report, *config);
    appendWorktrees(report, *config);
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

void Probe::appendConfiguration(std::string& report, const VornConfig& config) {
    report += line("structure", "unknown");
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

}  // namespace vorn
