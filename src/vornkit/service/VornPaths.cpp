#include "service/VornPaths.h"

#include <unistd.h>

#include <algorithm>
#include <system_error>

#include "service/Diagnostics.h"
#include "service/PropertyList.h"
#include "support/HomeFolder.h"

namespace vorn {

namespace {

bool isDirectory(const std::filesystem::path& path) {
    std::error_code ignored;
    return std::filesystem::is_directory(path, ignored);
}

bool fileExists(const std::filesystem::path& path) {
    std::error_code ignored;
    return std::filesystem::exists(path, ignored);
}

}  // namespace

VornPaths::DiscoverOptions VornPaths::currentProcess() {
    return DiscoverOptions{std::nullopt,           std::nullopt,
                           HomeFolder::path(),     ProcessEnvironment::current(),
                           CommandLookups::live(), std::nullopt};
}

std::vector<std::filesystem::path> VornPaths::configSearchPath(const Environment& environment,
                                                               const std::filesystem::path& home) {
    std::vector<std::filesystem::path> candidates;
    if (!environment.empty()) {
        const std::string config = ProcessEnvironment::value(environment, "VORN_CONFIG");
        if (!config.empty()) {
            const std::filesystem::path path = HomeFolder::expandTilde(config, home);
            candidates.push_back(isDirectory(path) ? path / "vorn.yaml" : path);
        }
        const std::string xdg = ProcessEnvironment::value(environment, "XDG_CONFIG_HOME");
        if (!xdg.empty()) {
            candidates.push_back(std::filesystem::path(HomeFolder::expandTilde(xdg, home)) /
                                 "vorn" / "vorn.yaml");
        }
    }
    candidates.push_back(home / ".config" / "vorn" / "vorn.yaml");
    return candidates;
}

Expected<VornInstallation, VornConfigError> VornPaths::discover(const DiscoverOptions& options) {
    const std::vector<std::filesystem::path> candidates =
        options.configOverride ? std::vector{*options.configOverride}
                               : configSearchPath(options.environment, options.home);
    VornInstallation installation;
    for (const auto& candidate : candidates) {
        if (fileExists(candidate)) {
            installation.configFile = candidate;
            installation.configExists = true;
            break;
        }
    }
    if (!installation.configExists) {
        if (options.configOverride || candidates.empty()) {
            return Unexpected(VornConfigError::notFound(candidates));
        }
        installation.configFile = candidates.front();
    }
    installation.runLaunchAgent =
        discoverLaunchAgent(defaultLabel, true, options.vornCommandOverride, options.home);
    installation.releaseLaunchAgent =
        discoverLaunchAgent(releaseLabelStem, false, options.vornCommandOverride, options.home);
    findExecutable(installation, options);
    return installation;
}

void VornPaths::findExecutable(VornInstallation& installation, const DiscoverOptions& options) {
    const TimerCommand timer = timerCommand(installation.runLaunchAgent);
    const std::filesystem::path builtIn =
        options.bundled.value_or(unpackedBuiltInFolder(options.home)) / "vorn";

    auto found = firstExecutable(options, timer, builtIn);
    if (found) {
        installation.executable = found->first;
        installation.executableSource = found->second;
    }
    Diagnostics::log([&] {
        if (!found) return std::string("discovery: executable not found");
        return "discovery: executable " + std::string(rawValue(found->second)) + " at " +
               found->first.string();
    });
    if (!found) return;
    if (namesSameFile(found->first, builtIn)) {
        installation.executableSource = ExecutableSource::bundled;
    }
    // The timer's interpreter matters only for a scheduler that isn't ours
    // and only when the timer names one before the command.
    if (installation.executableSource != ExecutableSource::bundled && timer.command &&
        timer.index > 0) {
        const std::filesystem::path interpreter = timer.arguments[timer.index - 1];
        if (isExecutableFile(interpreter)) installation.interpreter = interpreter;
    }
}

VornPaths::TimerCommand VornPaths::timerCommand(const std::optional<LaunchAgentLocation>& agent) {
    TimerCommand timer;
    if (agent) timer.arguments = programArguments(agent->plist).value_or(timer.arguments);
    for (std::size_t index = 0; index < timer.arguments.size(); ++index) {
        if (timer.arguments[index].ends_with("/vorn")) {
            timer.command = std::filesystem::path(timer.arguments[index]);
            timer.index = index;
            break;
        }
    }
    return timer;
}

std::optional<std::pair<std::filesystem::path, ExecutableSource>> VornPaths::firstExecutable(
    const DiscoverOptions& options, const TimerCommand& timer,
    const std::filesystem::path& builtIn) {
    using Found = std::pair<std::filesystem::path, ExecutableSource>;
    if (options.vornCommandOverride) {
        // An override that doesn't resolve is passed over without a word.
        if (auto resolved = resolveCommand(*options.vornCommandOverride)) {
            return Found{*resolved, ExecutableSource::userSet};
        }
    }
    if (timer.command && isExecutableFile(*timer.command)) {
        return Found{*timer.command, ExecutableSource::timer};
    }
    // The lookups come last among the outside sources so that a working
    // timer never costs a shell.
    if (options.lookups.onPath) {
        if (auto onPath = options.lookups.onPath(); onPath && isExecutableFile(*onPath)) {
            return Found{*onPath, ExecutableSource::path};
        }
    }
    if (options.lookups.npmGlobalBin) {
        if (auto npm = options.lookups.npmGlobalBin(); npm && isExecutableFile(*npm)) {
            return Found{*npm, ExecutableSource::npm};
        }
    }
    if (isExecutableFile(builtIn)) return Found{builtIn, ExecutableSource::bundled};
    return std::nullopt;
}

std::optional<LaunchAgentLocation> VornPaths::discoverLaunchAgent(
    std::string_view stem, bool allowLegacyBareFallback,
    const std::optional<std::filesystem::path>& vornCommandOverride,
    const std::filesystem::path& home) {
    const std::vector<DatedAgent> agents = hashedAgents(stem, home);
    if (agents.empty()) {
        if (!allowLegacyBareFallback) return std::nullopt;
        const std::filesystem::path bare = launchAgentURL(stem, home);
        if (!fileExists(bare)) return std::nullopt;
        return LaunchAgentLocation{bare, std::string(stem)};
    }
    if (vornCommandOverride) {
        const std::filesystem::path wanted =
            resolveCommand(*vornCommandOverride).value_or(*vornCommandOverride);
        for (const DatedAgent& agent : agents) {
            const auto arguments = programArguments(agent.location.plist);
            if (!arguments) continue;
            for (const std::string& argument : *arguments) {
                if (namesSameFile(argument, wanted)) return agent.location;
            }
        }
    }
    // Of equal dates the earliest in the listing stays.
    const DatedAgent* newest = &agents.front();
    for (const DatedAgent& agent : agents) {
        if (newest->modified < agent.modified) newest = &agent;
    }
    return newest->location;
}

std::vector<VornPaths::DatedAgent> VornPaths::hashedAgents(std::string_view stem,
                                                           const std::filesystem::path& home) {
    std::vector<DatedAgent> agents;
    std::error_code error;
    std::filesystem::directory_iterator entries(launchAgentsFolder(home), error);
    if (error) return agents;
    for (const auto& entry : entries) {
        const std::string name = entry.path().filename().string();
        auto label = hashedLabel(name, stem);
        if (!label) continue;
        std::error_code dateError;
        auto modified = entry.last_write_time(dateError);
        if (dateError) modified = std::filesystem::file_time_type::min();
        agents.push_back({{entry.path(), std::move(*label)}, modified});
    }
    // Listing order is whatever the file system gives; sorting by name makes
    // the tie-break between equal dates repeatable.
    std::sort(agents.begin(), agents.end(), [](const DatedAgent& first, const DatedAgent& second) {
        return first.location.plist < second.location.plist;
    });
    return agents;
}

std::optional<std::string> VornPaths::hashedLabel(std::string_view name, std::string_view stem) {
    constexpr std::string_view suffix = ".plist";
    constexpr std::size_t hashLength = 8;
    if (!name.ends_with(suffix)) return std::nullopt;
    const std::string_view label = name.substr(0, name.size() - suffix.size());
    if (!label.starts_with(stem) || label.size() != stem.size() + 1 + hashLength) {
        return std::nullopt;
    }
    if (label[stem.size()] != '.') return std::nullopt;
    const std::string_view hash = label.substr(stem.size() + 1);
    if (hash.find_first_not_of("0123456789abcdef") != std::string_view::npos) {
        return std::nullopt;
    }
    return std::string(label);
}

std::optional<std::filesystem::path> VornPaths::resolveCommand(const std::filesystem::path& path) {
    if (!fileExists(path)) return std::nullopt;
    const std::filesystem::path command = isDirectory(path) ? path / "vorn" : path;
    if (!isExecutableFile(command)) return std::nullopt;
    return command;
}

std::optional<std::filesystem::path> VornPaths::alternativeToBundled(
    const CommandLookups& lookups, const std::filesystem::path& home) {
    const std::filesystem::path builtIn = unpackedBuiltInFolder(home) / "vorn";
    // Both are asked before either answer is looked at.
    const auto onPath = lookups.onPath ? lookups.onPath() : std::nullopt;
    const auto npm = lookups.npmGlobalBin ? lookups.npmGlobalBin() : std::nullopt;
    for (const auto& candidate : {onPath, npm}) {
        if (candidate && isExecutableFile(*candidate) && !namesSameFile(*candidate, builtIn)) {
            return candidate;
        }
    }
    return std::nullopt;
}

std::string VornPaths::migratedCommandPath(const std::string& path,
                                           const std::filesystem::path& home) {
    if (path.empty()) return path;
    const std::filesystem::path expanded = HomeFolder::expandTilde(path, home);
    if (!isDirectory(expanded)) return path;
    if (isExecutableFile(expanded / "vorn") || !isExecutableFile(expanded / "bin" / "vorn")) {
        return path;
    }
    return path + (path.ends_with('/') ? "bin" : "/bin");
}

std::filesystem::path VornPaths::launchAgentURL(std::string_view label,
                                                const std::filesystem::path& home) {
    return launchAgentsFolder(home) / (std::string(label) + ".plist");
}

std::optional<std::vector<std::string>> VornPaths::programArguments(
    const std::filesystem::path& plist) {
    const auto list = PropertyList::read(plist);
    if (!list) return std::nullopt;
    return list->stringList("ProgramArguments");
}

std::optional<std::int64_t> VornPaths::startInterval(const std::filesystem::path& plist) {
    const auto list = PropertyList::read(plist);
    if (!list) return std::nullopt;
    return list->integer("StartInterval");
}

bool VornPaths::namesSameFile(const std::filesystem::path& first,
                              const std::filesystem::path& second) {
    if (first == second) return true;
    std::error_code firstError;
    std::error_code secondError;
    const auto firstResolved = std::filesystem::canonical(first, firstError);
    const auto secondResolved = std::filesystem::canonical(second, secondError);
    return !firstError && !secondError && firstResolved == secondResolved;
}

bool VornPaths::isExecutableFile(const std::filesystem::path& path) {
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (error || !std::filesystem::exists(status) || std::filesystem::is_directory(status)) {
        return false;
    }
    return ::access(path.c_str(), X_OK) == 0;
}

std::filesystem::path VornPaths::unpackedBuiltInFolder(const std::filesystem::path& home) {
    return home / "Library" / "Application Support" / "Vorn" / "vorn";
}

std::filesystem::path VornPaths::launchAgentsFolder(const std::filesystem::path& home) {
    return home / "Library" / "LaunchAgents";
}

}  // namespace vorn
