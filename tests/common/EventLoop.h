#pragma once

#include <chrono>
#include <functional>

namespace vorn::testing {

// Turns this thread's event loop, waiting between events rather than
// spinning, until `condition` holds or `limit` has passed; whether it holds.
bool turnUntil(const std::function<bool()>& condition,
               std::chrono::milliseconds limit = std::chrono::seconds(20));

// Turns this thread's event loop for `span`.
void turnFor(std::chrono::milliseconds span);

}  // namespace vorn::testing
