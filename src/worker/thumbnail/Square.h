#pragma once
#include <algorithm>
#include <cmath>

namespace vennic::worker {

struct PixelSize {
    int width = 0;
    int height = 0;
    bool operator==(const PixelSize&) const = default;
};

/// The size of what has these proportions and touches the sides of a square of `edge` pixels from inside. No side is
/// less than one pixel.
inline PixelSize filling(double width, double height, int edge) {
    const double longer = std::max(width, height);
    const auto side = [&](double length) {
        return std::clamp(static_cast<int>(std::lround(edge * (length / longer))), 1, edge);
    };
    return {side(width), side(height)};
}

/// The same of a picture, which is never enlarged.
inline PixelSize fitting(int width, int height, int edge) {
    return std::max(width, height) <= edge ? PixelSize{width, height} : filling(width, height, edge);
}

} // namespace vennic::worker
