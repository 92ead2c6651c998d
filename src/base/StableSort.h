#pragma once
#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

namespace vennic {

/// `elements` sorted; equal ones keep their order. (libstdc++'s stable_sort uses what C++17 deprecated, which
/// clang reports.)
template <class T, class ComesFirst>
std::vector<T> stablySorted(std::vector<T> elements, ComesFirst comesFirst) {
    std::vector<std::size_t> order(elements.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::ranges::sort(order, [&](std::size_t a, std::size_t b) {
        if (comesFirst(elements[a], elements[b]))
            return true;
        return !comesFirst(elements[b], elements[a]) && a < b;
    });
    std::vector<T> sorted;
    sorted.reserve(elements.size());
    for (const std::size_t position : order)
        sorted.push_back(std::move(elements[position]));
    return sorted;
}

} // namespace vennic
