#include "support/ProcessEnvironment.h"

#include <unistd.h>

#include <string_view>

namespace vorn {

Environment ProcessEnvironment::current() {
    Environment environment;
    for (char** entry = ::environ; entry != nullptr && *entry != nullptr; ++entry) {
        const std::string_view text(*entry);
        const size_t equals = text.find('=');
        if (equals == std::string_view::npos) continue;
        environment.emplace(std::string(text.substr(0, equals)),
                            std::string(text.substr(equals + 1)));
    }
    return environment;
}

std::string ProcessEnvironment::value(const Environment& environment, const std::string& name) {
    const auto found = environment.find(name);
    return found == environment.end() ? std::string() : found->second;
}

}  // namespace vorn
