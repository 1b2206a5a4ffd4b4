#pragma once

#include <map>
#include <string>

namespace vorn {

using Environment = std::map<std::string, std::string>;

struct ProcessEnvironment {
    // A copy of this process's environment.
    static Environment current();
    // The non-empty value of `name`, or an empty string.
    static std::string value(const Environment& environment, const std::string& name);
};

}  // namespace vorn
