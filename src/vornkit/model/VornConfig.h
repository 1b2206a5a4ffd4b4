#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "model/VornConfigError.h"
#include "model/VornRole.h"
#include "model/VornRoute.h"
#include "model/VornSeatIdentity.h"
#include "model/VornShip.h"
#include "support/Expected.h"

namespace vorn {

// vorn.yaml as the application reads it. `vorn status --json` maps into the
// same record, which is why it holds a few fields the YAML never fills.
struct VornConfig {
    VornShip ship;
    std::vector<VornRoute> routes;
    std::filesystem::path configFile;
    std::optional<std::filesystem::path> eventFileOverride;
    std::vector<VornSeatIdentity> seats;

    // Reads and parses the file. Paths are expanded against the file's folder
    // and `home`. Fails only with `malformed`.
    static Expected<VornConfig, VornConfigError> load(const std::filesystem::path& file,
                                                      const std::filesystem::path& home);
    static Expected<VornConfig, VornConfigError> load(const std::filesystem::path& file);
    // The same, from text already read; `file` names where it came from.
    static Expected<VornConfig, VornConfigError> parse(std::string_view text,
                                                       const std::filesystem::path& file,
                                                       const std::filesystem::path& home);

    std::filesystem::path eventFile() const;
    std::filesystem::path streamsDir() const;
    std::vector<VornRepo> allRepos() const;
    std::optional<VornSeatIdentity> seat(VornRole role) const;
    // The first route of exactly that name; with no name, the first route.
    // nullptr when there is none.
    const VornRoute* route(const std::optional<std::string>& name) const;
    // resolved/{route name}.json in `stateDir`, or in the ship's state folder.
    // A name with a "/" lands one folder deeper, as the scheduler writes it.
    std::filesystem::path resolvedFile(
        const VornRoute& route,
        const std::optional<std::filesystem::path>& stateDir = std::nullopt) const;
    // The route setup talks about: the first one already resolved, else the
    // first enabled one, else the first.
    const VornRoute* setupRoute() const;
    bool setupRouteIsResolved() const;

    bool operator==(const VornConfig&) const = default;
};

}  // namespace vorn
