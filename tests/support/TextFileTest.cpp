#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <random>
#include <thread>

#include "common/TempDir.h"
#include "support/TextFile.h"

namespace vorn {
namespace {

using testing::TempDir;

std::filesystem::perms permissionsOf(const std::filesystem::path& path) {
    return std::filesystem::status(path).permissions();
}

size_t entriesIn(const std::filesystem::path& folder) {
    size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder))
        ++count;
    return count;
}

TEST(TextFileWriteAtomically, ReplacesTheContentsAndKeepsThePermissionBits) {
    TempDir temp;
    const auto file = temp.write("vorn.yaml", "old\n");
    std::filesystem::permissions(file, std::filesystem::perms(0640));

    ASSERT_TRUE(TextFile::writeAtomically(file, "new\n"));
    EXPECT_EQ(TextFile::read(file).value(), "new\n");
    EXPECT_EQ(permissionsOf(file), std::filesystem::perms(0640));
    EXPECT_EQ(entriesIn(temp.path()), 1u) << "the staging file was left behind";

    ASSERT_TRUE(TextFile::writeAtomically(temp / "fresh.yaml", ""));
    EXPECT_EQ(TextFile::readBytes(temp / "fresh.yaml").value(), "");
}

TEST(TextFileWriteAtomically, ALinkStaysALinkAndItsFileIsReplaced) {
    TempDir temp;
    const auto real = temp.write("dotfiles/vorn.yaml", "old\n");
    std::filesystem::create_symlink(real, temp / "vorn.yaml");

    ASSERT_TRUE(TextFile::writeAtomically(temp / "vorn.yaml", "new\n"));
    EXPECT_TRUE(std::filesystem::is_symlink(temp / "vorn.yaml"));
    EXPECT_EQ(TextFile::read(real).value(), "new\n");
    EXPECT_EQ(entriesIn(temp / "dotfiles"), 1u);
}

TEST(TextFileWriteAtomically, AFailureLeavesNothingBehind) {
    TempDir temp;
    std::filesystem::create_directories(temp / "taken/inside");
    const auto written = TextFile::writeAtomically(temp / "taken", "x");
    ASSERT_FALSE(written);
    EXPECT_EQ(written.error(), "Is a directory");
    EXPECT_TRUE(std::filesystem::is_directory(temp / "taken/inside"));
    EXPECT_EQ(entriesIn(temp.path()), 1u);

    const auto missing = TextFile::writeAtomically(temp / "no/such/vorn.yaml", "x");
    ASSERT_FALSE(missing);
    EXPECT_EQ(missing.error(), "No such file or directory");
}

// A writer killed at any moment leaves either the old file whole or the new
// one whole, never a short or empty one. The child rewrites the file in a
// loop, alternating two large versions, until it is killed.
TEST(TextFileWriteAtomically, AKilledWriterNeverLeavesAPartialFile) {
    TempDir temp;
    const std::string first(4 * 1024 * 1024, 'a');
    const std::string second(3 * 1024 * 1024, 'b');
    const auto file = temp.write("vorn.yaml", first);

    std::mt19937 random(20240531);
    std::uniform_int_distribution<int> delayMicroseconds(2000, 60000);
    for (int round = 0; round < 40; ++round) {
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            for (unsigned count = 0;; ++count) {
                if (!TextFile::writeAtomically(file, count % 2 == 0 ? second : first)) ::_exit(3);
            }
        }
        std::this_thread::sleep_for(std::chrono::microseconds(delayMicroseconds(random)));
        ::kill(child, SIGKILL);
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status)) << "the writer stopped by itself in round " << round;

        const auto contents = TextFile::readBytes(file);
        ASSERT_TRUE(contents);
        ASSERT_TRUE(*contents == first || *contents == second)
            << "round " << round << ": " << contents->size() << " bytes";
    }
}

}  // namespace
}  // namespace vorn
