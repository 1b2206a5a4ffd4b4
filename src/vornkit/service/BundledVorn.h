#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "support/Expected.h"

namespace vorn {

// The scheduler this application carries among its resources, and the copy
// of it unpacked into the person's home, kept current at each start.
class BundledVorn {
  public:
    // The word the payload folder and release assets go by for this build.
#if defined(__aarch64__)
    static constexpr std::string_view buildArchitecture = "arm64";
#elif defined(__x86_64__)
    static constexpr std::string_view buildArchitecture = "x86_64";
#else
#error "No scheduler payload is named for this processor."
#endif
    static constexpr std::string_view quarantineAttribute = "com.apple.quarantine";

    struct UpToDate {
        std::string version;
        bool operator==(const UpToDate&) const = default;
    };
    struct Installed {
        std::string version;
        // The version that was there before, if any could be read.
        std::optional<std::string> replaced;
        bool operator==(const Installed&) const = default;
    };
    struct NotBundled {
        bool operator==(const NotBundled&) const = default;
    };
    using Outcome = std::variant<UpToDate, Installed, NotBundled>;

    // What the screens show of the last check.
    struct Status {
        struct Ready {
            std::string version;
            bool operator==(const Ready&) const = default;
        };
        struct Failed {
            std::string message;
            bool operator==(const Failed&) const = default;
        };
        std::variant<Ready, Failed, NotBundled> state;

        bool operator==(const Status&) const = default;
        static Status outcome(const Outcome& outcome);
        std::string summary() const;
    };

    // A file operation that failed; the old install is still in place.
    struct InstallError {
        std::string message;
        bool operator==(const InstallError&) const = default;
        const std::string& description() const { return message; }
    };

    BundledVorn(std::optional<std::filesystem::path> source,
                std::filesystem::path installDirectory);
    // This application's payload for this build, installed under `home`.
    static BundledVorn forThisApplication(const std::filesystem::path& home);

    const std::optional<std::filesystem::path>& source() const {
        return payload;
    }
    const std::filesystem::path& installDirectory() const {
        return target;
    }
    std::filesystem::path installedExecutable() const {
        return target / "vorn";
    }

    // `../share/vorn` beside the folder of the running executable.
    static std::optional<std::filesystem::path> applicationResources();
    // `{resources}/{architecture}` when the file `vorn` is in it.
    static std::optional<std::filesystem::path> bundledDirectory(
        const std::filesystem::path& resources, std::string_view architecture);
    // Library/Application Support/Vorn/vorn under the home folder.
    static std::filesystem::path defaultInstallDirectory(const std::filesystem::path& home);

    // The trimmed text of `VERSION` in `folder`; nothing when it can't be
    // read or is blank.
    static std::optional<std::string> version(const std::filesystem::path& folder);
    std::optional<std::string> bundledVersion() const;
    std::optional<std::string> installedVersion() const;

    bool needsInstall() const;
    // A newer copy in place, such as one an update fetched, is left alone;
    // versions that don't parse are compared as text.
    static bool needsInstall(const std::optional<std::string>& bundled,
                             const std::optional<std::string>& installed, bool binaryPresent);

    // Copies the payload beside the install folder and swaps it in, so the
    // old install stays whole until the new one is complete.
    Expected<Outcome, InstallError> installIfNeeded() const;
    // Strips quarantine from the install folder in place; 0 when there is
    // none.
    int repairQuarantine() const;
    static int stripQuarantine(const std::filesystem::path& folder);
    // Removes `attribute` from every item under `folder` without following
    // symbolic links; the count of items it was removed from. On a system
    // whose attributes can't have that name the count is 0.
    static int stripAttribute(const std::filesystem::path& folder, const std::string& attribute);

    // The architecture of the payload this build carries when there is none
    // for `architecture`: the first in name order.
    static std::optional<std::string> wrongArchitecture(const std::filesystem::path& resources,
                                                        std::string_view architecture);
    static std::string marketingName(std::string_view architecture);

    static std::string wrongArchitectureMessage(std::string_view carried, std::string_view needed);
    static std::string notBundledMessage();
    static std::string installFailedMessage(std::string_view message);

  private:
    std::optional<std::filesystem::path> payload;
    std::filesystem::path target;
};

}  // namespace vorn
