// Any checksum list gives, for any name, a lower-case digest from one of
// its lines or nothing.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "support/SHA256Sums.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const size_t split = input.find('\n');
    const std::string_view name = split == std::string_view::npos ? "" : input.substr(0, split);
    const std::string_view sums = split == std::string_view::npos ? input : input.substr(split + 1);
    const auto digest = vorn::SHA256Sums::digest(name, sums);
    if (!digest) return 0;
    if (digest->empty() || digest->size() > sums.size()) std::abort();
    for (const char character : *digest) {
        if (character >= 'A' && character <= 'Z') std::abort();
    }
    return 0;
}
