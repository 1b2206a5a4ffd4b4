#pragma once

namespace vorn {

// The passenger hook's standing, as the scheduler reports it.
struct PassengerStatus {
    bool connected = false;
    bool active = false;

    bool operator==(const PassengerStatus&) const = default;
};

}  // namespace vorn
