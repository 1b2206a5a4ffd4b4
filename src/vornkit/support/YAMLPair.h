#pragma once

#include <string>

#include "support/YAMLNode.h"

namespace vorn {

struct YAMLPair {
    std::string key;
    YAMLNode value;

    bool operator==(const YAMLPair& other) const {
        return key == other.key && value == other.value;
    }
};

}  // namespace vorn
