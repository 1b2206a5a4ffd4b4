#include "model/VornEvent.h"

#include <charconv>

namespace vorn {

std::optional<std::int64_t> VornEvent::ticketNumber() const {
    if (!ticket) return std::nullopt;
    return ticketNumber(*ticket);
}

std::optional<std::int64_t> VornEvent::ticketNumber(std::string_view ticket) {
    const size_t dash = ticket.rfind('-');
    if (dash == std::string_view::npos) return std::nullopt;
    std::string_view digits = ticket.substr(dash + 1);
    // from_chars takes a "-" but not a "+"; the "-" can't occur here anyway,
    // since it would have been the last dash.
    if (!digits.empty() && digits.front() == '+') digits.remove_prefix(1);
    if (digits.empty() || digits.front() == '+' || digits.front() == '-') return std::nullopt;
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
    return number;
}

}  // namespace vorn
