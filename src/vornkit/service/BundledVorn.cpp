#include "service/BundledVorn.h"

#include <sys/xattr.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <vector>

#include "service/StagingFolder.h"
#include "support/Overloaded.h"
#include "support/Text.h"
#include "support/TextFile.h"
#include "support/VornVersion.h"

namespace vorn {

namespace {

bool isPresent(const std::filesystem::path& path) {
    std::error_code ignored;
    return std::filesystem::exists(path, ignored);
}

BundledVorn::InstallError systemFailure(std::string_view what, const std::filesystem::path& path,
                                        const std::error_code& error) {
    return {"could not " + std::string(what) + " " + path.string() + ": " + error.message()};
}

Expected<void, BundledVorn::InstallError> copyItem(const std::filesystem::directory_entry& item,
                                                   const std::filesystem::path& to) {
    std::error_code error;
    if (item.is_symlink(error)) {
        std::filesystem::copy_symlink(item.path(), to, error);
    } else if (item.is_directory(error)) {
        std::filesystem::create_directory(to, error);
    } else if (item.is_regular_file(error)) {
        std::filesystem::copy_file(item.path(), to, error);
    } else if (!error) {
        error = std::make_error_code(std::errc::not_supported);
    }
    if (error) return Unexpected(systemFailure("copy", item.path(), error));
    return {};
}

// The payload is opaque: folders, files and links are copied as they are,
// and the first one that can't be stops the copy.
Expected<void, BundledVorn::InstallError> copyPayload(const std::filesystem::path& from,
                                                      const std::filesystem::path& to) {
    std::error_code error;
    auto item = std::filesystem::recursive_directory_iterator(from, error);
    for (; !error && item != std::filesystem::recursive_directory_iterator();
         item.increment(error)) {
        auto copied = copyItem(*item, to / item->path().lexically_relative(from));
        if (!copied) return copied;
    }
    if (error) return Unexpected(systemFailure("read", from, error));
    return {};
}

Expected<void, BundledVorn::InstallError> makeExecutable(const std::filesystem::path& file) {
    std::error_code error;
    std::filesystem::permissions(file, static_cast<std::filesystem::perms>(0755),
                                 std::filesystem::perm_options::replace, error);
    if (error) return Unexpected(systemFailure("set the mode of", file, error));
    return {};
}

}  // namespace

BundledVorn::BundledVorn(std::optional<std::filesystem::path> source,
                         std::filesystem::path installDirectory)
    : payload(std::move(source)), target(std::move(installDirectory)) {}

BundledVorn BundledVorn::forThisApplication(const std::filesystem::path& home) {
    const auto resources = applicationResources();
    return BundledVorn(resources ? bundledDirectory(*resources, buildArchitecture) : std::nullopt,
                       defaultInstallDirectory(home));
}

std::optional<std::filesystem::path> BundledVorn::applicationResources() {
    std::error_code error;
    const std::filesystem::path executable = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) return std::nullopt;
    return executable.parent_path().parent_path() / "share" / "vorn";
}

std::optional<std::filesystem::path> BundledVorn::bundledDirectory(
    const std::filesystem::path& resources, std::string_view architecture) {
    std::filesystem::path folder = resources / architecture;
    if (!isPresent(folder / "vorn")) return std::nullopt;
    return folder;
}

std::filesystem::path BundledVorn::defaultInstallDirectory(const std::filesystem::path& home) {
    return home / "Library" / "Application Support" / "Vorn" / "vorn";
}

std::optional<std::string> BundledVorn::version(const std::filesystem::path& folder) {
    const auto text = TextFile::read(folder / "VERSION");
    if (!text) return std::nullopt;
    const std::string_view trimmed = Text::trimWhitespace(*text);
    if (trimmed.empty()) return std::nullopt;
    return std::string(trimmed);
}

std::optional<std::string> BundledVorn::bundledVersion() const {
    return payload ? version(*payload) : std::nullopt;
}

std::optional<std::string> BundledVorn::installedVersion() const {
    return version(target);
}

bool BundledVorn::needsInstall() const {
    return needsInstall(bundledVersion(), installedVersion(), isPresent(installedExecutable()));
}

bool BundledVorn::needsInstall(const std::optional<std::string>& bundled,
                               const std::optional<std::string>& installed, bool binaryPresent) {
    if (!bundled) return false;
    if (!binaryPresent || !installed) return true;
    const auto bundledNumber = VornVersion::parse(*bundled);
    const auto installedNumber = VornVersion::parse(*installed);
    if (bundledNumber && installedNumber) return *installedNumber < *bundledNumber;
    return *bundled != *installed;
}

Expected<BundledVorn::Outcome, BundledVorn::InstallError> BundledVorn::installIfNeeded() const {
    const auto bundled = bundledVersion();
    if (!payload || !bundled) return NotBundled{};
    std::optional<std::string> installed = installedVersion();
    if (!needsInstall(bundled, installed, isPresent(installedExecutable()))) {
        return UpToDate{*installed};
    }
    auto staging = StagingFolder::beside(target);
    if (!staging) return Unexpected(InstallError{staging.error()});
    // The staging folder exists already; the copy fills it.
    if (auto copied = copyPayload(*payload, staging->path()); !copied) {
        return Unexpected(copied.error());
    }
    stripQuarantine(staging->path());
    if (auto mode = makeExecutable(staging->path() / "vorn"); !mode) {
        return Unexpected(mode.error());
    }
    if (auto swapped = staging->swapIn(); !swapped) {
        return Unexpected(InstallError{swapped.error()});
    }
    return Installed{*bundled, std::move(installed)};
}

int BundledVorn::repairQuarantine() const {
    return isPresent(target) ? stripQuarantine(target) : 0;
}

int BundledVorn::stripQuarantine(const std::filesystem::path& folder) {
    return stripAttribute(folder, std::string(quarantineAttribute));
}

int BundledVorn::stripAttribute(const std::filesystem::path& folder, const std::string& attribute) {
    int removed = 0;
    std::error_code error;
    for (auto entry = std::filesystem::recursive_directory_iterator(
             folder, std::filesystem::directory_options::skip_permission_denied, error);
         !error && entry != std::filesystem::recursive_directory_iterator();
         entry.increment(error)) {
        if (::lremovexattr(entry->path().c_str(), attribute.c_str()) == 0) ++removed;
    }
    return removed;
}

std::optional<std::string> BundledVorn::wrongArchitecture(const std::filesystem::path& resources,
                                                          std::string_view architecture) {
    if (bundledDirectory(resources, architecture)) return std::nullopt;
    std::vector<std::string> carried;
    std::error_code error;
    for (auto entry = std::filesystem::directory_iterator(resources, error);
         !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        if (isPresent(entry->path() / "vorn")) carried.push_back(entry->path().filename().string());
    }
    if (carried.empty()) return std::nullopt;
    return *std::min_element(carried.begin(), carried.end());
}

std::string BundledVorn::marketingName(std::string_view architecture) {
    return architecture == "arm64" ? "Apple Silicon" : "Intel";
}

std::string BundledVorn::wrongArchitectureMessage(std::string_view carried,
                                                  std::string_view needed) {
    return "This copy of Vorn was built for " + marketingName(carried) + "; this Mac needs the " +
           marketingName(needed) + " build. Download the installer again.";
}

std::string BundledVorn::notBundledMessage() {
    return "This build of the app carries no vorn, and none was found on this Mac. Set its "
           "location in Settings.";
}

std::string BundledVorn::installFailedMessage(std::string_view message) {
    return "Vorn could not be installed from this app: " + std::string(message);
}

BundledVorn::Status BundledVorn::Status::outcome(const Outcome& outcome) {
    return std::visit(
        Overloaded{
            [](const UpToDate& upToDate) { return Status{Ready{upToDate.version}}; },
            [](const Installed& installed) { return Status{Ready{installed.version}}; },
            [](const NotBundled&) { return Status{NotBundled{}}; },
        },
        outcome);
}

std::string BundledVorn::Status::summary() const {
    return std::visit(
        Overloaded{
            [](const Ready& ready) { return "built-in vorn v" + ready.version + " installed"; },
            [](const Failed& failed) { return "install failed: " + failed.message; },
            [](const NotBundled&) { return std::string("this build carries no vorn"); },
        },
        state);
}

}  // namespace vorn
