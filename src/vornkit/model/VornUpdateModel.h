#pragma once

#include <QByteArray>
#include <QCoroTask>
#include <QObject>
#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "model/VornRelease.h"
#include "service/VornUpdater.h"
#include "support/Expected.h"

namespace vorn {

// What the settings show of scheduler updates: whether a newer release is
// out, and the one update a person may start. Lives on the main thread;
// the network and the disk are awaited on workers.
class VornUpdateModel : public QObject {
    Q_OBJECT

  public:
    enum class Phase { idle, checking, updating };

    // The body at an address; blocks a worker thread, may fail.
    using Fetch = std::function<Expected<QByteArray, VornUpdater::Failure>(const std::string& url)>;
    using Clock = std::function<std::chrono::system_clock::time_point()>;

    struct Options {
        std::string architecture;
        Fetch fetch;
        std::string feedURL = std::string(VornUpdater::releasesURL);
        Clock clock = [] { return std::chrono::system_clock::now(); };
    };

    explicit VornUpdateModel(Options options, QObject* parent = nullptr);

    // `VornUpdater::liveFetch` with its production settings.
    static Fetch liveFetch(VornUpdater::FetchOptions options = {});

    Phase phase() const { return currentPhase; }
    const std::optional<VornRelease>& available() const { return availableRelease; }
    const std::optional<std::string>& message() const { return currentMessage; }
    std::optional<std::chrono::system_clock::time_point> lastChecked() const { return checkedAt; }

    // Looks for a release newer than `installed` (a version's text, or
    // nothing). Only from idle: a second call while one runs does nothing.
    QCoro::Task<> check(std::optional<std::string> installed);
    // Fetches and installs `available` into `folder`. Only from idle, and
    // only with a release available. Whether it was installed.
    QCoro::Task<bool> update(std::filesystem::path folder);

  signals:
    void phaseChanged();
    void availableChanged();
    void messageChanged();
    void lastCheckedChanged();

  private:
    QCoro::Task<Expected<std::optional<VornRelease>, std::string>> newestRelease();
    QCoro::Task<Expected<void, VornUpdater::InstallError>> download(
        VornRelease release, std::filesystem::path workFolder, std::filesystem::path into);
    void showRelease(std::optional<VornRelease> release,
                     const std::optional<std::string>& installed);

    void setPhase(Phase phase);
    void setAvailable(std::optional<VornRelease> release);
    void setMessage(std::optional<std::string> text);
    void setLastChecked(std::chrono::system_clock::time_point time);

    Options options;
    Phase currentPhase = Phase::idle;
    std::optional<VornRelease> availableRelease;
    std::optional<std::string> currentMessage;
    std::optional<std::chrono::system_clock::time_point> checkedAt;
};

}  // namespace vorn
