#include "support/ExecutableFile.h"

#include <sys/stat.h>
#include <unistd.h>

namespace vorn {

bool ExecutableFile::at(const std::filesystem::path& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0 || S_ISDIR(status.st_mode)) return false;
    return ::access(path.c_str(), X_OK) == 0;
}

}  // namespace vorn
