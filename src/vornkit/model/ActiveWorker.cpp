#include "model/ActiveWorker.h"

namespace vorn {

std::string ActiveWorker::id() const {
    std::string text = route;
    text += '/';
    text += rawValue(role);
    return text;
}

std::string ActiveWorker::primaryLabel() const {
    if (seatName) return *seatName;
    return std::string(label(role));
}

}  // namespace vorn
