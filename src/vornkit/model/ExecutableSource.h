#pragma once

#include <array>
#include <string_view>
#include <utility>

#include "support/RawValue.h"

namespace vorn {

// How the scheduler's executable was found. The raw values are the labels
// shown on screen and in the probe.
enum class ExecutableSource { userSet, timer, path, npm, bundled };

template <>
struct RawValues<ExecutableSource> {
    static constexpr std::array<std::pair<ExecutableSource, std::string_view>, 5> table{{
        {ExecutableSource::userSet, "set by you"},
        {ExecutableSource::timer, "from the installed timer"},
        {ExecutableSource::path, "from PATH"},
        {ExecutableSource::npm, "from npm's global prefix"},
        {ExecutableSource::bundled, "built into this app"},
    }};
};

}  // namespace vorn
