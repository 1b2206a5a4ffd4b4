#include "common/PlistFile.h"

#include <plist/plist.h>

#include <cstdlib>
#include <fstream>

namespace vorn::testing {

void writeLaunchAgentPlist(const std::filesystem::path& file, const std::string& label,
                           const std::vector<std::string>& programArguments,
                           std::optional<std::int64_t> startInterval, bool binary) {
    plist_t root = plist_new_dict();
    plist_dict_set_item(root, "Label", plist_new_string(label.c_str()));
    plist_t arguments = plist_new_array();
    for (const std::string& argument : programArguments) {
        plist_array_append_item(arguments, plist_new_string(argument.c_str()));
    }
    plist_dict_set_item(root, "ProgramArguments", arguments);
    if (startInterval) {
        plist_dict_set_item(root, "StartInterval",
                            plist_new_uint(static_cast<uint64_t>(*startInterval)));
    }
    char* bytes = nullptr;
    uint32_t length = 0;
    if (binary) {
        plist_to_bin(root, &bytes, &length);
    } else {
        plist_to_xml(root, &bytes, &length);
    }
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary).write(bytes, length);
    std::free(bytes);
    plist_free(root);
}

std::filesystem::path makeExecutable(const std::filesystem::path& file) {
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file) << "#!/bin/sh\nexit 0\n";
    std::filesystem::permissions(file, std::filesystem::perms::owner_all |
                                           std::filesystem::perms::group_read |
                                           std::filesystem::perms::others_read);
    return file;
}

}  // namespace vorn::testing
