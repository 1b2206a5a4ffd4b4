// Any output of `vorn projects` gives a list or nothing; the first bytes
// choose the route asked for, so routes that are listed get asked too.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "model/VornProjectChoice.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const size_t split = input.find('\n');
    const std::string_view route = split == std::string_view::npos ? "" : input.substr(0, split);
    const std::string_view output =
        split == std::string_view::npos ? input : input.substr(split + 1);
    const auto choices = vorn::VornProjectChoice::parse(output, route);
    if (choices && output.find('{') == std::string_view::npos) std::abort();
    if (choices) {
        for (const auto& choice : *choices) {
            if (choice.issuePrefix && choice.issuePrefix->size() > output.size()) std::abort();
        }
    }
    return 0;
}
