#include "support/PasswdEntry.h"

#include <pwd.h>

#include <cerrno>
#include <vector>

namespace vorn {

namespace {

std::string textOrEmpty(const char* field) {
    return field == nullptr ? std::string() : std::string(field);
}

// getpw*_r with a buffer that grows until the entry fits.
template <class Lookup>
std::optional<PasswdEntry> lookUp(Lookup lookup) {
    std::vector<char> buffer(4096);
    while (buffer.size() <= (1u << 20)) {
        struct passwd entry {};
        struct passwd* found = nullptr;
        const int error = lookup(&entry, buffer.data(), buffer.size(), &found);
        if (error == ERANGE) {
            buffer.resize(buffer.size() * 2);
            continue;
        }
        if (error != 0 || found == nullptr) return std::nullopt;
        return PasswdEntry{textOrEmpty(found->pw_dir), textOrEmpty(found->pw_shell)};
    }
    return std::nullopt;
}

}  // namespace

std::optional<PasswdEntry> PasswdEntry::ofUserId(uid_t user) {
    return lookUp([user](struct passwd* entry, char* buffer, size_t size, struct passwd** found) {
        return ::getpwuid_r(user, entry, buffer, size, found);
    });
}

std::optional<PasswdEntry> PasswdEntry::ofName(const std::string& name) {
    return lookUp([&name](struct passwd* entry, char* buffer, size_t size, struct passwd** found) {
        return ::getpwnam_r(name.c_str(), entry, buffer, size, found);
    });
}

}  // namespace vorn
