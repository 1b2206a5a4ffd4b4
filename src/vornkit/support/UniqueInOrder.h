#pragma once

#include <algorithm>
#include <vector>

namespace vorn {

// Drops repeated elements; the first occurrence keeps its place. Lists here
// are short, so a linear look-back is all it takes.
template <class T>
std::vector<T> uniqueInOrder(std::vector<T> elements) {
    std::vector<T> unique;
    unique.reserve(elements.size());
    for (T& element : elements) {
        if (std::find(unique.begin(), unique.end(), element) == unique.end()) {
            unique.push_back(std::move(element));
        }
    }
    return unique;
}

}  // namespace vorn
