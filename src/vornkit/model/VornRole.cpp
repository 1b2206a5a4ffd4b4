#include "model/VornRole.h"

namespace vorn {

std::string_view label(VornRole role) {
    switch (role) {
        case VornRole::dev:
            return "Dev";
        case VornRole::design:
            return "Design";
        case VornRole::qa:
            return "QA";
        case VornRole::triage:
            return "Triage";
    }
    return {};
}

}  // namespace vorn
