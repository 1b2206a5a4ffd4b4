#pragma once

namespace vorn {

// One visitor from several lambdas, one per case of a variant:
//     std::visit(Overloaded{[](const A&) {...}, [](const B&) {...}}, value);
template <class... Cases>
struct Overloaded : Cases... {
    using Cases::operator()...;
};

}  // namespace vorn
