#pragma once

#include <optional>
#include <string>

namespace vorn {

// The login shell the user database gives this user, as the record
// "UserShell: {shell}" that `LoginShell::loginShell` reads. Here the database
// is the passwd entry of the real user id.
struct UserShell {
    // None when the user has no entry or the entry names no shell.
    static std::optional<std::string> record();
};

}  // namespace vorn
