#include "support/BranchTemplate.h"

#include "support/TemplateScan.h"

namespace vorn {

std::optional<std::string> BranchTemplate::problem(std::string_view text) {
    const auto scan = TemplateScan::names(text, placeholders);
    if (scan) return std::nullopt;
    const std::string valid =
        "Valid placeholders: " + TemplateScan::braced(placeholders, ", ") + ".";
    switch (scan.error().kind) {
        case TemplateScan::Fault::Kind::strayClose:
            return "Stray \u201c}\u201d. " + valid;
        case TemplateScan::Fault::Kind::unknownName:
            return "Unknown placeholder {" + scan.error().name + "}. " + valid;
        case TemplateScan::Fault::Kind::openInsideOpen:
        case TemplateScan::Fault::Kind::openAtEnd:
            break;
    }
    return "Unclosed \u201c{\u201d. " + valid;
}

}  // namespace vorn
