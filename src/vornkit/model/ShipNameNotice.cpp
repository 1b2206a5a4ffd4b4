#include "model/ShipNameNotice.h"

namespace vorn {

std::string ShipNameNotice::text(std::string_view newName,
                                 const std::optional<std::string>& replacedLocal) {
    std::string notice =
        "This ship is now called " + std::string(newName) + " \u2014 renamed in the Ships table.";
    if (replacedLocal) {
        notice += " Your local change to \u201c" + *replacedLocal + "\u201d was replaced.";
    }
    return notice;
}

}  // namespace vorn
