#include "service/ShellResult.h"

#include "support/Text.h"

namespace vorn {

std::string ShellResult::output() const {
    const std::string_view out = Text::trimWhitespace(stdout);
    const std::string_view err = Text::trimWhitespace(stderr);
    if (out.empty()) return std::string(err);
    if (err.empty()) return std::string(out);
    std::string joined(out);
    joined += '\n';
    joined += err;
    return joined;
}

}  // namespace vorn
