#include "service/VornCLI.h"

#include <simdjson.h>

#include <system_error>

#include "service/BundledVorn.h"
#include "service/Shell.h"
#include "support/Text.h"
#include "support/TextFile.h"

namespace vorn {

namespace {

using FileVersion = std::pair<std::string, VornHealth::Source>;

constexpr double kReloadTimeout = 30;
constexpr double kTimerTimeout = 60;
constexpr double kCycleTimeout = 3600;
constexpr double kPollTimeout = 120;
constexpr double kDoctorTimeout = 120;
constexpr double kInstallTimeout = 60;
constexpr double kProjectsTimeout = 30;

constexpr std::string_view kNotInstalled =
    "The vorn built into this app is not ready. Open Set Up Vorn to see why and retry, or set a "
    "vorn location in Settings.";
constexpr std::string_view kUsageBanner = "vorn \u2014 a standing team of headless agents";

bool isLineEnd(char character) {
    return character == '\n' || character == '\r';
}

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

std::vector<std::string_view> nonEmptyLines(std::string_view text) {
    std::vector<std::string_view> lines;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = start;
        while (end < text.size() && !isLineEnd(text[end]))
            ++end;
        if (end > start) lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

// The last line of the text with something in it, trimmed.
std::optional<std::string> lastLine(std::string_view text) {
    const auto lines = nonEmptyLines(text);
    for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
        const std::string_view trimmed = Text::trimWhitespace(*line);
        if (!trimmed.empty()) return std::string(trimmed);
    }
    return std::nullopt;
}

// "exit {status}", with ": {line}" when standard error has a line.
std::string exitFailure(const ShellResult& result) {
    std::string text = "exit " + std::to_string(result.status);
    if (const auto line = lastLine(result.stderr)) text += ": " + *line;
    return text;
}

// One or more digits, "." and one or more digits at the start of `text`.
bool startsWithVersionNumber(std::string_view text) {
    size_t position = 0;
    while (position < text.size() && isDigit(text[position]))
        ++position;
    if (position == 0 || position + 1 >= text.size() || text[position] != '.') return false;
    return isDigit(text[position + 1]);
}

std::optional<std::string> packageVersion(const std::filesystem::path& folder) {
    const auto text = TextFile::readBytes(folder / "package.json");
    if (!text) return std::nullopt;
    simdjson::dom::parser parser;
    std::string_view version;
    if (parser.parse(*text)["version"].get_string().get(version) != simdjson::SUCCESS) {
        return std::nullopt;
    }
    const std::string_view trimmed = Text::trimWhitespace(version);
    if (trimmed.empty()) return std::nullopt;
    return std::string(trimmed);
}

VornHealth fallbackHealth(const std::optional<FileVersion>& file) {
    VornHealth health;
    if (file) {
        health.version = file->first;
        health.source = file->second;
    }
    return health;
}

}  // namespace

std::string VornCLI::Failure::description() const {
    if (const auto* failed = std::get_if<Failed>(&reason)) return failed->message;
    return std::string(kNotInstalled);
}

VornCLI::VornCLI(VornInstallation installation, Environment processEnvironment)
    : vorn(std::move(installation)), processEnvironment(std::move(processEnvironment)) {}

Expected<VornCLI::LaunchPlan, VornCLI::Failure> VornCLI::launchPlan(
    const std::vector<std::string>& arguments) const {
    if (!vorn.executable) return Unexpected(Failure::notInstalled());
    LaunchPlan plan{*vorn.executable, arguments, processEnvironment};
    if (vorn.interpreter) {
        plan.tool = *vorn.interpreter;
        plan.arguments.insert(plan.arguments.begin(), vorn.executable->string());
    }
    plan.environment["VORN_CONFIG"] = vorn.configFile.string();
    // The built-in command needs nothing on PATH; any other finds the tools
    // of its own installation, such as the `node` beside it, first.
    const bool runsBuiltInDirectly =
        !vorn.interpreter && vorn.executableSource == ExecutableSource::bundled;
    if (!runsBuiltInDirectly) {
        const std::string inherited = ProcessEnvironment::value(processEnvironment, "PATH");
        plan.environment["PATH"] = plan.tool.parent_path().string() + ":" +
                                   (inherited.empty() ? std::string("/usr/bin:/bin") : inherited);
    }
    return plan;
}

Expected<ShellResult, VornCLI::Failure> VornCLI::exec(const std::vector<std::string>& arguments,
                                                      double timeout) const {
    auto plan = launchPlan(arguments);
    if (!plan) return Unexpected(plan.error());
    return Shell::run(plan->tool, plan->arguments, vorn.vornHome(), plan->environment, timeout);
}

Expected<std::string, VornCLI::Failure> VornCLI::run(const std::vector<std::string>& arguments,
                                                     double timeout) const {
    auto result = exec(arguments, timeout);
    if (!result) return Unexpected(result.error());
    if (result->ok()) return std::move(result->stdout);
    std::string output = result->output();
    if (output.empty()) output = "exit " + std::to_string(result->status);
    return Unexpected(Failure::failed(std::move(output)));
}

VornCLI::Arguments VornCLI::withOptional(Arguments arguments,
                                         const std::optional<std::string>& value) {
    if (value) arguments.push_back(*value);
    return arguments;
}

VornCLI::Arguments VornCLI::withOptional(Arguments arguments, const std::optional<VornRole>& role) {
    if (role) arguments.emplace_back(rawValue(*role));
    return arguments;
}

Expected<std::string, VornCLI::Failure> VornCLI::reload() const {
    return run({"reload"}, kReloadTimeout);
}

Expected<std::string, VornCLI::Failure> VornCLI::pause(std::optional<VornRole> role,
                                                       std::optional<std::string> route) const {
    return run(withOptional(withOptional({"pause"}, route), role), kTimerTimeout);
}

Expected<std::string, VornCLI::Failure> VornCLI::resume(std::optional<VornRole> role,
                                                        std::optional<std::string> route) const {
    return run(withOptional(withOptional({"resume"}, route), role), kTimerTimeout);
}

Expected<std::string, VornCLI::Failure> VornCLI::resumeReleases(
    std::optional<std::string> route) const {
    Arguments arguments = withOptional({"resume"}, route);
    arguments.emplace_back("release");
    return run(arguments, kTimerTimeout);
}

Expected<std::string, VornCLI::Failure> VornCLI::runCycle(std::optional<std::string> route,
                                                          std::optional<VornRole> role) const {
    Arguments arguments = withOptional({"run"}, route);
    if (role) arguments.emplace_back("--role");
    return run(withOptional(std::move(arguments), role), kCycleTimeout);
}

Expected<std::string, VornCLI::Failure> VornCLI::poll(std::optional<std::string> route) const {
    return run(withOptional({"poll"}, route), kPollTimeout);
}

Expected<std::string, VornCLI::Failure> VornCLI::doctor(std::optional<std::string> route) const {
    return run(withOptional({"doctor"}, route), kDoctorTimeout);
}

Expected<std::string, VornCLI::Failure> VornCLI::install() const {
    return run({"install"}, kInstallTimeout);
}

Expected<std::vector<VornProjectChoice>, VornCLI::Failure> VornCLI::projects(
    const std::string& route) const {
    const auto output = run({"projects", "--route", route, "--json"}, kProjectsTimeout);
    if (!output) return Unexpected(output.error());
    auto choices = VornProjectChoice::parse(*output, route);
    if (!choices) {
        return Unexpected(
            Failure::failed("vorn projects printed something that is not a project list"));
    }
    return std::move(*choices);
}

VornHealth VornCLI::health() const {
    if (!vorn.executable) return {};
    const auto file = fileVersion(*vorn.executable);
    const auto versionRun = exec({"--version"}, healthTimeout);
    if (!versionRun) return fallbackHealth(file);
    return askedHealth(file, *versionRun);
}

VornHealth VornCLI::askedHealth(const std::optional<FileVersion>& file,
                                const ShellResult& versionRun) const {
    VornHealth health = fallbackHealth(file);
    if (versionRun.ok()) {
        if (auto line = versionFirstLine(versionRun.stdout)) {
            health.version = std::move(*line);
            health.source = VornHealth::Source::binary;
        }
        health.answeredBy = "vorn --version";
        return health;
    }
    // A start that failed or ran out of time isn't asked again.
    if (versionRun.status == -1) {
        health.runFailure = exitFailure(versionRun);
        return health;
    }
    // A command may not know `--version` and still work.
    const auto helpRun = exec({"--help"}, healthTimeout);
    if (!helpRun) {
        health.runFailure = exitFailure(versionRun);
    } else if (helpRun->ok() || printsUsage(helpRun->stderr)) {
        health.answeredBy = "vorn --help";
    } else {
        health.runFailure = exitFailure(*helpRun);
    }
    return health;
}

std::optional<std::string> VornCLI::version() const {
    VornHealth asked = health();
    if (asked.runFailure) return std::nullopt;
    return std::move(asked.version);
}

std::optional<std::string> VornCLI::versionFirstLine(std::string_view text) {
    const auto lines = nonEmptyLines(text);
    if (lines.empty()) return std::nullopt;
    std::string_view line = Text::trimBlanks(lines.front());
    // v?\d+(\.\d+)+\S* as a whole: the number's own characters are no
    // whitespace, so what follows it only has to be free of whitespace.
    const bool hasWhitespace = std::any_of(line.begin(), line.end(), Text::isWhitespace);
    const std::string_view number = line.starts_with('v') ? line.substr(1) : line;
    if (hasWhitespace || !startsWithVersionNumber(number)) return std::nullopt;
    return std::string(line);
}

bool VornCLI::printsUsage(std::string_view text) {
    if (text.find(kUsageBanner) != std::string_view::npos) return true;
    // (?m)^\s*Usage: — whitespace back to a line's start, or the text's.
    for (size_t found = text.find("Usage:"); found != std::string_view::npos;
         found = text.find("Usage:", found + 1)) {
        size_t before = found;
        while (before > 0 && Text::isWhitespace(text[before - 1]) && !isLineEnd(text[before - 1]))
            --before;
        if (before == 0 || isLineEnd(text[before - 1])) return true;
    }
    return false;
}

std::optional<FileVersion> VornCLI::fileVersion(const std::filesystem::path& executable) {
    std::error_code error;
    std::filesystem::path resolved = std::filesystem::canonical(executable, error);
    if (error) resolved = executable;
    const std::filesystem::path folder = resolved.parent_path();
    if (auto version = BundledVorn::version(folder)) {
        return FileVersion{std::move(*version), VornHealth::Source::versionFile};
    }
    for (const auto& candidate : {folder, folder.parent_path()}) {
        if (auto version = packageVersion(candidate)) {
            return FileVersion{std::move(*version), VornHealth::Source::packageJSON};
        }
    }
    return std::nullopt;
}

}  // namespace vorn
