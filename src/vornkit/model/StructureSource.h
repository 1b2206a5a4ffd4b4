#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace vorn {

// Where the configuration shown came from: the scheduler's own resolved
// answer, or this application's reading of vorn.yaml and why.
struct StructureSource {
    struct StatusJSON {
        std::int64_t version = 1;
        bool operator==(const StatusJSON&) const = default;
    };
    struct ParsedYAML {
        std::optional<std::string> reason;
        bool operator==(const ParsedYAML&) const = default;
    };
    struct Unknown {
        bool operator==(const Unknown&) const = default;
    };

    std::variant<Unknown, StatusJSON, ParsedYAML> source;

    static constexpr std::string_view noExecutable = "bin/vorn was not found";
    static constexpr std::string_view noStatusCommand = "this vorn has no status --json";
    static constexpr std::string_view unreadableVersion =
        "status --json reported a version this app does not read";

    static StructureSource statusJSON(std::int64_t version) { return {StatusJSON{version}}; }
    static StructureSource parsedYAML(std::optional<std::string> reason) {
        return {ParsedYAML{std::move(reason)}};
    }
    static StructureSource unknown() { return {Unknown{}}; }

    // "vorn status --json (v1)", "parsed vorn.yaml — {reason}" or "unknown".
    std::string description() const;

    bool operator==(const StructureSource&) const = default;
};

}  // namespace vorn
