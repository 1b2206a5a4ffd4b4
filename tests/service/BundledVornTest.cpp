#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <map>
#include <string>
#include <vector>

#include "common/EnforcedPermissions.h"
#include "common/FolderContents.h"
#include "common/Script.h"
#include "common/ShellResultPrinter.h"
#include "common/TempDir.h"
#include "service/BundledVorn.h"
#include "service/Shell.h"
#include "service/StagingFolder.h"
#include "support/TextFile.h"

namespace vorn {
namespace {

using testing::EnforcedPermissions;
using testing::folderContents;
using testing::namesStartingWith;
using testing::TempDir;
using testing::writeScript;

// An application's resources with a payload for this build, and a home.
struct Machine {
    TempDir folder;
    std::filesystem::path resources = folder / "share/vorn";
    std::filesystem::path payload = resources / BundledVorn::buildArchitecture;
    std::filesystem::path home = folder / "home";

    // A payload whose `vorn` says its version, with a file beside it, a
    // nested folder and a link.
    void carry(const std::string& version) const {
        writeScript(payload / "vorn", "#!/bin/sh\necho " + version + "\n");
        folder.write("share/vorn/" + std::string(BundledVorn::buildArchitecture) + "/VERSION",
                     version + "\n");
        folder.write("share/vorn/" + std::string(BundledVorn::buildArchitecture) + "/lib/main.js",
                     "// " + version + "\n");
        std::filesystem::create_symlink("lib/main.js", payload / "main.js");
    }
    BundledVorn bundled() const {
        return BundledVorn(BundledVorn::bundledDirectory(resources, BundledVorn::buildArchitecture),
                           BundledVorn::defaultInstallDirectory(home));
    }
    std::filesystem::path installed() const { return BundledVorn::defaultInstallDirectory(home); }
    // What the installed copy says when it runs.
    std::string installedAnswer() const {
        return Shell::run(installed() / "vorn", {}, std::nullopt, std::nullopt, 30).stdout;
    }
    std::vector<std::string> leftoverStaging() const {
        return namesStartingWith(installed().parent_path(), StagingFolder::namePrefix);
    }
};

std::string descriptionOf(const auto& expected) {
    return expected ? std::string("(no failure)") : expected.error().description();
}

TEST(BundledVornNeedsInstall, NewerOrEqualInstallsAreLeftAlone) {
    EXPECT_FALSE(BundledVorn::needsInstall(std::nullopt, "1.0.0", true));
    EXPECT_FALSE(BundledVorn::needsInstall(std::nullopt, std::nullopt, false));
    EXPECT_TRUE(BundledVorn::needsInstall("1.3.0", "1.3.0", false));
    EXPECT_TRUE(BundledVorn::needsInstall("1.3.0", std::nullopt, true));
    EXPECT_FALSE(BundledVorn::needsInstall("1.3.0", "1.4.0", true));
    EXPECT_FALSE(BundledVorn::needsInstall("1.3.0", "v1.3", true));
    EXPECT_TRUE(BundledVorn::needsInstall("1.10.0", "1.9.0", true));
    // Texts that don't parse differ or match, whichever looks newer.
    EXPECT_TRUE(BundledVorn::needsInstall("1.3.0-beta", "1.4.0", true));
    EXPECT_TRUE(BundledVorn::needsInstall("nightly-2", "nightly-10", true));
    EXPECT_FALSE(BundledVorn::needsInstall("nightly-2", "nightly-2", true));
}

TEST(BundledVornVersion, TheTrimmedTextOfTheVersionFile) {
    TempDir folder;
    EXPECT_EQ(BundledVorn::version(folder.path()), std::nullopt);
    folder.write("VERSION", " \n\t");
    EXPECT_EQ(BundledVorn::version(folder.path()), std::nullopt);
    folder.write("VERSION", "1.3.0\n");
    EXPECT_EQ(BundledVorn::version(folder.path()), "1.3.0");
    folder.write("VERSION", "\xff\xfe");
    EXPECT_EQ(BundledVorn::version(folder.path()), std::nullopt);
}

TEST(BundledVornInstall, FirstInstallCopiesThePayloadWhole) {
    Machine machine;
    machine.carry("1.3.0");
    const auto outcome = machine.bundled().installIfNeeded();
    ASSERT_TRUE(outcome) << descriptionOf(outcome);
    EXPECT_EQ(*outcome, BundledVorn::Outcome(BundledVorn::Installed{"1.3.0", std::nullopt}));
    EXPECT_EQ(folderContents(machine.installed()), folderContents(machine.payload));
    EXPECT_EQ(machine.installedAnswer(), "1.3.0\n");
    EXPECT_EQ(std::filesystem::status(machine.installed() / "vorn").permissions(),
              static_cast<std::filesystem::perms>(0755));
    EXPECT_TRUE(machine.leftoverStaging().empty());

    EXPECT_EQ(machine.bundled().installIfNeeded(),
              BundledVorn::Outcome(BundledVorn::UpToDate{"1.3.0"}));
}

TEST(BundledVornInstall, ANewerPayloadReplacesTheOldCopyWhole) {
    Machine machine;
    machine.carry("1.3.0");
    ASSERT_TRUE(machine.bundled().installIfNeeded());
    machine.folder.write("home/Library/Application Support/Vorn/vorn/stale.js", "old");
    std::filesystem::remove_all(machine.payload);
    machine.carry("1.4.0");

    EXPECT_TRUE(machine.bundled().needsInstall());
    const auto outcome = machine.bundled().installIfNeeded();
    ASSERT_TRUE(outcome) << descriptionOf(outcome);
    EXPECT_EQ(*outcome, BundledVorn::Outcome(BundledVorn::Installed{"1.4.0", "1.3.0"}));
    EXPECT_EQ(folderContents(machine.installed()), folderContents(machine.payload));
    EXPECT_EQ(machine.installedAnswer(), "1.4.0\n");
    EXPECT_TRUE(machine.leftoverStaging().empty());
}

TEST(BundledVornInstall, AnUpdatedCopyStaysAndAMissingExecutableIsReplaced) {
    Machine machine;
    machine.carry("1.3.0");
    writeScript(machine.installed() / "vorn", "#!/bin/sh\necho 1.4.0\n");
    machine.folder.write("home/Library/Application Support/Vorn/vorn/VERSION", "1.4.0");
    EXPECT_EQ(machine.bundled().installIfNeeded(),
              BundledVorn::Outcome(BundledVorn::UpToDate{"1.4.0"}));
    EXPECT_EQ(machine.installedAnswer(), "1.4.0\n");

    std::filesystem::remove(machine.installed() / "vorn");
    EXPECT_EQ(machine.bundled().installIfNeeded(),
              BundledVorn::Outcome(BundledVorn::Installed{"1.3.0", "1.4.0"}));
    EXPECT_EQ(machine.installedAnswer(), "1.3.0\n");
}

TEST(BundledVornInstall, NothingToInstallWithoutAPayloadOrItsVersion) {
    Machine machine;
    EXPECT_EQ(machine.bundled().source(), std::nullopt);
    EXPECT_EQ(machine.bundled().installIfNeeded(), BundledVorn::Outcome(BundledVorn::NotBundled{}));
    // A folder for this build without `vorn` in it doesn't count.
    machine.folder.write("share/vorn/" + std::string(BundledVorn::buildArchitecture) + "/VERSION",
                         "1.0.0");
    EXPECT_EQ(machine.bundled().source(), std::nullopt);

    writeScript(machine.payload / "vorn", "#!/bin/sh\n");
    std::filesystem::remove(machine.payload / "VERSION");
    EXPECT_EQ(machine.bundled().source(), machine.payload);
    EXPECT_EQ(machine.bundled().installIfNeeded(), BundledVorn::Outcome(BundledVorn::NotBundled{}));
    EXPECT_FALSE(std::filesystem::exists(machine.installed().parent_path()));
}

// An install of 1.3.0 in place, and a payload of 1.4.0 whose copy will fail.
struct FailingUpgrade : Machine {
    std::map<std::string, std::string> before;

    FailingUpgrade() {
        carry("1.3.0");
        if (!bundled().installIfNeeded()) throw std::runtime_error("first install failed");
        std::filesystem::remove_all(payload);
        carry("1.4.0");
        before = folderContents(installed());
    }
    void expectOldInstallWorking() const {
        EXPECT_EQ(folderContents(installed()), before);
        EXPECT_EQ(installedAnswer(), "1.3.0\n");
        EXPECT_EQ(leftoverStaging(), std::vector<std::string>{});
    }
};

TEST(BundledVornInstallFailure, AnUnreadableFileInThePayload) {
    FailingUpgrade machine;
    machine.folder.write(
        "share/vorn/" + std::string(BundledVorn::buildArchitecture) + "/lib/secret.js", "x");
    std::filesystem::permissions(machine.payload / "lib/secret.js", std::filesystem::perms::none);
    EnforcedPermissions enforced;
    ASSERT_TRUE(enforced.active());
    const auto outcome = machine.bundled().installIfNeeded();
    EXPECT_EQ(
        descriptionOf(outcome),
        "could not copy " + (machine.payload / "lib/secret.js").string() + ": Permission denied");
    machine.expectOldInstallWorking();
}

TEST(BundledVornInstallFailure, AReadOnlyInstallPlace) {
    FailingUpgrade machine;
    const auto parent = machine.installed().parent_path();
    std::filesystem::permissions(
        parent, std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
    {
        EnforcedPermissions enforced;
        ASSERT_TRUE(enforced.active());
        const auto outcome = machine.bundled().installIfNeeded();
        EXPECT_TRUE(descriptionOf(outcome).starts_with("could not create " + parent.string() +
                                                       "/.vorn-staging-"))
            << descriptionOf(outcome);
    }
    std::filesystem::permissions(parent, std::filesystem::perms::owner_all);
    machine.expectOldInstallWorking();
}

TEST(BundledVornInstallFailure, AFullDiskPartWayThroughTheCopy) {
    FailingUpgrade machine;
    // A payload file larger than the process may write: the copy stops at it,
    // as it would on a disk with no room left.
    machine.folder.write("share/vorn/" + std::string(BundledVorn::buildArchitecture) + "/zz.bin",
                         std::string(256 * 1024, 'z'));
    ::signal(SIGXFSZ, SIG_IGN);
    rlimit saved{};
    ::getrlimit(RLIMIT_FSIZE, &saved);
    rlimit small = saved;
    small.rlim_cur = 64 * 1024;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    const auto outcome = machine.bundled().installIfNeeded();
    ::setrlimit(RLIMIT_FSIZE, &saved);
    EXPECT_TRUE(descriptionOf(outcome).starts_with("could not copy " +
                                                   (machine.payload / "zz.bin").string() + ": "))
        << descriptionOf(outcome);
    machine.expectOldInstallWorking();
}

TEST(BundledVornInstallFailure, SomethingThatIsNotAFileOrFolder) {
    FailingUpgrade machine;
    const auto fifo = machine.payload / "pipe";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0644), 0);
    EXPECT_EQ(descriptionOf(machine.bundled().installIfNeeded()),
              "could not copy " + fifo.string() + ": Operation not supported");
    machine.expectOldInstallWorking();
}

bool hasAttribute(const std::filesystem::path& path, const char* name) {
    return ::lgetxattr(path.c_str(), name, nullptr, 0) >= 0;
}

TEST(BundledVornQuarantine, RemovedFromEveryItemButNeverThroughALink) {
    TempDir folder;
    const auto outside = folder.write("outside.js", "x");
    const auto inside = folder.write("copy/vorn", "x");
    const auto nested = folder.write("copy/lib/a.js", "x");
    std::filesystem::create_symlink(outside, folder / "copy/link.js");
    constexpr const char* kMark = "user.vorn-test-mark";
    for (const auto& path : {outside, inside, nested, folder / "copy/lib"}) {
        if (::setxattr(path.c_str(), kMark, "1", 1, 0) != 0) {
            GTEST_SKIP() << "this filesystem keeps no user attributes";
        }
    }
    EXPECT_EQ(BundledVorn::stripAttribute(folder / "copy", kMark), 3);
    EXPECT_FALSE(hasAttribute(inside, kMark));
    EXPECT_FALSE(hasAttribute(nested, kMark));
    EXPECT_FALSE(hasAttribute(folder / "copy/lib", kMark));
    EXPECT_TRUE(hasAttribute(outside, kMark));
    EXPECT_EQ(BundledVorn::stripAttribute(folder / "copy", kMark), 0);
    EXPECT_EQ(BundledVorn::stripAttribute(folder / "gone", kMark), 0);

    // Linux has no attribute of the quarantine's name, so nothing counts.
    EXPECT_EQ(BundledVorn::stripQuarantine(folder / "copy"), 0);
    const BundledVorn missing(std::nullopt, folder / "not-installed");
    EXPECT_EQ(missing.repairQuarantine(), 0);
}

TEST(BundledVornArchitecture, AnotherBuildsPayloadIsNamed) {
    TempDir resources;
    EXPECT_EQ(BundledVorn::wrongArchitecture(resources.path(), "arm64"), std::nullopt);
    writeScript(resources / "x86_64/vorn", "#!/bin/sh\n");
    writeScript(resources / "riscv64/vorn", "#!/bin/sh\n");
    resources.write("aaa/VERSION", "no executable here");
    EXPECT_EQ(BundledVorn::wrongArchitecture(resources.path(), "arm64"), "riscv64");
    EXPECT_EQ(BundledVorn::wrongArchitecture(resources.path(), "x86_64"), std::nullopt);
    EXPECT_EQ(BundledVorn::wrongArchitectureMessage("x86_64", "arm64"),
              "This copy of Vorn was built for Intel; this Mac needs the Apple Silicon build. "
              "Download the installer again.");
}

TEST(BundledVornStatus, SummaryOfEachOutcome) {
    using Status = BundledVorn::Status;
    EXPECT_EQ(Status::outcome(BundledVorn::UpToDate{"1.4.0"}).summary(),
              "built-in vorn v1.4.0 installed");
    EXPECT_EQ(Status::outcome(BundledVorn::Installed{"1.3.0", "1.2.0"}).summary(),
              "built-in vorn v1.3.0 installed");
    EXPECT_EQ(Status::outcome(BundledVorn::NotBundled{}).summary(), "this build carries no vorn");
    EXPECT_EQ((Status{Status::Failed{"disk full"}}).summary(), "install failed: disk full");
}

}  // namespace
}  // namespace vorn
