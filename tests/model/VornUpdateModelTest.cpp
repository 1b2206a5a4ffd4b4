#include <gtest/gtest.h>
#include <stdlib.h>

#include <QCoreApplication>
#include <string>

#include "common/FolderContents.h"
#include "common/HttpsServer.h"
#include "common/Script.h"
#include "common/ShellResultPrinter.h"
#include "common/TempDir.h"
#include "model/VornUpdateModel.h"
#include "service/BundledVorn.h"
#include "service/Shell.h"
#include "service/StagingFolder.h"
#include "support/TextFile.h"

namespace vorn {
namespace {

using testing::folderContents;
using testing::HttpsServer;
using testing::namesStartingWith;
using testing::TempDir;
using testing::writeScript;
using namespace std::chrono_literals;

const std::string kArchitecture(BundledVorn::buildArchitecture);
const std::chrono::system_clock::time_point kNow{1'780'000'000s};

// A release feed and its assets served over HTTPS on this machine, a
// built-in install of 1.3.0 made from an application payload, and the
// model under test, fetching live from that server.
class VornUpdateModelTest : public ::testing::Test {
  protected:
    int argc = 1;
    char name[5] = "test";
    char* argv[2] = {name, nullptr};
    QCoreApplication application{argc, argv};
    TempDir folder;
    HttpsServer server;
    std::filesystem::path installed = BundledVorn::defaultInstallDirectory(folder / "home");
    std::map<std::string, std::string> before;
    VornUpdateModel model{
        {kArchitecture, VornUpdateModel::liveFetch({30, server.clientConfiguration()}),
         server.url("/repos/marrowfen/vorn/releases?per_page=30"), [] { return kNow; }}};

    void SetUp() override {
        ASSERT_EQ(server.problem(), "");
        // Temporary folders of the update land where the test can look.
        ::setenv("TMPDIR", (folder / "tmp").c_str(), 1);
        std::filesystem::create_directories(folder / "tmp");
        installBuiltIn();
        servePublished("1.4.0");
    }
    void TearDown() override {
        ::unsetenv("TMPDIR");
        // What awaiting left to be deleted goes before the application.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    void installBuiltIn() {
        const auto payload = folder / "share/vorn" / kArchitecture;
        writeScript(payload / "vorn", "#!/bin/sh\necho 1.3.0\n");
        folder.write("share/vorn/" + kArchitecture + "/VERSION", "1.3.0\n");
        const BundledVorn bundled(payload, installed);
        ASSERT_EQ(bundled.installIfNeeded(),
                  BundledVorn::Outcome(BundledVorn::Installed{"1.3.0", std::nullopt}));
        before = folderContents(installed);
    }

    std::string tarballName(const std::string& version) const {
        return VornRelease::tarballName(*VornVersion::parse(version), kArchitecture);
    }
    QString assetPath(const std::string& version, const std::string& asset) const {
        return QString::fromStdString("/download/v" + version + "/" + asset);
    }
    // A tarball of a scheduler that says `version`, packed with tar, and
    // its SHA256SUMS, made with sha256sum.
    std::pair<QByteArray, QByteArray> pack(const std::string& version) const {
        const auto content = folder / ("release-" + version);
        writeScript(content / "vorn", "#!/bin/sh\necho " + version + "\n");
        const std::string name = tarballName(version);
        const ShellResult tar =
            Shell::run("/usr/bin/tar", {"-czf", (folder / name).string(), "-C", content, "."},
                       std::nullopt, std::nullopt, 60);
        EXPECT_TRUE(tar.ok()) << tar.output();
        const ShellResult sums =
            Shell::run("/usr/bin/sha256sum", {name}, folder.path(), std::nullopt, 60);
        EXPECT_TRUE(sums.ok()) << sums.output();
        return {QByteArray::fromStdString(*TextFile::readBytes(folder / name)),
                QByteArray::fromStdString(sums.stdout)};
    }
    std::string feedEntry(const std::string& version, const std::string& tarballURL) const {
        return "{\"tag_name\": \"v" + version + "\", \"draft\": false, \"assets\": [" +
               "{\"name\": \"" + tarballName(version) + "\", \"browser_download_url\": \"" +
               tarballURL + "\"}, {\"name\": \"SHA256SUMS\", \"browser_download_url\": \"" +
               server.url(assetPath(version, "SHA256SUMS")) + "\"}]}";
    }
    void serveFeed(const std::string& entries) {
        server.serve("/repos/marrowfen/vorn/releases?per_page=30",
                     {200, QByteArray::fromStdString("[" + entries + "]")});
    }
    void servePublished(const std::string& version) {
        const auto [tarball, sums] = pack(version);
        server.serve(assetPath(version, tarballName(version)), {200, tarball});
        server.serve(assetPath(version, "SHA256SUMS"), {200, sums});
        serveFeed(feedEntry(version, server.url(assetPath(version, tarballName(version)))) + ", " +
                  feedEntry("0.9.0", server.url(assetPath("0.9.0", tarballName("0.9.0")))));
    }

    void check(std::optional<std::string> installedVersion) {
        QCoro::waitFor(model.check(std::move(installedVersion)));
    }
    bool update() { return QCoro::waitFor(model.update(installed)); }
    std::string installedAnswer() const {
        return Shell::run(installed / "vorn", {}, std::nullopt, std::nullopt, 30).stdout;
    }
    void expectOldInstallKept() const {
        EXPECT_EQ(folderContents(installed), before);
        EXPECT_EQ(installedAnswer(), "1.3.0\n");
        EXPECT_EQ(namesStartingWith(installed.parent_path(), StagingFolder::namePrefix),
                  std::vector<std::string>{});
        EXPECT_EQ(namesStartingWith(folder / "tmp", "vorn-update-"), std::vector<std::string>{});
    }
};

TEST_F(VornUpdateModelTest, UpdatesTheBuiltInInstallFromTheFeed) {
    std::vector<VornUpdateModel::Phase> phases;
    QObject::connect(&model, &VornUpdateModel::phaseChanged,
                     [&] { phases.push_back(model.phase()); });
    check("1.3.0");
    ASSERT_TRUE(model.available()) << model.message().value_or("");
    EXPECT_EQ(model.available()->version, (VornVersion{1, 4, 0}));
    EXPECT_EQ(model.message(), std::nullopt);
    EXPECT_EQ(model.lastChecked(), kNow);
    EXPECT_EQ(server.lastHeaders().value("user-agent"), "Vorn-macOS");

    EXPECT_TRUE(update());
    EXPECT_EQ(model.message(), "Updated to vorn 1.4.0");
    EXPECT_EQ(model.available(), std::nullopt);
    EXPECT_EQ(model.phase(), VornUpdateModel::Phase::idle);
    using Phase = VornUpdateModel::Phase;
    EXPECT_EQ(phases, (std::vector{Phase::checking, Phase::idle, Phase::updating, Phase::idle}));
    EXPECT_EQ(installedAnswer(), "1.4.0\n");
    EXPECT_EQ(TextFile::read(installed / "VERSION"), "1.4.0");
    EXPECT_EQ(BundledVorn(std::nullopt, installed).installedVersion(), "1.4.0");
    EXPECT_EQ(namesStartingWith(installed.parent_path(), StagingFolder::namePrefix),
              std::vector<std::string>{});
    EXPECT_EQ(namesStartingWith(folder / "tmp", "vorn-update-"), std::vector<std::string>{});

    // Nothing is left to update.
    EXPECT_FALSE(update());
    EXPECT_EQ(model.message(), "Updated to vorn 1.4.0");
    EXPECT_EQ(installedAnswer(), "1.4.0\n");
}

TEST_F(VornUpdateModelTest, WhatACheckSaysOfTheInstalledVersion) {
    check("v1.4.0");
    EXPECT_EQ(model.message(), "vorn 1.4.0 is the newest available.");
    EXPECT_EQ(model.available(), std::nullopt);
    check("2.0.0");
    EXPECT_EQ(model.message(), "vorn 1.4.0 is the newest available.");
    check("1.4.0-local");
    EXPECT_TRUE(model.available());
    EXPECT_EQ(model.message(), std::nullopt);
    check(std::nullopt);
    EXPECT_TRUE(model.available());

    serveFeed(feedEntry("0.72.0", server.url(assetPath("0.72.0", tarballName("0.72.0")))));
    check("1.3.0");
    EXPECT_EQ(model.message(), "No vorn release at or above this app's minimum was found.");
    EXPECT_EQ(model.available(), std::nullopt);
}

TEST_F(VornUpdateModelTest, AFailedCheckKeepsWhatWasAvailable) {
    check("1.3.0");
    ASSERT_TRUE(model.available());
    const std::string feedURL = server.url("/repos/marrowfen/vorn/releases?per_page=30");
    server.serve("/repos/marrowfen/vorn/releases?per_page=30", {403, "{\"message\": \"limit\"}"});
    check("1.3.0");
    EXPECT_EQ(
        model.message(),
        "Could not check for vorn updates: Could not download vorn: HTTP 403 from " + feedURL);
    EXPECT_EQ(model.available()->version, (VornVersion{1, 4, 0}));

    serveFeed("{\"tag_name\": \"v2.0.0\"}");
    check("1.3.0");
    EXPECT_EQ(model.message(),
              "Could not check for vorn updates: a release in the list lacks "
              "its tag or assets");
    EXPECT_EQ(model.phase(), VornUpdateModel::Phase::idle);
}

TEST_F(VornUpdateModelTest, ASecondCheckWhileOneRunsDoesNothing) {
    HttpsServer::Response slowFeed{
        200,
        QByteArray::fromStdString(
            "[" + feedEntry("1.4.0", server.url(assetPath("1.4.0", tarballName("1.4.0")))) + "]")};
    slowFeed.delayMilliseconds = 300;
    server.serve("/repos/marrowfen/vorn/releases?per_page=30", slowFeed);
    auto first = model.check("1.3.0");
    EXPECT_EQ(model.phase(), VornUpdateModel::Phase::checking);
    QCoro::waitFor(model.check("1.3.0"));
    QCoro::waitFor(model.update(installed));
    EXPECT_EQ(model.phase(), VornUpdateModel::Phase::checking);
    QCoro::waitFor(first);
    EXPECT_EQ(server.requestCount(), 1);
    EXPECT_TRUE(model.available());
    EXPECT_EQ(installedAnswer(), "1.3.0\n");
}

TEST_F(VornUpdateModelTest, ATamperedTarballIsRefused) {
    check("1.3.0");
    const auto [tarball, sums] = pack("1.4.0");
    QByteArray tampered = tarball;
    tampered[tampered.size() / 2] = static_cast<char>(tampered[tampered.size() / 2] ^ 1);
    server.serve(assetPath("1.4.0", tarballName("1.4.0")), {200, tampered});
    EXPECT_FALSE(update());
    EXPECT_EQ(model.message(), tarballName("1.4.0") +
                                   " does not match its published checksum; the download was "
                                   "refused and the old vorn was kept.");
    EXPECT_EQ(model.available()->version, (VornVersion{1, 4, 0}));
    expectOldInstallKept();
}

TEST_F(VornUpdateModelTest, ADownloadCutOffHalfWay) {
    check("1.3.0");
    const auto [tarball, sums] = pack("1.4.0");
    HttpsServer::Response cut{200, tarball.left(tarball.size() / 2)};
    cut.declaredLength = tarball.size();
    server.serve(assetPath("1.4.0", tarballName("1.4.0")), cut);
    update();
    EXPECT_TRUE(model.message()->starts_with("Could not download vorn: ")) << *model.message();
    expectOldInstallKept();
}

TEST_F(VornUpdateModelTest, ChecksumsWithoutTheTarballsEntry) {
    check("1.3.0");
    server.serve(assetPath("1.4.0", "SHA256SUMS"), {200, "abc  vorn-1.4.0-linux-other.tar.gz\n"});
    update();
    EXPECT_EQ(model.message(),
              "SHA256SUMS has no entry for " + tarballName("1.4.0") + "; the old vorn was kept.");
    expectOldInstallKept();
}

TEST_F(VornUpdateModelTest, AnAssetOfAnotherSchemeIsNotFetched) {
    const std::string plain =
        "http://127.0.0.1:9" + assetPath("1.4.0", tarballName("1.4.0")).toStdString();
    serveFeed(feedEntry("1.4.0", plain));
    check("1.3.0");
    ASSERT_TRUE(model.available());
    update();
    EXPECT_EQ(model.message(),
              "Could not download vorn: only https addresses are fetched, not " + plain);
    expectOldInstallKept();
}

TEST_F(VornUpdateModelTest, AFileOperationThatFailsIsToldAsSuch) {
    check("1.3.0");
    const auto blocker = folder.write("file", "not a folder");
    QCoro::waitFor(model.update(blocker / "vorn"));
    EXPECT_EQ(model.message(), "Update failed: could not create " + blocker.string() +
                                   ": Not a directory. The old vorn was kept.");
    expectOldInstallKept();
}

}  // namespace
}  // namespace vorn
