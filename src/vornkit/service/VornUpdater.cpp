#include "service/VornUpdater.h"

#include <QCryptographicHash>
#include <QEventLoop>
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <memory>
#include <system_error>

#include "service/Shell.h"
#include "service/StagingFolder.h"
#include "support/Overloaded.h"
#include "support/SHA256Sums.h"
#include "support/TextFile.h"

namespace vorn {

namespace {

constexpr qint64 kHashChunk = 1024 * 1024;

Unexpected<VornUpdater::Failure> downloadFailure(std::string reason) {
    return Unexpected(VornUpdater::Failure{VornUpdater::Failure::Download{std::move(reason)}});
}

Unexpected<VornUpdater::InstallError> installFailure(VornUpdater::Failure failure) {
    return Unexpected(VornUpdater::InstallError{std::move(failure)});
}

Unexpected<VornUpdater::InstallError> systemFailure(std::string words) {
    return Unexpected(VornUpdater::InstallError{std::move(words)});
}

Unexpected<VornUpdater::InstallError> badArchive(std::string reason) {
    return installFailure({VornUpdater::Failure::BadArchive{std::move(reason)}});
}

// The proof that the tarball is the published one.
Expected<void, VornUpdater::InstallError> verify(const std::filesystem::path& tarball,
                                                 const std::string& name, std::string_view sums) {
    const auto expected = VornUpdater::expectedDigest(name, sums);
    if (!expected) return installFailure({VornUpdater::Failure::ChecksumMissing{name}});
    const auto actual = VornUpdater::sha256(tarball);
    if (!actual) return systemFailure(actual.error());
    if (*actual != *expected) return installFailure({VornUpdater::Failure::ChecksumMismatch{name}});
    return {};
}

Expected<void, VornUpdater::InstallError> unpack(const std::filesystem::path& tarball,
                                                 const std::filesystem::path& staging) {
    const ShellResult tar =
        Shell::run("/usr/bin/tar", {"-xzf", tarball.string(), "-C", staging.string()}, std::nullopt,
                   std::nullopt, VornUpdater::tarTimeout);
    if (!tar.ok()) return badArchive("tar exit " + std::to_string(tar.status));
    // A link in its place could point anywhere; only a file of the tarball
    // is made executable.
    std::error_code error;
    if (!std::filesystem::is_regular_file(
            std::filesystem::symlink_status(staging / "vorn", error))) {
        return badArchive("no vorn executable inside");
    }
    std::filesystem::permissions(staging / "vorn", static_cast<std::filesystem::perms>(0755),
                                 std::filesystem::perm_options::replace, error);
    if (error) {
        return systemFailure("could not set the mode of " + (staging / "vorn").string() + ": " +
                             error.message());
    }
    return {};
}

// The version written out whole, or not at all.
Expected<void, VornUpdater::InstallError> writeVersion(const std::filesystem::path& staging,
                                                       const VornVersion& version) {
    const std::filesystem::path file = staging / "VERSION";
    if (auto written = TextFile::writeAtomically(file, version.description()); !written) {
        return systemFailure("could not write " + file.string() + ": " + written.error());
    }
    return {};
}

std::string timeoutText(double seconds) {
    return "timed out after " + std::to_string(static_cast<long long>(seconds)) + " s";
}

QNetworkRequest requestFor(const QUrl& url, const VornUpdater::FetchOptions& options) {
    QNetworkRequest request(url);
    request.setRawHeader("Accept", "application/vnd.github+json");
    request.setRawHeader("User-Agent", "Vorn-macOS");
    // Silence for this long ends the request; a slow but steady download
    // goes on.
    request.setTransferTimeout(static_cast<int>(options.timeout * 1000));
    // Release assets live on another host; a redirect may go there, but
    // never from https to plain http.
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::NoLessSafeRedirectPolicy);
    if (options.tls) request.setSslConfiguration(*options.tls);
    return request;
}

}  // namespace

std::string VornUpdater::Failure::description() const {
    return std::visit(
        Overloaded{
            [](const ChecksumMissing& missing) {
                return "SHA256SUMS has no entry for " + missing.name + "; the old vorn was kept.";
            },
            [](const ChecksumMismatch& mismatch) {
                return mismatch.name +
                       " does not match its published checksum; the download was refused and "
                       "the old vorn was kept.";
            },
            [](const BadArchive& bad) {
                return "The downloaded vorn could not be unpacked (" + bad.reason +
                       "); the old vorn was kept.";
            },
            [](const Download& download) { return "Could not download vorn: " + download.reason; },
            [](const NoRelease&) {
                return std::string("No vorn release at or above this app's minimum was found.");
            },
        },
        reason);
}

Expected<std::optional<VornRelease>, std::string> VornUpdater::newestRelease(
    std::string_view feed, std::string_view architecture, const VornVersion& minimum) {
    return VornRelease::newestInFeed(feed, architecture, minimum);
}

std::optional<std::string> VornUpdater::expectedDigest(std::string_view name,
                                                       std::string_view sums) {
    return SHA256Sums::digest(name, sums);
}

Expected<std::string, std::string> VornUpdater::sha256(const std::filesystem::path& file) {
    QFile input(QString::fromStdString(file.string()));
    if (!input.open(QIODevice::ReadOnly)) {
        return Unexpected("could not read " + file.string() + ": " +
                          input.errorString().toStdString());
    }
    QCryptographicHash hash(QCryptographicHash::Sha256);
    QByteArray chunk(kHashChunk, Qt::Uninitialized);
    for (;;) {
        const qint64 count = input.read(chunk.data(), kHashChunk);
        if (count < 0) {
            return Unexpected("could not read " + file.string() + ": " +
                              input.errorString().toStdString());
        }
        if (count == 0) break;
        hash.addData(QByteArrayView(chunk.constData(), count));
    }
    return hash.result().toHex().toStdString();
}

Expected<void, VornUpdater::InstallError> VornUpdater::install(const std::filesystem::path& tarball,
                                                               const std::string& name,
                                                               std::string_view sums,
                                                               const VornVersion& version,
                                                               const std::filesystem::path& into) {
    if (auto verified = verify(tarball, name, sums); !verified) return verified;
    auto staging = StagingFolder::beside(into);
    if (!staging) return systemFailure(staging.error());
    if (auto unpacked = unpack(tarball, staging->path()); !unpacked) return unpacked;
    // The release's own word on its version, whatever the tarball says.
    if (auto written = writeVersion(staging->path(), version); !written) return written;
    if (auto swapped = staging->swapIn(); !swapped) return systemFailure(swapped.error());
    return {};
}

Expected<QByteArray, VornUpdater::Failure> VornUpdater::liveFetch(const QUrl& url) {
    return liveFetch(url, FetchOptions{});
}

Expected<QByteArray, VornUpdater::Failure> VornUpdater::liveFetch(const QUrl& url,
                                                                  const FetchOptions& options) {
    const std::string shown = url.toString().toStdString();
    if (url.scheme() != QLatin1String("https")) {
        return downloadFailure("only https addresses are fetched, not " + shown);
    }
    QNetworkAccessManager manager;
    const std::unique_ptr<QNetworkReply> reply(manager.get(requestFor(url, options)));
    if (!reply->isFinished()) {
        QEventLoop loop;
        QObject::connect(reply.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
        loop.exec();
    }
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (status.isValid() && (status.toInt() < 200 || status.toInt() > 299)) {
        return downloadFailure("HTTP " + std::to_string(status.toInt()) + " from " + shown);
    }
    // Nothing but the time-out aborts a request.
    if (reply->error() == QNetworkReply::OperationCanceledError) {
        return downloadFailure(timeoutText(options.timeout));
    }
    if (reply->error() != QNetworkReply::NoError) {
        return downloadFailure(reply->errorString().toStdString());
    }
    return reply->readAll();
}

}  // namespace vorn
