#include <gtest/gtest.h>

#include "support/WorktreeTemplate.h"

namespace vorn {
namespace {

const std::string kValid =
    "Valid placeholders: {dir} {issue} {number} {key} {slug} {role} "
    "{prefix} {tag}.";
const std::string kNoPerTicket =
    "Names no per-ticket placeholder \u2014 every ticket would get the same worktree. Use at "
    "least one of {issue} {number} {key} {slug} {tag}.";
const std::string kSeparator =
    "Must not contain a path separator \u2014 a worktree is cut beside the checkout.";

TEST(WorktreeTemplate, AcceptsANameThatDiffersPerTicket) {
    EXPECT_EQ(WorktreeTemplate::problem(""), std::nullopt);
    EXPECT_EQ(WorktreeTemplate::problem("{dir}-{tag}"), std::nullopt);
    EXPECT_EQ(WorktreeTemplate::problem("{dir}-{issue}"), std::nullopt);
    EXPECT_EQ(WorktreeTemplate::problem("wt-{slug}"), std::nullopt);
}

TEST(WorktreeTemplate, RefusesANameEveryTicketWouldShare) {
    EXPECT_EQ(WorktreeTemplate::problem("{dir}"), kNoPerTicket);
    EXPECT_EQ(WorktreeTemplate::problem("{role}-x"), kNoPerTicket);
    EXPECT_EQ(WorktreeTemplate::problem("fixed"), kNoPerTicket);
    EXPECT_EQ(WorktreeTemplate::problem("{dir}-{prefix}-{role}"), kNoPerTicket);
}

TEST(WorktreeTemplate, ChecksRunInOrderSeparatorThenBracesThenPerTicket) {
    EXPECT_EQ(WorktreeTemplate::problem("a/{issue}"), kSeparator);
    EXPECT_EQ(WorktreeTemplate::problem("a/{bad}"), kSeparator);
    EXPECT_EQ(WorktreeTemplate::problem("a\\b-{issue}"), kSeparator);
    EXPECT_EQ(WorktreeTemplate::problem("{a{b}"), "Unbalanced brace. " + kValid);
    EXPECT_EQ(WorktreeTemplate::problem("{issue}}"), "Unbalanced brace. " + kValid);
    EXPECT_EQ(WorktreeTemplate::problem("{issue"), "Unbalanced brace. " + kValid);
    EXPECT_EQ(WorktreeTemplate::problem("{}"), "Unknown placeholder {}. " + kValid);
    EXPECT_EQ(WorktreeTemplate::problem("{issue}-{ticket}"),
              "Unknown placeholder {ticket}. " + kValid);
}

TEST(WorktreeTemplate, ExampleReplacesEveryPlaceholderOnce) {
    EXPECT_EQ(WorktreeTemplate::example("{dir}-{issue}", "web"), "web-vmac-1501");
    EXPECT_EQ(WorktreeTemplate::example("{number}{key}{slug}{role}{prefix}{tag}", "x"),
              "1501ISSUE-1501fix-the-widget-thingdevVMACVMAC-1501");
    EXPECT_EQ(WorktreeTemplate::example("{tag}/{tag}", "x"), "VMAC-1501/VMAC-1501");
    // Unknown names and stray braces stand as typed.
    EXPECT_EQ(WorktreeTemplate::example("{a{dir}}-{bad}-{", "web"), "{aweb}-{bad}-{");
    // A folder name that looks like a placeholder isn't expanded again.
    EXPECT_EQ(WorktreeTemplate::example("{dir}", "{issue}"), "{issue}");
}

}  // namespace
}  // namespace vorn
