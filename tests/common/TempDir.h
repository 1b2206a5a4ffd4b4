#pragma once

#include <filesystem>
#include <string_view>

namespace vorn::testing {

// A fresh folder under the system's temporary folder, removed with
// everything in it when the object goes.
class TempDir {
  public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& path() const { return root; }
    std::filesystem::path operator/(std::string_view relative) const { return root / relative; }

    // Writes `contents` to `relative`, creating the folders on the way.
    std::filesystem::path write(std::string_view relative, std::string_view contents) const;

  private:
    std::filesystem::path root;
};

}  // namespace vorn::testing
