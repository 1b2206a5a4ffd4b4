#include "model/VornUpdateModel.h"

#include <QUuid>
#include <fstream>
#include <system_error>

#include "model/Background.h"
#include "support/Text.h"

namespace vorn {

namespace {

using InstallError = VornUpdater::InstallError;

// Removes a folder and all in it when the scope it guards ends, however it
// ends.
class RemovedOnExit {
  public:
    explicit RemovedOnExit(std::filesystem::path folder) : folder(std::move(folder)) {}
    ~RemovedOnExit() {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
    RemovedOnExit(const RemovedOnExit&) = delete;
    RemovedOnExit& operator=(const RemovedOnExit&) = delete;

  private:
    std::filesystem::path folder;
};

std::filesystem::path newWorkFolder() {
    std::error_code ignored;
    const std::string unique = QUuid::createUuid().toString(QUuid::WithoutBraces).toStdString();
    return std::filesystem::temp_directory_path(ignored) / ("vorn-update-" + unique);
}

Expected<void, InstallError> save(const QByteArray& data, const std::filesystem::path& file) {
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    stream.write(data.constData(), data.size());
    stream.close();
    if (!stream) return Unexpected(InstallError{"could not write " + file.string()});
    return {};
}

// The tarball, fetched into the work folder.
Expected<void, InstallError> fetchTarball(const VornUpdateModel::Fetch& fetch,
                                          const std::string& url,
                                          const std::filesystem::path& file) {
    std::error_code error;
    std::filesystem::create_directory(file.parent_path(), error);
    if (error) {
        return Unexpected(InstallError{"could not create " + file.parent_path().string() + ": " +
                                       error.message()});
    }
    const auto data = fetch(url);
    if (!data) return Unexpected(InstallError{data.error()});
    return save(*data, file);
}

std::string messageFor(const InstallError& error) {
    if (const auto* failure = std::get_if<VornUpdater::Failure>(&error.reason)) {
        return failure->description();
    }
    return "Update failed: " + std::get<std::string>(error.reason) + ". The old vorn was kept.";
}

}  // namespace

VornUpdateModel::VornUpdateModel(Options options, QObject* parent)
    : QObject(parent), options(std::move(options)) {}

VornUpdateModel::Fetch VornUpdateModel::liveFetch(VornUpdater::FetchOptions fetchOptions) {
    return [fetchOptions](const std::string& url) {
        return VornUpdater::liveFetch(QUrl(QString::fromStdString(url)), fetchOptions);
    };
}

QCoro::Task<> VornUpdateModel::check(std::optional<std::string> installed) {
    if (currentPhase != Phase::idle) co_return;
    setPhase(Phase::checking);
    auto newest = co_await newestRelease();
    if (newest) {
        setLastChecked(options.clock());
        showRelease(std::move(*newest), installed);
    } else {
        setMessage("Could not check for vorn updates: " + newest.error());
    }
    setPhase(Phase::idle);
}

QCoro::Task<Expected<std::optional<VornRelease>, std::string>> VornUpdateModel::newestRelease() {
    const Fetch fetch = options.fetch;
    const std::string url = options.feedURL;
    const std::string architecture = options.architecture;
    // Named, not a temporary of the co_await: GCC 12 destroys the captures
    // of such a temporary twice.
    auto work = [=]() -> Expected<std::optional<VornRelease>, std::string> {
        const auto feed = fetch(url);
        if (!feed) return Unexpected(feed.error().description());
        return VornUpdater::newestRelease(std::string_view(feed->constData(), feed->size()),
                                          architecture, VornUpdater::minimumVornVersion);
    };
    auto newest = co_await Background::run(std::move(work));
    co_return newest;
}

void VornUpdateModel::showRelease(std::optional<VornRelease> release,
                                  const std::optional<std::string>& installed) {
    if (!release) {
        setAvailable(std::nullopt);
        setMessage(VornUpdater::Failure{VornUpdater::Failure::NoRelease{}}.description());
        return;
    }
    const auto installedVersion = installed ? VornVersion::parse(*installed) : std::nullopt;
    if (installedVersion && *installedVersion >= release->version) {
        setMessage("vorn " + release->version.description() + " is the newest available.");
        setAvailable(std::nullopt);
        return;
    }
    setAvailable(std::move(release));
    setMessage(std::nullopt);
}

QCoro::Task<bool> VornUpdateModel::update(std::filesystem::path folder) {
    if (currentPhase != Phase::idle || !availableRelease) co_return false;
    const VornRelease release = *availableRelease;
    setPhase(Phase::updating);
    const std::filesystem::path workFolder = newWorkFolder();
    bool updated = false;
    {
        const RemovedOnExit workFolderGoes(workFolder);
        const auto installed = co_await download(release, workFolder, folder);
        updated = installed.has_value();
        if (installed) {
            setAvailable(std::nullopt);
            setMessage("Updated to vorn " + release.version.description());
        } else {
            setMessage(messageFor(installed.error()));
        }
    }
    setPhase(Phase::idle);
    co_return updated;
}

QCoro::Task<Expected<void, InstallError>> VornUpdateModel::download(
    VornRelease release, std::filesystem::path workFolder, std::filesystem::path into) {
    const Fetch fetch = options.fetch;
    const std::string name = VornRelease::tarballName(release.version, options.architecture);
    const std::filesystem::path tarball = workFolder / name;
    auto work = [=]() -> Expected<void, InstallError> {
        if (auto fetched = fetchTarball(fetch, release.tarball, tarball); !fetched) return fetched;
        const auto sums = fetch(release.checksums);
        if (!sums) return Unexpected(InstallError{sums.error()});
        const std::string text =
            Text::repairedUTF8(std::string_view(sums->constData(), sums->size()));
        return VornUpdater::install(tarball, name, text, release.version, into);
    };
    auto installed = co_await Background::run(std::move(work));
    co_return installed;
}

void VornUpdateModel::setPhase(Phase phase) {
    if (phase == currentPhase) return;
    currentPhase = phase;
    emit phaseChanged();
}

void VornUpdateModel::setAvailable(std::optional<VornRelease> release) {
    if (release == availableRelease) return;
    availableRelease = std::move(release);
    emit availableChanged();
}

void VornUpdateModel::setMessage(std::optional<std::string> text) {
    if (text == currentMessage) return;
    currentMessage = std::move(text);
    emit messageChanged();
}

void VornUpdateModel::setLastChecked(std::chrono::system_clock::time_point time) {
    if (checkedAt == time) return;
    checkedAt = time;
    emit lastCheckedChanged();
}

}  // namespace vorn
