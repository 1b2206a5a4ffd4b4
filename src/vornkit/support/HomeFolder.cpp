#include "support/HomeFolder.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

namespace vorn {

namespace {

std::optional<std::filesystem::path> homeOfPasswdEntry(const struct passwd* entry) {
    if (entry == nullptr || entry->pw_dir == nullptr || entry->pw_dir[0] == '\0') {
        return std::nullopt;
    }
    return std::filesystem::path(entry->pw_dir);
}

// getpw*_r with a buffer that grows until the entry fits.
template <class Lookup>
std::optional<std::filesystem::path> lookUpHome(Lookup lookup) {
    std::vector<char> buffer(4096);
    while (buffer.size() <= (1u << 20)) {
        struct passwd entry {};
        struct passwd* found = nullptr;
        const int error = lookup(&entry, buffer.data(), buffer.size(), &found);
        if (error == ERANGE) {
            buffer.resize(buffer.size() * 2);
            continue;
        }
        if (error != 0) return std::nullopt;
        return homeOfPasswdEntry(found);
    }
    return std::nullopt;
}

}  // namespace

std::filesystem::path HomeFolder::path() {
    const char* environmentHome = std::getenv("HOME");
    if (environmentHome != nullptr && environmentHome[0] == '/') {
        return std::filesystem::path(environmentHome);
    }
    const uid_t user = ::getuid();
    auto home =
        lookUpHome([user](struct passwd* entry, char* buffer, size_t size, struct passwd** found) {
            return ::getpwuid_r(user, entry, buffer, size, found);
        });
    return home.value_or(std::filesystem::path("/"));
}

std::optional<std::filesystem::path> HomeFolder::ofUser(const std::string& name) {
    return lookUpHome(
        [&name](struct passwd* entry, char* buffer, size_t size, struct passwd** found) {
            return ::getpwnam_r(name.c_str(), entry, buffer, size, found);
        });
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
