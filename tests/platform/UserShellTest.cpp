#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/UserShell.h"
#include "service/Shell.h"
#include "support/Text.h"

namespace vorn {
namespace {

TEST(UserShell, IsTheShellOfThisUsersPasswdEntry) {
    // The C library's own command line view of the same database.
    const ShellResult entry = Shell::run("/usr/bin/getent", {"passwd", std::to_string(::getuid())},
                                         std::nullopt, std::nullopt, 10);
    ASSERT_TRUE(entry.ok()) << entry.output();
    const auto fields = Text::split(Text::trimWhitespace(entry.stdout), ':');
    ASSERT_EQ(fields.size(), 7u) << entry.stdout;
    EXPECT_EQ(UserShell::record(), "UserShell: " + std::string(fields[6]));
}

}  // namespace
}  // namespace vorn
