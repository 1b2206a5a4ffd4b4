#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "model/LaunchAgentLocation.h"
#include "model/VornConfigError.h"
#include "model/VornInstallation.h"
#include "service/CommandLookups.h"
#include "support/Expected.h"
#include "support/ProcessEnvironment.h"

namespace vorn {

// Works out, from what lies on the disk, which configuration file is in force
// and how the scheduler is installed. Repeatable and cheap.
struct VornPaths {
    static constexpr std::string_view defaultLabel = "com.pelorinth.vorn";
    static constexpr std::string_view releaseLabelStem = "com.pelorinth.vorn-release";

    struct DiscoverOptions {
        std::optional<std::filesystem::path> configOverride;
        std::optional<std::filesystem::path> vornCommandOverride;
        std::filesystem::path home;
        Environment environment;
        CommandLookups lookups = CommandLookups::none();
        // The folder of the built-in scheduler; by default the unpacked copy
        // under the home folder.
        std::optional<std::filesystem::path> bundled;
    };

    // Defaults of the real machine: this process's home and environment,
    // and the live lookups, which never block.
    static DiscoverOptions currentProcess();

    // Fails only with `notFound`: when an override doesn't exist, or there
    // is no candidate at all. Otherwise the first candidate that exists is
    // the configuration, or, with none, the first one is where it will go.
    // Everything else that can't be read is simply absent.
    static Expected<VornInstallation, VornConfigError> discover(const DiscoverOptions& options);

    // The launch agent of `stem` in the home's launch agents folder: the one
    // whose arguments name the override, else the newest hashed one, else
    // (when allowed) the bare `{stem}.plist`.
    static std::optional<LaunchAgentLocation> discoverLaunchAgent(
        std::string_view stem, bool allowLegacyBareFallback,
        const std::optional<std::filesystem::path>& vornCommandOverride,
        const std::filesystem::path& home);
    // The label of `name` when it is `{stem}.{8 lower-case hex digits}.plist`.
    static std::optional<std::string> hashedLabel(std::string_view name, std::string_view stem);

    // A path to the executable itself: `vorn` inside a folder, or the file.
    static std::optional<std::filesystem::path> resolveCommand(const std::filesystem::path& path);
    // A scheduler on PATH or in npm's global prefix that isn't the built-in
    // copy, to offer a way off it.
    static std::optional<std::filesystem::path> alternativeToBundled(
        const CommandLookups& lookups, const std::filesystem::path& home);
    // A stored location that names a package folder moves to its bin folder.
    static std::string migratedCommandPath(const std::string& path,
                                           const std::filesystem::path& home);
    // Library/LaunchAgents/{label}.plist inside the home folder.
    static std::filesystem::path launchAgentURL(std::string_view label,
                                                const std::filesystem::path& home);

    // ProgramArguments and StartInterval of a property list; nothing on any
    // failure.
    static std::optional<std::vector<std::string>> programArguments(
        const std::filesystem::path& plist);
    static std::optional<std::int64_t> startInterval(const std::filesystem::path& plist);

    // Equal paths, or equal once every symbolic link is resolved.
    static bool namesSameFile(const std::filesystem::path& first,
                              const std::filesystem::path& second);
    // An existing file, not a folder, that this user may execute.
    static bool isExecutableFile(const std::filesystem::path& path);

    // VORN_CONFIG (a file, or a folder holding vorn.yaml), then
    // $XDG_CONFIG_HOME/vorn/vorn.yaml, then ~/.config/vorn/vorn.yaml.
    static std::vector<std::filesystem::path> configSearchPath(const Environment& environment,
                                                               const std::filesystem::path& home);

    // Library/Application Support/Vorn/vorn inside the home folder.
    static std::filesystem::path unpackedBuiltInFolder(const std::filesystem::path& home);
    // Library/LaunchAgents inside the home folder.
    static std::filesystem::path launchAgentsFolder(const std::filesystem::path& home);

  private:
    struct TimerCommand {
        std::vector<std::string> arguments;
        std::optional<std::filesystem::path> command;  // the first argument ending in /vorn
        std::size_t index = 0;
    };
    struct DatedAgent {
        LaunchAgentLocation location;
        std::filesystem::file_time_type modified;
    };

    static void findExecutable(VornInstallation& installation, const DiscoverOptions& options);
    static TimerCommand timerCommand(const std::optional<LaunchAgentLocation>& agent);
    static std::optional<std::pair<std::filesystem::path, ExecutableSource>> firstExecutable(
        const DiscoverOptions& options, const TimerCommand& timer,
        const std::filesystem::path& builtIn);
    static std::vector<DatedAgent> hashedAgents(std::string_view stem,
                                                const std::filesystem::path& home);
};

}  // namespace vorn
