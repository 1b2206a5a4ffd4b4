#include "support/LoginShell.h"

#include "support/Text.h"

namespace vorn {

namespace {

constexpr std::string_view kUserShellKey = "UserShell:";

std::optional<std::string> absolute(std::string_view candidate) {
    if (!candidate.starts_with('/')) return std::nullopt;
    return std::string(candidate);
}

std::optional<std::string> shellOfRecord(std::string_view record) {
    for (const std::string_view line : Text::split(record, '\n')) {
        if (!line.starts_with(kUserShellKey)) continue;
        return absolute(Text::trimWhitespace(line.substr(kUserShellKey.size())));
    }
    return std::nullopt;
}

}  // namespace

std::optional<std::string> LoginShell::loginShell(
    std::optional<std::string_view> userRecord, std::optional<std::string_view> environmentShell) {
    if (userRecord) {
        if (auto shell = shellOfRecord(*userRecord)) return shell;
    }
    if (environmentShell) return absolute(*environmentShell);
    return std::nullopt;
}

std::optional<std::string> LoginShell::answerPath(std::string_view output) {
    std::string_view lastLine;
    for (const std::string_view line : Text::split(output, '\n')) {
        if (!line.empty()) lastLine = line;
    }
    return absolute(Text::trimWhitespace(lastLine));
}

}  // namespace vorn
