#pragma once

#include <QByteArray>
#include <QSslConfiguration>
#include <QUrl>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "model/VornRelease.h"
#include "support/Expected.h"
#include "support/VornVersion.h"

namespace vorn {

// Updates of the scheduler this application installed itself: which
// release is newest, and the proven swap of its tarball into place.
struct VornUpdater {
    static constexpr std::string_view releasesURL =
        "https://api.github.com/repos/marrowfen/vorn/releases?per_page=30";
    // The oldest scheduler this application can work with.
    static constexpr VornVersion minimumVornVersion{0, 73, 0};
    static constexpr double fetchTimeout = 120;
    static constexpr double tarTimeout = 120;

    // What a person reads when an update goes wrong; each says what
    // happened to the old scheduler.
    struct Failure {
        struct ChecksumMissing {
            std::string name;
            bool operator==(const ChecksumMissing&) const = default;
        };
        struct ChecksumMismatch {
            std::string name;
            bool operator==(const ChecksumMismatch&) const = default;
        };
        struct BadArchive {
            std::string reason;
            bool operator==(const BadArchive&) const = default;
        };
        struct Download {
            std::string reason;
            bool operator==(const Download&) const = default;
        };
        struct NoRelease {
            bool operator==(const NoRelease&) const = default;
        };
        std::variant<ChecksumMissing, ChecksumMismatch, BadArchive, Download, NoRelease> reason;

        bool operator==(const Failure&) const = default;
        std::string description() const;
    };

    // An install that failed: one of the failures above, or the system's
    // words for a file operation that did.
    struct InstallError {
        std::variant<Failure, std::string> reason;
        bool operator==(const InstallError&) const = default;
    };

    // How `liveFetch` reaches the network; a test narrows the time-out and
    // trusts its own certificate.
    struct FetchOptions {
        double timeout = fetchTimeout;
        std::optional<QSslConfiguration> tls;
    };

    static Expected<std::optional<VornRelease>, std::string> newestRelease(
        std::string_view feed, std::string_view architecture, const VornVersion& minimum);
    static std::optional<std::string> expectedDigest(std::string_view name, std::string_view sums);
    // Read in chunks of 1 MiB, so a large file never sits in memory whole.
    static Expected<std::string, std::string> sha256(const std::filesystem::path& file);

    // Proves the tarball against its checksum, unpacks it beside `into`,
    // and swaps it in; nothing touches `into` before the new copy is whole.
    static Expected<void, InstallError> install(const std::filesystem::path& tarball,
                                                const std::string& name, std::string_view sums,
                                                const VornVersion& version,
                                                const std::filesystem::path& into);

    // The body at an https address, with the headers the release service
    // asks for. Blocks its thread, turning an event loop of its own, until
    // the answer is complete or nothing arrived for the time-out. Any other
    // scheme, a status outside 200–299 and any network error fail with
    // `download`.
    static Expected<QByteArray, Failure> liveFetch(const QUrl& url, const FetchOptions& options);
    static Expected<QByteArray, Failure> liveFetch(const QUrl& url);
};

}  // namespace vorn
