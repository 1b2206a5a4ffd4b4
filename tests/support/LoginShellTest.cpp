#include <gtest/gtest.h>

#include "support/LoginShell.h"

namespace vorn {
namespace {

TEST(LoginShell, TheUserRecordComesFirstThenTheEnvironment) {
    EXPECT_EQ(LoginShell::loginShell("UserShell: /bin/zsh", "/bin/bash"), "/bin/zsh");
    EXPECT_EQ(LoginShell::loginShell("RecordName: me\nUserShell:   /opt/fish/bin/fish \r\n",
                                     std::nullopt),
              "/opt/fish/bin/fish");
    EXPECT_EQ(LoginShell::loginShell(std::nullopt, "/bin/bash"), "/bin/bash");
    EXPECT_EQ(LoginShell::loginShell("No such key", "/bin/bash"), "/bin/bash");
    EXPECT_EQ(LoginShell::loginShell(std::nullopt, std::nullopt), std::nullopt);
}

TEST(LoginShell, OnlyAbsolutePathsCountAndOnlyTheFirstRecordLine) {
    EXPECT_EQ(LoginShell::loginShell("UserShell: zsh", "/bin/sh"), "/bin/sh");
    EXPECT_EQ(LoginShell::loginShell("UserShell: zsh", "bash"), std::nullopt);
    EXPECT_EQ(LoginShell::loginShell("UserShell: zsh\nUserShell: /bin/zsh", std::nullopt),
              std::nullopt);
    EXPECT_EQ(LoginShell::loginShell("UserShell:", ""), std::nullopt);
    // The key must begin the line.
    EXPECT_EQ(LoginShell::loginShell(" UserShell: /bin/zsh", std::nullopt), std::nullopt);
}

TEST(LoginShell, TheAnswerIsTheLastNonEmptyLineWhenItIsAnAbsolutePath) {
    EXPECT_EQ(LoginShell::answerPath("Welcome!\n\n  /usr/local/bin/vorn  \n\n"),
              "/usr/local/bin/vorn");
    EXPECT_EQ(LoginShell::answerPath("banner\r\n/usr/bin/git\r\n"), "/usr/bin/git");
    EXPECT_EQ(LoginShell::answerPath("/usr/bin/git\nnot found\n"), std::nullopt);
    EXPECT_EQ(LoginShell::answerPath("/usr/bin/git\n   \n"), std::nullopt);
    EXPECT_EQ(LoginShell::answerPath(""), std::nullopt);
}

}  // namespace
}  // namespace vorn
