#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vorn {

// Which shell a person logs in with, and what a lookup run inside it
// answered. Pure text, so the setup probe and the path lookups share it.
struct LoginShell {
    // `userRecord` is the user database's answer in the form
    // "UserShell: /bin/zsh"; the text after "UserShell:" on the first line
    // that starts so counts when it is an absolute path. Otherwise
    // `environmentShell` ($SHELL) counts when it is absolute. Otherwise none.
    static std::optional<std::string> loginShell(std::optional<std::string_view> userRecord,
                                                 std::optional<std::string_view> environmentShell);

    // A shell's start-up files may print banners before the answer, so only
    // the last non-empty line counts, and only when it is an absolute path.
    static std::optional<std::string> answerPath(std::string_view output);
};

}  // namespace vorn
