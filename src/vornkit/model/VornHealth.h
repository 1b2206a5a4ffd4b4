#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "support/RawValue.h"

namespace vorn {

// Whether a scheduler executable runs, and which version it is, each told
// with where it was learnt.
struct VornHealth {
    // Where `version` came from; the raw values are shown to people.
    enum class Source { versionFile, packageJSON, binary };

    std::optional<std::string> version;
    std::optional<Source> source;
    // Why the command doesn't run; absent when it does.
    std::optional<std::string> runFailure;
    // The invocation that proved the executable runs.
    std::optional<std::string> answeredBy;

    bool operator==(const VornHealth&) const = default;

    bool isReady() const { return !runFailure && version; }
    // "1.4.2 (vorn --version)", "1.4.2 (VERSION file, ran vorn --help)",
    // "installed but does not run (exit 2: …)", or
    // "installed but reports no version".
    std::string summary() const;
};

template <>
struct RawValues<VornHealth::Source> {
    static constexpr std::array<std::pair<VornHealth::Source, std::string_view>, 3> table{{
        {VornHealth::Source::versionFile, "VERSION file"},
        {VornHealth::Source::packageJSON, "package.json"},
        {VornHealth::Source::binary, "vorn --version"},
    }};
};

}  // namespace vorn
