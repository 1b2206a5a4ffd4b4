#include "common/Git.h"

#include <gtest/gtest.h>

#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>

namespace vorn::testing {

namespace {

constexpr int kGitTimeoutMilliseconds = 30'000;

QProcessEnvironment isolatedEnvironment() {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("GIT_CONFIG_NOSYSTEM", "1");
    environment.insert("GIT_CONFIG_GLOBAL", "/dev/null");
    environment.insert("GIT_AUTHOR_NAME", "Vorn Test");
    environment.insert("GIT_AUTHOR_EMAIL", "test@vorn.invalid");
    environment.insert("GIT_COMMITTER_NAME", "Vorn Test");
    environment.insert("GIT_COMMITTER_EMAIL", "test@vorn.invalid");
    return environment;
}

}  // namespace

void runGit(const std::filesystem::path& workingFolder, const std::vector<std::string>& arguments) {
    QStringList list;
    for (const std::string& argument : arguments)
        list << QString::fromStdString(argument);
    QProcess git;
    git.setProcessEnvironment(isolatedEnvironment());
    git.setWorkingDirectory(QString::fromStdString(workingFolder.string()));
    git.setStandardInputFile(QProcess::nullDevice());
    git.start("git", list);
    const bool finished = git.waitForFinished(kGitTimeoutMilliseconds);
    if (!finished) {
        git.kill();
        git.waitForFinished(kGitTimeoutMilliseconds);
    }
    ASSERT_TRUE(finished) << "git timed out or did not start: " << list.join(' ').toStdString();
    ASSERT_EQ(git.exitStatus(), QProcess::NormalExit);
    ASSERT_EQ(git.exitCode(), 0) << list.join(' ').toStdString() << "\n"
                                 << git.readAllStandardError().toStdString();
}

void makeRepository(const std::filesystem::path& folder) {
    std::filesystem::create_directories(folder);
    runGit(folder, {"init", "--quiet", "--initial-branch=main"});
    runGit(folder, {"commit", "--quiet", "--allow-empty", "--message=start"});
}

void addWorktree(const std::filesystem::path& repository, const std::filesystem::path& worktree) {
    runGit(repository,
           {"worktree", "add", "--quiet", "-b", worktree.filename().string(), worktree.string()});
}

}  // namespace vorn::testing
