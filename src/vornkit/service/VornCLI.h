#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "model/VornHealth.h"
#include "model/VornInstallation.h"
#include "model/VornProjectChoice.h"
#include "model/VornRole.h"
#include "service/ShellResult.h"
#include "support/Expected.h"
#include "support/ProcessEnvironment.h"

namespace vorn {

// Starts the scheduler's command for one installation: which program, with
// which arguments and environment, and what its answer means. Every call
// blocks for the command's life and is bounded by its own time-out.
class VornCLI {
  public:
    struct Failure {
        struct Failed {
            std::string message;
            bool operator==(const Failed&) const = default;
        };
        struct NotInstalled {
            bool operator==(const NotInstalled&) const = default;
        };
        std::variant<Failed, NotInstalled> reason;

        static Failure failed(std::string message) { return {Failed{std::move(message)}}; }
        static Failure notInstalled() { return {NotInstalled{}}; }
        bool operator==(const Failure&) const = default;
        std::string description() const;
    };

    struct LaunchPlan {
        std::filesystem::path tool;
        // Without the program's name.
        std::vector<std::string> arguments;
        // The child's whole environment.
        Environment environment;
        bool operator==(const LaunchPlan&) const = default;
    };

    // Each of the two questions of `health`.
    static constexpr double healthTimeout = 15;

    // `processEnvironment` is what the child's environment starts from.
    explicit VornCLI(VornInstallation installation,
                     Environment processEnvironment = ProcessEnvironment::current());

    const VornInstallation& installation() const { return vorn; }

    Expected<LaunchPlan, Failure> launchPlan(const std::vector<std::string>& arguments) const;
    // Standard output untrimmed; `failed` on a non-zero status.
    Expected<std::string, Failure> run(const std::vector<std::string>& arguments,
                                       double timeout) const;
    // The whole result, whatever its status.
    Expected<ShellResult, Failure> exec(const std::vector<std::string>& arguments,
                                        double timeout) const;

    Expected<std::string, Failure> reload() const;
    Expected<std::string, Failure> pause(std::optional<VornRole> role,
                                         std::optional<std::string> route) const;
    Expected<std::string, Failure> resume(std::optional<VornRole> role,
                                          std::optional<std::string> route) const;
    Expected<std::string, Failure> resumeReleases(std::optional<std::string> route) const;
    Expected<std::string, Failure> runCycle(std::optional<std::string> route,
                                            std::optional<VornRole> role) const;
    Expected<std::string, Failure> poll(std::optional<std::string> route) const;
    Expected<std::string, Failure> doctor(std::optional<std::string> route) const;
    Expected<std::string, Failure> install() const;
    Expected<std::vector<VornProjectChoice>, Failure> projects(const std::string& route) const;

    // Asks `--version`, then `--help` when that fails, and falls back on
    // the version files beside the executable. Never fails.
    VornHealth health() const;
    // The version, only when the command runs.
    std::optional<std::string> version() const;

    // The first non-empty line when it is a version and nothing else:
    // "1.4.2", "v1.4.2-rc.1"; not "1" nor "vorn 1.4.2".
    static std::optional<std::string> versionFirstLine(std::string_view text);
    // Whether the text is the command's usage.
    static bool printsUsage(std::string_view text);
    // The version that files beside the executable (its links resolved)
    // give: a `VERSION` file, else `package.json` there or in the folder
    // above.
    static std::optional<std::pair<std::string, VornHealth::Source>> fileVersion(
        const std::filesystem::path& executable);

  private:
    using Arguments = std::vector<std::string>;
    static Arguments withOptional(Arguments arguments, const std::optional<std::string>& value);
    static Arguments withOptional(Arguments arguments, const std::optional<VornRole>& role);
    VornHealth askedHealth(const std::optional<std::pair<std::string, VornHealth::Source>>& file,
                           const ShellResult& versionRun) const;

    VornInstallation vorn;
    Environment processEnvironment;
};

}  // namespace vorn
