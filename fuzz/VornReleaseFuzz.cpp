// Any release feed gives the newest usable release, nothing, or an error
// with its reason; a release found is never below the minimum, and a
// higher minimum can only take it away.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "model/VornRelease.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view feed(reinterpret_cast<const char*>(data), size);
    const vorn::VornVersion minimum{0, 73, 0};
    const auto newest = vorn::VornRelease::newestInFeed(feed, "arm64", minimum);
    if (!newest) {
        if (newest.error().empty()) std::abort();
        return 0;
    }
    if (!*newest) return 0;
    const vorn::VornRelease& release = **newest;
    if (release.version < minimum) std::abort();
    const auto atItsOwnVersion = vorn::VornRelease::newestInFeed(feed, "arm64", release.version);
    if (!atItsOwnVersion || *atItsOwnVersion != *newest) std::abort();
    return 0;
}
