#pragma once

namespace orvo {

/// A position in the global display space: pixels of the whole desktop, from its top left corner, y growing downwards.
struct Point {
    double x = 0;
    double y = 0;

    friend bool operator==(const Point&, const Point&) = default;
};

/// An area of the global display space. On some window systems, monitors left of or above the primary one have negative
/// positions.
struct Rect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    /// Points on the left and the top edge are inside, those on the right and the bottom edge are not.
    bool contains(Point point) const noexcept
    {
        return point.x >= x && point.y >= y && point.x < x + width && point.y < y + height;
    }

    friend bool operator==(const Rect&, const Rect&) = default;
};

/// A scaled length in whole pixels. Tolerates rounding errors, so that they do not cost a pixel.
constexpr int wholePixels(double length) noexcept
{
    return static_cast<int>(length + 1e-3);
}

} // namespace orvo
