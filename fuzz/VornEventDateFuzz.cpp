// Dates are read by position only: the separators and anything past the
// milliseconds never change the result, and a result is either the distant
// past or a whole number of milliseconds after it.
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "model/VornEventDecoder.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const vorn::Timestamp date = vorn::VornEventDecoder::date(text);
    if (text.size() >= 19) {
        std::string separated(text);
        for (const std::size_t position : {4, 7, 10, 13, 16})
            separated[position] = separated[position] == '-' ? ':' : '-';
        if (vorn::VornEventDecoder::date(separated) != date) std::abort();
    }
    if (text.size() > 23) {
        if (vorn::VornEventDecoder::date(text.substr(0, 23)) != date) std::abort();
    }
    if (date != vorn::distantPast) {
        const auto sinceEpoch = date.time_since_epoch();
        if (sinceEpoch % std::chrono::milliseconds(1) != vorn::Timestamp::duration::zero()) {
            std::abort();
        }
    }
    return 0;
}
