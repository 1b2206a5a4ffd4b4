#include "service/CommandLookups.h"

#include "service/LiveLookupCache.h"
#include "service/ShellLookup.h"

namespace vorn {

namespace {

std::optional<std::filesystem::path> pathFromShell(const char* command) {
    auto answer = ShellLookup::run(command);
    if (!answer) return std::nullopt;
    return std::filesystem::path(*answer);
}

}  // namespace

CommandLookups CommandLookups::none() {
    return {[] { return std::optional<std::filesystem::path>(); },
            [] { return std::optional<std::filesystem::path>(); }};
}

CommandLookups CommandLookups::blocking() {
    return {[] { return pathFromShell("command -v vorn"); },
            [] {
                auto prefix = pathFromShell("npm prefix -g");
                if (!prefix) return prefix;
                return std::optional(*prefix / "bin" / "vorn");
            }};
}

CommandLookups CommandLookups::live() {
    return {[] { return LiveLookupCache::shared().onPath(); },
            [] { return LiveLookupCache::shared().npmGlobalBin(); }};
}

void CommandLookups::warmLive(std::function<void()> handler) {
    LiveLookupCache::shared().warm(std::move(handler));
}

}  // namespace vorn
