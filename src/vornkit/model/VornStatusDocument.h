#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

#include "model/PassengerStatus.h"
#include "model/ShipAttentionItem.h"
#include "model/ShipNameStatus.h"
#include "model/VornConfig.h"

namespace vorn {

// The scheduler's own answer to `vorn status --json`: its resolved
// configuration, mapped onto `VornConfig`, and what only it knows of its
// standing with the workspace service. It knows defaults and overlays that
// vorn.yaml doesn't show, so where it answers it is preferred to the file.
struct VornStatusDocument {
    std::int64_t version = 1;  // the one format this application reads
    VornConfig config;
    std::optional<PassengerStatus> passenger;
    std::vector<ShipAttentionItem> shipAttention;
    std::optional<ShipNameStatus> shipName;

    // Nothing unless `json` is one JSON object whose `version` is the
    // integer 1 and whose `ship` is an object; the reason isn't told, since
    // every one of them reads to the caller as a format it can't read. Past
    // that, a member of the wrong type counts as absent and an entry that
    // doesn't qualify is dropped. `fallbackConfigFile` stands in for a
    // missing `configFile`. Paths are taken as written, with no expansion.
    static std::optional<VornStatusDocument> decode(
        std::string_view json, const std::filesystem::path& fallbackConfigFile);

    bool operator==(const VornStatusDocument&) const = default;
};

}  // namespace vorn
