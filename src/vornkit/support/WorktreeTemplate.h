#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace vorn {

// Checks a worktree folder name template, and renders a sample of one. The
// scheduler cuts a worktree beside the checkout under this name, so the name
// must differ from ticket to ticket and must not leave the folder.
struct WorktreeTemplate {
    static constexpr std::array<std::string_view, 8> placeholders = {
        "dir", "issue", "number", "key", "slug", "role", "prefix", "tag"};
    // The placeholders that differ from ticket to ticket.
    static constexpr std::array<std::string_view, 5> perTicket = {"issue", "number", "key", "slug",
                                                                  "tag"};

    // The message to show under the field, or nothing when the text is fine.
    static std::optional<std::string> problem(std::string_view text);

    // The template with every placeholder replaced by a sample value, `{dir}`
    // by the repository's folder name.
    static std::string example(std::string_view text, std::string_view dir);
};

}  // namespace vorn
