// A user record and a shell's output are text from outside. Any text gives
// either nothing or an absolute path found in it, on one line.
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "support/LoginShell.h"

namespace {

void checkPath(const std::optional<std::string>& path, std::string_view source) {
    if (!path) return;
    if (!path->starts_with('/') || path->find('\n') != std::string::npos) std::abort();
    if (source.find(*path) == std::string_view::npos) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    checkPath(vorn::LoginShell::answerPath(text), text);

    // Before the first NUL: the user record; after it: $SHELL.
    const size_t split = text.find('\0');
    const std::string_view record = text.substr(0, split);
    const std::optional<std::string_view> shell =
        split == std::string_view::npos ? std::nullopt : std::optional(text.substr(split + 1));
    checkPath(vorn::LoginShell::loginShell(record, shell), text);
    checkPath(vorn::LoginShell::loginShell(std::nullopt, record), record);
    return 0;
}
