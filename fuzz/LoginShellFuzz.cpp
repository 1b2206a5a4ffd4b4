// A user record and a shell's output are text from outside. Any text gives
// either nothing or an absolute path found in it: a single line when it was
// read from lines, $SHELL unchanged when it came from there.
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "support/LoginShell.h"

namespace {

void checkLine(const std::optional<std::string>& path, std::string_view source) {
    if (!path) return;
    if (!path->starts_with('/') || path->find('\n') != std::string::npos) std::abort();
    if (source.find(*path) == std::string_view::npos) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    checkLine(vorn::LoginShell::answerPath(text), text);
    checkLine(vorn::LoginShell::loginShell(text, std::nullopt), text);

    const auto fromEnvironment = vorn::LoginShell::loginShell(std::nullopt, text);
    if (fromEnvironment.has_value() != text.starts_with('/')) std::abort();
    if (fromEnvironment && *fromEnvironment != text) std::abort();

    // A record without an answer leaves the choice to $SHELL.
    if (!vorn::LoginShell::loginShell(text, std::nullopt) &&
        vorn::LoginShell::loginShell(text, "/bin/sh") != "/bin/sh") {
        std::abort();
    }
    return 0;
}
