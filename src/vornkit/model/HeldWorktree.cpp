#include "model/HeldWorktree.h"

#include <string_view>

namespace vorn {

std::string HeldWorktree::directoryName() const {
    std::string_view folder = path;
    while (folder.size() > 1 && folder.back() == '/')
        folder.remove_suffix(1);
    if (folder == "/") return "/";
    const size_t slash = folder.rfind('/');
    return std::string(slash == std::string_view::npos ? folder : folder.substr(slash + 1));
}

}  // namespace vorn
