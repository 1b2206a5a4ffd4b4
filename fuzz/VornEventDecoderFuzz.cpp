// Any line either decodes or doesn't, the same way every time, whatever
// blanks surround it; a decoded event keeps its id and only openable links.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "model/VornEventDecoder.h"
#include "support/URLText.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view line(reinterpret_cast<const char*>(data), size);
    const auto event = vorn::VornEventDecoder::decode(line, 41);
    if (event != vorn::VornEventDecoder::decode(line, 41)) std::abort();
    const std::string padded = " \t" + std::string(line) + " \r";
    if (event != vorn::VornEventDecoder::decode(padded, 41)) std::abort();
    if (!event) return 0;
    if (event->id != 41) std::abort();
    if (event->url && !vorn::URLText::isAbsoluteURL(*event->url)) std::abort();
    return 0;
}
