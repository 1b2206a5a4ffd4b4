#pragma once

#include <filesystem>
#include <string>

#include "support/Expected.h"

namespace vorn {

// A folder filled beside the one it will replace, then swapped in with one
// rename, so the folder in place is always either the whole old copy or the
// whole new one. Whatever is left of it goes when the object goes, on every
// path.
class StagingFolder {
  public:
    static constexpr std::string_view namePrefix = ".vorn-staging-";

    // Creates the target's parent, with the folders above it, and an empty
    // `.vorn-staging-{UUID}` in it. A failure carries the system's words.
    static Expected<StagingFolder, std::string> beside(const std::filesystem::path& target);

    StagingFolder(StagingFolder&& other) noexcept;
    StagingFolder& operator=(StagingFolder&&) = delete;
    StagingFolder(const StagingFolder&) = delete;
    StagingFolder& operator=(const StagingFolder&) = delete;
    ~StagingFolder();

    const std::filesystem::path& path() const { return staging; }

    // Puts the staged folder in the target's place. An existing target is
    // exchanged with it in one step and then removed; the removal failing
    // leaves the new copy in place, so it doesn't fail the swap.
    Expected<void, std::string> swapIn();

  private:
    StagingFolder(std::filesystem::path staging, std::filesystem::path target);
    Expected<void, std::string> exchange();

    std::filesystem::path staging;
    std::filesystem::path target;
};

}  // namespace vorn
