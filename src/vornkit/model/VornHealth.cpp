#include "model/VornHealth.h"

namespace vorn {

std::string VornHealth::summary() const {
    if (runFailure) return "installed but does not run (" + *runFailure + ")";
    if (!version || !source) return "installed but reports no version";
    const std::string_view sourceName = rawValue(*source);
    std::string text = *version + " (" + std::string(sourceName);
    if (answeredBy && *answeredBy != sourceName) text += ", ran " + *answeredBy;
    return text + ")";
}

}  // namespace vorn
