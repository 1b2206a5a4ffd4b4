// The service managers' answers: whatever they print, reading it ends, the
// same way every time, and gives only sensible values.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "support/LaunchctlPrint.h"
#include "support/TimeSpan.h"
#include "support/UnitProperties.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);

    if (vorn::LaunchctlPrint::lastExitCode(text) != vorn::LaunchctlPrint::lastExitCode(text)) {
        std::abort();
    }

    const auto blocks = vorn::UnitProperties::parse(text);
    std::size_t entries = 0;
    for (const auto& block : blocks) {
        if (block.entries.empty()) std::abort();
        for (const auto& [key, value] : block.entries) {
            if (key.find('\n') != std::string::npos || value.find('\n') != std::string::npos) {
                std::abort();
            }
        }
        entries += block.entries.size();
    }
    if (entries > size) std::abort();

    const auto seconds = vorn::TimeSpan::seconds(text);
    if (seconds && *seconds < 0) std::abort();
    // A part of no length adds nothing.
    if (seconds && vorn::TimeSpan::seconds(std::string(text) + " 0s") != seconds) std::abort();
    return 0;
}
