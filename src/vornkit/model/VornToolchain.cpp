#include "model/VornToolchain.h"

#include <vector>

#include "support/Text.h"

namespace vorn {

std::string VornToolchain::summary() const {
    std::vector<std::string> pieces{name};
    if (harness && *harness != name) pieces.push_back(*harness);
    if (launcher) pieces.push_back("via " + *launcher);
    if (model) pieces.push_back(*model);
    return Text::joined(pieces, " \u00B7 ");
}

}  // namespace vorn
