#pragma once

#include <ostream>
#include <string_view>

#include "service/ShellResult.h"

namespace vorn {

// Readable failures: GoogleTest finds this by argument-dependent lookup.
// Long streams are cut, as a stress case may carry megabytes.
inline void PrintTo(const ShellResult& result, std::ostream* stream) {
    const auto shown = [](std::string_view text) { return text.substr(0, 200); };
    *stream << "{status " << result.status << ", stdout \"" << shown(result.stdout) << "\" ("
            << result.stdout.size() << " bytes), stderr \"" << shown(result.stderr) << "\" ("
            << result.stderr.size() << " bytes)}";
}

}  // namespace vorn
