#include "support/TextFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <random>
#include <system_error>

#include "support/Text.h"

namespace vorn {

namespace {

std::string systemText(int error) {
    return std::strerror(error);
}

// A name beside the target that no one else is using; O_EXCL makes sure.
std::filesystem::path stagingName(const std::filesystem::path& target) {
    static thread_local std::mt19937_64 generator{std::random_device{}()};
    char suffix[17];
    std::snprintf(suffix, sizeof suffix, "%016llx", static_cast<unsigned long long>(generator()));
    std::string name = ".";
    name += target.filename().string();
    name += ".staging-";
    name += suffix;
    return target.parent_path() / name;
}

bool writeAll(int descriptor, std::string_view contents) {
    while (!contents.empty()) {
        const ssize_t written = ::write(descriptor, contents.data(), contents.size());
        if (written < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        contents.remove_prefix(static_cast<size_t>(written));
    }
    return true;
}

// The file a link names, so that a configuration kept as a link elsewhere
// stays a link.
std::filesystem::path resolvedTarget(const std::filesystem::path& path) {
    std::error_code error;
    if (!std::filesystem::is_symlink(path, error)) return path;
    const std::filesystem::path resolved = std::filesystem::canonical(path, error);
    return error ? path : resolved;
}

// Makes the rename itself durable. A folder that can't be synced costs
// nothing but that guarantee.
void syncFolder(const std::filesystem::path& folder) {
    const int descriptor =
        ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) return;
    ::fsync(descriptor);
    ::close(descriptor);
}

}  // namespace

Expected<void, std::string> TextFile::writeAtomically(const std::filesystem::path& path,
                                                      std::string_view contents) {
    const std::filesystem::path target = resolvedTarget(path);
    struct stat existing {};
    const bool targetExists = ::stat(target.c_str(), &existing) == 0;

    std::filesystem::path staging;
    int descriptor = -1;
    for (int attempt = 0; attempt < 16 && descriptor < 0; ++attempt) {
        staging = stagingName(target);
        descriptor = ::open(staging.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (descriptor < 0 && errno != EEXIST) break;
    }
    if (descriptor < 0) return Unexpected(systemText(errno));

    const auto failed = [&](int error) -> Expected<void, std::string> {
        if (descriptor >= 0) ::close(descriptor);
        ::unlink(staging.c_str());
        return Unexpected(systemText(error));
    };
    if (targetExists) {
        if (::fchmod(descriptor, existing.st_mode & 07777) != 0) return failed(errno);
        // Only root may give a file away; for anyone else this is a no-op
        // that fails, and the file is theirs anyway.
        if (existing.st_uid != ::geteuid() || existing.st_gid != ::getegid()) {
            [[maybe_unused]] const int ignored =
                ::fchown(descriptor, existing.st_uid, existing.st_gid);
        }
    }
    if (!writeAll(descriptor, contents)) return failed(errno);
    if (::fsync(descriptor) != 0) return failed(errno);
    const int closed = ::close(descriptor);
    descriptor = -1;
    if (closed != 0) return failed(errno);
    if (::rename(staging.c_str(), target.c_str()) != 0) return failed(errno);
    syncFolder(target.parent_path());
    return {};
}

Expected<std::string, std::string> TextFile::readBytes(const std::filesystem::path& path) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) return Unexpected(systemText(errno));
    struct stat status {};
    if (::fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode)) {
        ::close(descriptor);
        return Unexpected(systemText(EISDIR));
    }
    std::string contents;
    if (status.st_size > 0) contents.reserve(static_cast<size_t>(status.st_size));
    char chunk[65536];
    while (true) {
        const ssize_t count = ::read(descriptor, chunk, sizeof chunk);
        if (count == 0) break;
        if (count < 0) {
            if (errno == EINTR) continue;
            const int error = errno;
            ::close(descriptor);
            return Unexpected(systemText(error));
        }
        contents.append(chunk, static_cast<size_t>(count));
    }
    ::close(descriptor);
    return contents;
}

Expected<std::string, std::string> TextFile::read(const std::filesystem::path& path) {
    auto contents = readBytes(path);
    if (!contents) return contents;
    if (!Text::isValidUTF8(*contents)) {
        return Unexpected(std::string("the file is not UTF-8 text"));
    }
    return contents;
}

}  // namespace vorn
