#include "service/StagingFolder.h"

#include <fcntl.h>
#include <stdio.h>

#include <QUuid>
#include <cerrno>
#include <cstring>
#include <system_error>

namespace vorn {

namespace {

std::string failure(std::string_view what, const std::filesystem::path& path, int error) {
    return "could not " + std::string(what) + " " + path.string() + ": " + std::strerror(error);
}

// Anything at the path, a dangling link too.
bool isPresent(const std::filesystem::path& path) {
    std::error_code ignored;
    return std::filesystem::exists(std::filesystem::symlink_status(path, ignored));
}

}  // namespace

StagingFolder::StagingFolder(std::filesystem::path staging, std::filesystem::path target)
    : staging(std::move(staging)), target(std::move(target)) {}

StagingFolder::StagingFolder(StagingFolder&& other) noexcept
    : staging(std::move(other.staging)), target(std::move(other.target)) {
    other.staging.clear();
}

StagingFolder::~StagingFolder() {
    if (staging.empty()) return;
    std::error_code ignored;
    std::filesystem::remove_all(staging, ignored);
}

Expected<StagingFolder, std::string> StagingFolder::beside(const std::filesystem::path& target) {
    const std::filesystem::path parent = target.parent_path();
    std::error_code error;
    std::filesystem::create_directories(parent, error);
    if (error) return Unexpected(failure("create", parent, error.value()));
    const std::string unique = QUuid::createUuid().toString(QUuid::WithoutBraces).toStdString();
    std::filesystem::path staging = parent / (std::string(namePrefix) + unique);
    std::filesystem::create_directory(staging, error);
    if (error) return Unexpected(failure("create", staging, error.value()));
    return StagingFolder(std::move(staging), target);
}

Expected<void, std::string> StagingFolder::swapIn() {
    if (isPresent(target)) return exchange();
    if (::rename(staging.c_str(), target.c_str()) != 0) {
        return Unexpected(failure("move the new copy to", target, errno));
    }
    staging.clear();
    return {};
}

Expected<void, std::string> StagingFolder::exchange() {
    if (::renameat2(AT_FDCWD, staging.c_str(), AT_FDCWD, target.c_str(), RENAME_EXCHANGE) != 0) {
        return Unexpected(failure("swap the new copy in at", target, errno));
    }
    // The staging name now holds the old copy, which the destructor removes.
    return {};
}

}  // namespace vorn
