#include "support/LaunchctlPrint.h"

#include "support/Text.h"

namespace vorn {

std::optional<std::int64_t> LaunchctlPrint::lastExitCode(std::string_view output) {
    constexpr std::string_view kPrefix = "last exit code = ";
    for (std::string_view line : Text::split(output, '\n')) {
        line = Text::trimBlanksAndTabs(line);
        if (!line.starts_with(kPrefix)) continue;
        if (const auto code =
                Text::decimalInteger(Text::trimWhitespace(line.substr(kPrefix.size())))) {
            return code;
        }
    }
    return std::nullopt;
}

}  // namespace vorn
