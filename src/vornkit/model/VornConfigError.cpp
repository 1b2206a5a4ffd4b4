#include "model/VornConfigError.h"

namespace vorn {

std::string VornConfigError::description() const {
    if (const auto* malformed = std::get_if<Malformed>(&storage)) {
        return "vorn.yaml could not be read \u2014 " + malformed->reason;
    }
    std::string text = "no vorn.yaml found. Looked in:\n";
    const auto& searched = std::get<NotFound>(storage).searched;
    for (size_t index = 0; index < searched.size(); ++index) {
        if (index > 0) text += "\n";
        text += "  " + searched[index].string();
    }
    return text;
}

}  // namespace vorn
