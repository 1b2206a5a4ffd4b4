#include "model/LaunchAgentFailure.h"

namespace vorn {

std::string LaunchAgentFailure::description() const {
    if (const auto* failed = std::get_if<Failed>(&storage)) return failed->message;
    return "No launchd plist is installed for this vorn.";
}

}  // namespace vorn
