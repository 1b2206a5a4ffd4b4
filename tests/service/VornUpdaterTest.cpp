#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QtConcurrent/QtConcurrentRun>
#include <fstream>
#include <random>
#include <string>

#include "common/FolderContents.h"
#include "common/HttpsServer.h"
#include "common/Script.h"
#include "common/ShellResultPrinter.h"
#include "common/TempDir.h"
#include "service/Shell.h"
#include "service/StagingFolder.h"
#include "service/VornUpdater.h"
#include "support/TextFile.h"

namespace vorn {
namespace {

using testing::folderContents;
using testing::HttpsServer;
using testing::namesStartingWith;
using testing::TempDir;
using testing::writeScript;
using Failure = VornUpdater::Failure;

constexpr VornVersion kMinimum{0, 73, 0};

// One release of the feed, with the assets it lists.
std::string release(std::string_view tag, std::vector<std::string> assets,
                    std::string_view flags = "") {
    std::string text =
        "{\"tag_name\": \"" + std::string(tag) + "\", " + std::string(flags) + "\"assets\": [";
    for (size_t index = 0; index < assets.size(); ++index) {
        if (index > 0) text += ", ";
        text += "{\"name\": \"" + assets[index] + "\", \"browser_download_url\": \"https://dl/" +
                std::string(tag) + "/" + assets[index] + "\", \"size\": 10}";
    }
    return text + "]}";
}

std::string feed(const std::vector<std::string>& releases) {
    std::string text = "[";
    for (size_t index = 0; index < releases.size(); ++index)
        text += (index > 0 ? ",\n" : "\n") + releases[index];
    return text + "\n]";
}

std::vector<std::string> assetsFor(std::string_view version, std::string_view architecture) {
    return {"vorn-" + std::string(version) + "-linux-" + std::string(architecture) + ".tar.gz",
            "SHA256SUMS"};
}

std::optional<VornRelease> newest(const std::string& text,
                                  std::string_view architecture = "arm64") {
    const auto found = VornUpdater::newestRelease(text, architecture, kMinimum);
    EXPECT_TRUE(found) << found.error();
    return found ? *found : std::nullopt;
}

TEST(VornUpdaterFeed, TheNewestUsableReleaseWhateverTheOrder) {
    const std::string text = feed({
        release("v1.2", assetsFor("1.2.0", "arm64")),
        release("v1.9.0", assetsFor("1.9.0", "arm64"), "\"draft\": true, "),
        release("v1.8.0", assetsFor("1.8.0", "arm64"), "\"prerelease\": true, \"draft\": false, "),
        release("v1.7.0", assetsFor("1.7.0", "x86_64")),
        release("1.6.0-beta", assetsFor("1.6.0", "arm64")),
        release("v1.5.1", {"vorn-1.5.1-linux-arm64.tar.gz"}),
        release("v1.5.0", assetsFor("1.5.0", "arm64"), "\"draft\": null, "),
        release("1.3.0", assetsFor("1.3.0", "arm64")),
    });
    EXPECT_EQ(newest(text), (VornRelease{{1, 5, 0},
                                         "https://dl/v1.5.0/vorn-1.5.0-linux-arm64.tar.gz",
                                         "https://dl/v1.5.0/SHA256SUMS"}));
    // The other architecture's newest is the one this architecture skipped.
    EXPECT_EQ(newest(text, "x86_64")->version, (VornVersion{1, 7, 0}));
    EXPECT_EQ(newest(feed({release("v1.2", assetsFor("1.2.0", "arm64"))}))->tarball,
              "https://dl/v1.2/vorn-1.2.0-linux-arm64.tar.gz");
}

TEST(VornUpdaterFeed, AmongEqualVersionsTheFirstStays) {
    const std::string first = release("v2.0.0", assetsFor("2.0.0", "arm64"));
    std::string second = release("2.0", assetsFor("2.0.0", "arm64"));
    EXPECT_EQ(newest(feed({first, second}))->tarball,
              "https://dl/v2.0.0/vorn-2.0.0-linux-arm64.tar.gz");
    EXPECT_EQ(newest(feed({second, first}))->tarball,
              "https://dl/2.0/vorn-2.0.0-linux-arm64.tar.gz");
}

TEST(VornUpdaterFeed, NothingAtOrAboveTheMinimum) {
    EXPECT_EQ(newest(feed({release("v0.72.9", assetsFor("0.72.9", "arm64")),
                           release("0.1.0", assetsFor("0.1.0", "arm64"))})),
              std::nullopt);
    EXPECT_EQ(newest(feed({release("v0.73.0", assetsFor("0.73.0", "arm64"))}))->version, kMinimum);
    EXPECT_EQ(newest("[]"), std::nullopt);
}

TEST(VornUpdaterFeed, AFeedThatIsNotTheExpectedJSONIsAnError) {
    for (const std::string& text : {
             std::string("{\"message\": \"API rate limit exceeded\"}"),
             std::string("<html>"),
             std::string(""),
             feed({"{\"assets\": []}"}),
             feed({"{\"tag_name\": 1.2, \"assets\": []}"}),
             feed({"{\"tag_name\": \"v1\"}"}),
             feed({"{\"tag_name\": \"v1\", \"draft\": \"no\", \"assets\": []}"}),
             feed({"{\"tag_name\": \"v1\", \"assets\": [{\"name\": \"SHA256SUMS\"}]}"}),
             feed({release("v1.0.0", assetsFor("1.0.0", "arm64")), "7"}),
         }) {
        EXPECT_FALSE(VornUpdater::newestRelease(text, "arm64", kMinimum)) << text;
    }
}

TEST(VornUpdaterChecksums, TheFirstLineNamingTheFile) {
    const std::string sums =
        "\n"
        "0123  \n"
        "ABCDEF0123  *vorn-1.4.0-linux-arm64.tar.gz\n"
        "ffff  vorn-1.4.0-linux-arm64.tar.gz\r\n"
        "aaaa\tvorn-1.4.0-linux-x86_64.tar.gz\r\n"
        "bbbb  **double-star\n";
    EXPECT_EQ(VornUpdater::expectedDigest("vorn-1.4.0-linux-arm64.tar.gz", sums), "abcdef0123");
    EXPECT_EQ(VornUpdater::expectedDigest("vorn-1.4.0-linux-x86_64.tar.gz", sums), "aaaa");
    EXPECT_EQ(VornUpdater::expectedDigest("*double-star", sums), "bbbb");
    EXPECT_EQ(VornUpdater::expectedDigest("vorn-1.4.0-linux", sums), std::nullopt);
    EXPECT_EQ(VornUpdater::expectedDigest("0123", sums), std::nullopt);
    EXPECT_EQ(VornUpdater::expectedDigest("x", ""), std::nullopt);
}

TEST(VornUpdaterChecksums, TheDigestOfAFileAgreesWithSha256sum) {
    TempDir folder;
    // Several chunks and a part of one, so the chunk joins are covered.
    std::string bytes(2 * 1024 * 1024 + 12345, '\0');
    std::mt19937 random(7);
    for (char& byte : bytes)
        byte = static_cast<char>(random());
    const auto file = folder.write("big.bin", bytes);
    const auto empty = folder.write("empty", "");
    for (const auto& path : {file, empty}) {
        const ShellResult tool =
            Shell::run("/usr/bin/sha256sum", {path.string()}, std::nullopt, std::nullopt, 60);
        ASSERT_TRUE(tool.ok()) << tool.output();
        EXPECT_EQ(VornUpdater::sha256(path), tool.stdout.substr(0, 64));
    }
    EXPECT_EQ(
        VornUpdater::sha256(folder / "gone"),
        Unexpected("could not read " + (folder / "gone").string() + ": No such file or directory"));
}

// A release tarball made with tar, its SHA256SUMS made with sha256sum, and
// an install of 1.3.0 in place.
struct Release {
    TempDir folder;
    std::string name = VornRelease::tarballName({1, 4, 0}, "x86_64");
    std::filesystem::path tarball = folder / name;
    std::filesystem::path installed = folder / "home/Library/Application Support/Vorn/vorn";
    std::map<std::string, std::string> before;

    Release() {
        writeScript(installed / "vorn", "#!/bin/sh\necho 1.3.0\n");
        folder.write("home/Library/Application Support/Vorn/vorn/VERSION", "1.3.0\n");
        before = folderContents(installed);
    }
    // Packs the folder `content` (relative to the test's folder).
    void pack(const std::string& content) const {
        const ShellResult tar =
            Shell::run("/usr/bin/tar", {"-czf", tarball.string(), "-C", (folder / content), "."},
                       std::nullopt, std::nullopt, 60);
        ASSERT_TRUE(tar.ok()) << tar.output();
    }
    void packScheduler(const std::string& says) const {
        const auto vorn = folder.write("content/vorn", "#!/bin/sh\necho " + says + "\n");
        std::filesystem::permissions(vorn, static_cast<std::filesystem::perms>(0644));
        folder.write("content/VERSION", "0.0.1-from-the-tarball\n");
        folder.write("content/lib/main.js", "// code\n");
        pack("content");
    }
    // Another file's line, then "{digest} *{name}\n" as the tool prints it.
    std::string sums() const {
        const ShellResult tool =
            Shell::run("/usr/bin/sha256sum", {"-b", name}, folder.path(), std::nullopt, 60);
        EXPECT_TRUE(tool.ok()) << tool.output();
        return std::string(64, '0') + "  other.tar.gz\n" + tool.stdout;
    }
    Expected<void, VornUpdater::InstallError> install(std::string_view sums) const {
        return VornUpdater::install(tarball, name, sums, {1, 4, 0}, installed);
    }
    std::string installedAnswer() const {
        return Shell::run(installed / "vorn", {}, std::nullopt, std::nullopt, 30).stdout;
    }
    void expectOldInstallKept() const {
        EXPECT_EQ(folderContents(installed), before);
        EXPECT_EQ(installedAnswer(), "1.3.0\n");
        EXPECT_EQ(namesStartingWith(installed.parent_path(), StagingFolder::namePrefix),
                  std::vector<std::string>{});
    }
};

Expected<void, VornUpdater::InstallError> failureOf(Failure failure) {
    return Unexpected(VornUpdater::InstallError{std::move(failure)});
}

TEST(VornUpdaterInstall, AProvenTarballReplacesTheInstall) {
    Release release;
    release.packScheduler("1.4.0");
    ASSERT_TRUE(release.install(release.sums()));
    EXPECT_EQ(release.installedAnswer(), "1.4.0\n");
    const auto installed = folderContents(release.installed);
    EXPECT_EQ(installed.at("VERSION"), "644 1.4.0");
    EXPECT_EQ(installed.at("vorn"), "755 #!/bin/sh\necho 1.4.0\n");
    EXPECT_EQ(installed.at("lib/main.js"), "644 // code\n");
    EXPECT_EQ(namesStartingWith(release.installed.parent_path(), StagingFolder::namePrefix),
              std::vector<std::string>{});

    // Into a place where nothing was yet.
    std::filesystem::remove_all(release.folder / "home");
    ASSERT_TRUE(release.install(release.sums()));
    EXPECT_EQ(release.installedAnswer(), "1.4.0\n");
}

TEST(VornUpdaterInstall, ATarballWithoutVorn) {
    Release release;
    release.folder.write("content/bin/vorn", "#!/bin/sh\n");
    release.folder.write("content/README", "nested\n");
    release.pack("content");
    EXPECT_EQ(release.install(release.sums()),
              failureOf({Failure::BadArchive{"no vorn executable inside"}}));
    release.expectOldInstallKept();

    // A link by that name is not the executable either.
    std::filesystem::create_symlink("/bin/sh", release.folder / "content/vorn");
    release.pack("content");
    EXPECT_EQ(release.install(release.sums()),
              failureOf({Failure::BadArchive{"no vorn executable inside"}}));
    release.expectOldInstallKept();
}

TEST(VornUpdaterInstall, TarFailingOnACorruptArchive) {
    Release release;
    std::string bytes(4096, 'x');
    bytes[0] = '\x1f';
    bytes[1] = '\x8b';
    release.folder.write(release.name, bytes);
    const auto installed = release.install(release.sums());
    EXPECT_EQ(installed, failureOf({Failure::BadArchive{"tar exit 2"}}));
    EXPECT_EQ(std::get<Failure>(installed.error().reason).description(),
              "The downloaded vorn could not be unpacked (tar exit 2); the old vorn was kept.");
    release.expectOldInstallKept();
}

// Runs `VornUpdater::liveFetch` on a worker while this thread serves.
class LiveFetch : public ::testing::Test {
  protected:
    int argc = 1;
    char name[5] = "test";
    char* argv[2] = {name, nullptr};
    QCoreApplication application{argc, argv};
    HttpsServer server;

    void SetUp() override { ASSERT_EQ(server.problem(), ""); }

    Expected<QByteArray, Failure> fetch(const std::string& url, double timeout = 30) {
        VornUpdater::FetchOptions options{timeout, server.clientConfiguration()};
        auto future = QtConcurrent::run(
            [=] { return VornUpdater::liveFetch(QUrl(QString::fromStdString(url)), options); });
        while (!future.isFinished())
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        return future.result();
    }
    static Expected<QByteArray, Failure> download(std::string reason) {
        return Unexpected(Failure{Failure::Download{std::move(reason)}});
    }
};

TEST_F(LiveFetch, TheBodyOfAnAnswerWithTheServicesHeaders) {
    server.serve("/releases", {200, "[{\"tag_name\": \"v1.4.0\"}]"});
    EXPECT_EQ(fetch(server.url("/releases")), QByteArray("[{\"tag_name\": \"v1.4.0\"}]"));
    EXPECT_EQ(server.lastHeaders().value("accept"), "application/vnd.github+json");
    EXPECT_EQ(server.lastHeaders().value("user-agent"), "Vorn-macOS");
}

TEST_F(LiveFetch, AStatusOutsideTwoHundredsFails) {
    server.serve("/forbidden", {403, "{\"message\": \"rate limited\"}"});
    server.serve("/empty", {204, ""});
    EXPECT_EQ(fetch(server.url("/forbidden")),
              download("HTTP 403 from " + server.url("/forbidden")));
    EXPECT_EQ(fetch(server.url("/nowhere")), download("HTTP 404 from " + server.url("/nowhere")));
    EXPECT_EQ(fetch(server.url("/empty")), QByteArray());
}

TEST_F(LiveFetch, ARedirectIsFollowedButNeverToPlainHttp) {
    server.serve("/asset",
                 {302, "", {{"Location", QByteArray::fromStdString(server.url("/cdn"))}}});
    server.serve("/cdn", {200, "tarball bytes"});
    EXPECT_EQ(fetch(server.url("/asset")), QByteArray("tarball bytes"));
    EXPECT_EQ(server.requestCount(), 2);

    server.serve("/downgrade", {302, "", {{"Location", "http://127.0.0.1:9/cdn"}}});
    EXPECT_EQ(fetch(server.url("/downgrade")),
              download("HTTP 302 from " + server.url("/downgrade")));
}

TEST_F(LiveFetch, OnlyHttpsAddressesAreFetched) {
    EXPECT_EQ(fetch("http://127.0.0.1:9/releases"),
              download("only https addresses are fetched, not http://127.0.0.1:9/releases"));
    EXPECT_EQ(fetch("file:///etc/passwd"),
              download("only https addresses are fetched, not file:///etc/passwd"));
    EXPECT_EQ(server.requestCount(), 0);
}

TEST_F(LiveFetch, ASlowServerRunsIntoTheTimeOut) {
    HttpsServer::Response slow{200, "late"};
    slow.delayMilliseconds = 5000;
    server.serve("/slow", slow);
    EXPECT_EQ(fetch(server.url("/slow"), 1), download("timed out after 1 s"));
}

TEST_F(LiveFetch, AnUntrustedCertificateIsRefused) {
    server.serve("/releases", {200, "[]"});
    // The same address that answers a client trusting the certificate.
    ASSERT_EQ(fetch(server.url("/releases")), QByteArray("[]"));
    const auto fetched =
        VornUpdater::liveFetch(QUrl(QString::fromStdString(server.url("/releases"))),
                               {5, QSslConfiguration::defaultConfiguration()});
    // The fetch's own event loop serves on this thread too.
    ASSERT_FALSE(fetched);
    EXPECT_TRUE(fetched.error().description().starts_with("Could not download vorn: "));
    EXPECT_EQ(server.requestCount(), 1) << "a request went over the untrusted connection";
}

}  // namespace
}  // namespace vorn
