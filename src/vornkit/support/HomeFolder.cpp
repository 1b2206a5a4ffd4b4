#include "support/HomeFolder.h"

#include <unistd.h>

#include <cstdlib>

#include "support/PasswdEntry.h"

namespace vorn {

namespace {

std::optional<std::filesystem::path> homeOf(const std::optional<PasswdEntry>& entry) {
    if (!entry || entry->home.empty()) return std::nullopt;
    return std::filesystem::path(entry->home);
}

}  // namespace

std::filesystem::path HomeFolder::path() {
    const char* environmentHome = std::getenv("HOME");
    if (environmentHome != nullptr && environmentHome[0] == '/') {
        return std::filesystem::path(environmentHome);
    }
    const auto home = homeOf(PasswdEntry::ofUserId(::getuid()));
    return home.value_or(std::filesystem::path("/"));
}

std::optional<std::filesystem::path> HomeFolder::ofUser(const std::string& name) {
    return homeOf(PasswdEntry::ofName(name));
}

std::string HomeFolder::expandTilde(std::string_view text, const std::filesystem::path& home) {
    if (!text.starts_with('~')) return std::string(text);
    const size_t slash = text.find('/');
    const std::string_view user =
        text.substr(1, slash == std::string_view::npos ? std::string_view::npos : slash - 1);
    const std::string_view rest =
        slash == std::string_view::npos ? std::string_view() : text.substr(slash);
    std::optional<std::filesystem::path> userHome =
        user.empty() ? std::optional(home) : ofUser(std::string(user));
    if (!userHome) return std::string(text);
    std::string expanded = userHome->string();
    // "~/" on a home of "/" must not give "//".
    if (!rest.empty() && expanded.ends_with('/')) expanded.pop_back();
    expanded.append(rest);
    return expanded;
}

}  // namespace vorn
