#include "common/FolderContents.h"

#include <charconv>

#include "support/TextFile.h"

namespace vorn::testing {

namespace {

std::string octalMode(std::filesystem::perms mode) {
    char digits[8];
    const auto end = std::to_chars(digits, digits + sizeof digits, static_cast<unsigned>(mode), 8);
    return std::string(digits, end.ptr);
}

}  // namespace

std::map<std::string, std::string> folderContents(const std::filesystem::path& folder) {
    std::map<std::string, std::string> contents;
    std::error_code error;
    for (auto entry = std::filesystem::recursive_directory_iterator(folder, error);
         !error && entry != std::filesystem::recursive_directory_iterator();
         entry.increment(error)) {
        const std::string name = entry->path().lexically_relative(folder).string();
        if (entry->is_symlink()) {
            contents[name] = "-> " + std::filesystem::read_symlink(entry->path()).string();
        } else if (entry->is_regular_file()) {
            contents[name] = octalMode(entry->status().permissions()) + " " +
                             TextFile::readBytes(entry->path()).value_or("(unreadable)");
        }
    }
    return contents;
}

std::vector<std::string> namesStartingWith(const std::filesystem::path& folder,
                                           std::string_view prefix) {
    std::vector<std::string> names;
    std::error_code error;
    for (auto entry = std::filesystem::directory_iterator(folder, error);
         !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        std::string name = entry->path().filename().string();
        if (name.starts_with(prefix)) names.push_back(std::move(name));
    }
    return names;
}

}  // namespace vorn::testing
