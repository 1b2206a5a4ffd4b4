#include "support/TextFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "support/Text.h"

namespace vorn {

namespace {

std::string systemText(int error) {
    return std::strerror(error);
}

}  // namespace

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
