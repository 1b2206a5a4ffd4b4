#include <gtest/gtest.h>

#include "model/VornHealth.h"

namespace vorn {
namespace {

using Source = VornHealth::Source;

TEST(VornHealthSummary, OneLineForEachState) {
    EXPECT_EQ((VornHealth{"1.4.2", Source::binary, std::nullopt, "vorn --version"}).summary(),
              "1.4.2 (vorn --version)");
    EXPECT_EQ((VornHealth{"1.4.2", Source::versionFile, std::nullopt, "vorn --version"}).summary(),
              "1.4.2 (VERSION file, ran vorn --version)");
    EXPECT_EQ((VornHealth{"1.4.2", Source::packageJSON, std::nullopt, std::nullopt}).summary(),
              "1.4.2 (package.json)");
    // The same source twice isn't repeated.
    EXPECT_EQ((VornHealth{"1.4.2", Source::versionFile, std::nullopt, "VERSION file"}).summary(),
              "1.4.2 (VERSION file)");
    EXPECT_EQ((VornHealth{"1.4.2", Source::versionFile, "exit 2: bad", std::nullopt}).summary(),
              "installed but does not run (exit 2: bad)");
    EXPECT_EQ((VornHealth{std::nullopt, std::nullopt, std::nullopt, "vorn --help"}).summary(),
              "installed but reports no version");
    EXPECT_EQ((VornHealth{"1.4.2", std::nullopt, std::nullopt, std::nullopt}).summary(),
              "installed but reports no version");
}

TEST(VornHealthSummary, ReadyNeedsAVersionAndARunningCommand) {
    EXPECT_TRUE((VornHealth{"1.0.0", Source::binary, std::nullopt, std::nullopt}).isReady());
    EXPECT_FALSE((VornHealth{"1.0.0", Source::binary, "exit 1", std::nullopt}).isReady());
    EXPECT_FALSE((VornHealth{std::nullopt, std::nullopt, std::nullopt, "vorn --help"}).isReady());
}

}  // namespace
}  // namespace vorn
