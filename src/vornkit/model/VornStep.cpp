#include "model/VornStep.h"

namespace vorn {

bool isWorking(VornStep step) {
    return step >= VornStep::worktree && step < VornStep::idle;
}

}  // namespace vorn
