#pragma once

#include <string>

namespace vorn {

// The probe's whole output, written once when it is complete, so a crash or
// a hang prints nothing.
struct ProbeReport {
    enum class Destination { standardOutput, standardError, nothing };

    int status = 0;
    Destination destination = Destination::standardOutput;
    std::string text;

    bool operator==(const ProbeReport&) const = default;
};

}  // namespace vorn
