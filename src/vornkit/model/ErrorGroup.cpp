#include "model/ErrorGroup.h"

namespace vorn {

std::string ErrorGroup::id() const {
    std::string text = transient ? "transient|" : "error|";
    text += key;
    return text;
}

}  // namespace vorn
