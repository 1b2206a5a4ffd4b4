#include "platform/UserShell.h"

#include <unistd.h>

#include "support/PasswdEntry.h"

namespace vorn {

std::optional<std::string> UserShell::record() {
    const auto entry = PasswdEntry::ofUserId(::getuid());
    if (!entry || entry->shell.empty()) return std::nullopt;
    return "UserShell: " + entry->shell;
}

}  // namespace vorn
