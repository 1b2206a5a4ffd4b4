#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace vorn {

// The fields of a user database entry this system needs. Empty text stands
// for a field the entry leaves blank.
struct PasswdEntry {
    std::string home;
    std::string shell;

    bool operator==(const PasswdEntry&) const = default;

    static std::optional<PasswdEntry> ofUserId(uid_t user);
    static std::optional<PasswdEntry> ofName(const std::string& name);
};

}  // namespace vorn
