#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "support/Expected.h"
#include "support/VornVersion.h"

namespace vorn {

// A published scheduler release that has a tarball for this machine and
// its checksum list.
struct VornRelease {
    // The operating system's word in the names of the release assets.
    static constexpr std::string_view platform = "linux";

    VornVersion version;
    std::string tarball;    // address of the tarball
    std::string checksums;  // address of its SHA256SUMS

    bool operator==(const VornRelease&) const = default;

    // "vorn-{version}-linux-{architecture}.tar.gz".
    static std::string tarballName(const VornVersion& version, std::string_view architecture);

    // The highest release of the feed (a JSON array of releases) that is
    // neither a draft nor a prerelease, is at least `minimum`, and carries
    // both this architecture's tarball and SHA256SUMS. Among equal versions
    // the first in the feed. Fails, with the reason, when the feed is not
    // the expected JSON.
    static Expected<std::optional<VornRelease>, std::string> newestInFeed(
        std::string_view feed, std::string_view architecture, const VornVersion& minimum);
};

}  // namespace vorn
