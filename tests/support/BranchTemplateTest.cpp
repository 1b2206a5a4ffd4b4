#include <gtest/gtest.h>

#include "support/BranchTemplate.h"

namespace vorn {
namespace {

const std::string kValid = "Valid placeholders: {number}, {key}, {slug}, {role}, {tag}, {prefix}.";

TEST(BranchTemplate, AcceptsKnownPlaceholdersAndPlainText) {
    EXPECT_EQ(BranchTemplate::problem(""), std::nullopt);
    EXPECT_EQ(BranchTemplate::problem("issue-{number}"), std::nullopt);
    EXPECT_EQ(BranchTemplate::problem("{prefix}/{tag}-{slug}-{role}-{key}"), std::nullopt);
    // Not a git check: characters git refuses in a branch name pass.
    EXPECT_EQ(BranchTemplate::problem("a..b~^:"), std::nullopt);
}

TEST(BranchTemplate, NamesTheUnknownPlaceholder) {
    EXPECT_EQ(BranchTemplate::problem("issue-{dir}"), "Unknown placeholder {dir}. " + kValid);
    EXPECT_EQ(BranchTemplate::problem("{}"), "Unknown placeholder {}. " + kValid);
    // Compared exactly: case counts.
    EXPECT_EQ(BranchTemplate::problem("{Number}"), "Unknown placeholder {Number}. " + kValid);
}

TEST(BranchTemplate, UnbalancedBracesUseTypographicQuotes) {
    const std::string unclosed = "Unclosed \u201c{\u201d. " + kValid;
    EXPECT_EQ(BranchTemplate::problem("{a{b}"), unclosed);
    EXPECT_EQ(BranchTemplate::problem("issue-{number"), unclosed);
    EXPECT_EQ(BranchTemplate::problem("issue-number}"), "Stray \u201c}\u201d. " + kValid);
    // The first fault met in the text is the one reported.
    EXPECT_EQ(BranchTemplate::problem("{bad}}"), "Unknown placeholder {bad}. " + kValid);
    EXPECT_EQ(BranchTemplate::problem("}{bad}"), "Stray \u201c}\u201d. " + kValid);
}

}  // namespace
}  // namespace vorn
