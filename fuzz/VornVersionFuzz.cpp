// Any text gives a version or nothing; a version written out reads back as
// itself, and ordering agrees with that reading.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "support/VornVersion.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto version = vorn::VornVersion::parse(text);
    if (!version) return 0;
    if (version->major < 0 || version->minor < 0 || version->patch < 0) std::abort();
    const auto again = vorn::VornVersion::parse(version->description());
    if (again != version) std::abort();
    const auto prefixed = vorn::VornVersion::parse("v" + version->description() + "\n");
    if (prefixed != version || *prefixed < *version || *version < *prefixed) std::abort();
    return 0;
}
