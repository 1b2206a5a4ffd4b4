#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "support/Expected.h"

namespace vorn {

// Walks a name template's "{placeholder}" braces. Both template checks share
// the walk and differ only in how they word what went wrong.
struct TemplateScan {
    struct Fault {
        enum class Kind {
            openInsideOpen,  // a "{" while one is open
            strayClose,      // a "}" while none is open
            unknownName,     // a closed placeholder that isn't in the list
            openAtEnd,       // a "{" that is never closed
        };
        Kind kind;
        std::string name;  // the text between the braces, for unknownName

        bool operator==(const Fault&) const = default;
    };

    // The names of the closed placeholders in order, or the first fault.
    static Expected<std::vector<std::string>, Fault> names(
        std::string_view text, std::span<const std::string_view> placeholders);

    // Each placeholder in braces, joined with `separator`: "{a}, {b}".
    static std::string braced(std::span<const std::string_view> placeholders,
                              std::string_view separator);
};

}  // namespace vorn
