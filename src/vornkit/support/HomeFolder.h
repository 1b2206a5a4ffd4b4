#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace vorn {

// The home folder is $HOME when it is set and absolute, else the user
// database's entry: the convention of every Unix tool, and what lets a test
// give the program a home of its own.
struct HomeFolder {
    static std::filesystem::path path();
    static std::optional<std::filesystem::path> ofUser(const std::string& name);

    // "~" and "~/x" take `home`; "~name" and "~name/x" take that user's home.
    // Text that doesn't begin with "~", or names an unknown user, stands.
    static std::string expandTilde(std::string_view text, const std::filesystem::path& home);
};

}  // namespace vorn
