#include "model/VornStep.h"

namespace vorn {

bool isWorking(VornStep step) {
    return step >= VornStep::worktree && step < VornStep::idle;
}

std::string_view label(VornStep step) {
    return step == VornStep::unknown ? std::string_view("\u2026") : rawValue(step);
}

}  // namespace vorn
