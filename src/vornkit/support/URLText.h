#pragma once

#include <string_view>

namespace vorn {

// Checks on text that is meant to be a link a person can open.
struct URLText {
    // An absolute URI: a scheme ("https", "mailto", ...), a ":", and at least
    // one more character, all of them characters a URI may hold as they
    // stand, with "%" only as the start of a two-digit hex escape. Blanks,
    // control characters, quotes, angle brackets and non-ASCII bytes fail.
    static bool isAbsoluteURL(std::string_view text);
};

}  // namespace vorn
