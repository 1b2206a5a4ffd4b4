#include <gtest/gtest.h>

#include "support/LaunchctlPrint.h"

namespace vorn {
namespace {

TEST(LaunchctlPrintLastExitCode, TakesTheFirstLineWithANumber) {
    EXPECT_EQ(LaunchctlPrint::lastExitCode("gui/501/com.pelorinth.vorn = {\n"
                                           "\tactive count = 0\n"
                                           "\tpath = /Users/ada/Library/LaunchAgents/x.plist\n"
                                           "\tlast exit code = 78: EX_CONFIG\n"
                                           "\tlast exit code = 78\n"
                                           "\tlast exit code = 1\n"
                                           "}\n"),
              78);
    EXPECT_EQ(LaunchctlPrint::lastExitCode("  \t last exit code =  -9 \t\n"), -9);
    EXPECT_EQ(LaunchctlPrint::lastExitCode("last exit code = 0"), 0);
}

TEST(LaunchctlPrintLastExitCode, AJobThatNeverExitedHasNone) {
    EXPECT_EQ(LaunchctlPrint::lastExitCode("\tlast exit code = (never exited)\n"), std::nullopt);
    EXPECT_EQ(LaunchctlPrint::lastExitCode(""), std::nullopt);
    EXPECT_EQ(LaunchctlPrint::lastExitCode("last exit code =78\nlast exit code: 78\n"
                                           "previous last exit code = 78\n"),
              std::nullopt);
    EXPECT_EQ(LaunchctlPrint::lastExitCode("last exit code = 99999999999999999999\n"),
              std::nullopt);
}

}  // namespace
}  // namespace vorn
