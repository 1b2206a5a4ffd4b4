// Launch agent property lists are read from a folder anyone may write to;
// whatever lies there must give an answer or nothing, never a crash.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "service/PropertyList.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    if (const auto list = vorn::PropertyList::parse(bytes)) {
        (void)list->stringList("ProgramArguments");
        (void)list->integer("StartInterval");
    }
    return 0;
}
