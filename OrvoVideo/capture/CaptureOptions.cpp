#include "OrvoVideo/capture/CaptureOptions.h"

#include <algorithm>

namespace orvo {

namespace {

int evenPixels(double exact)
{
    const int whole = wholePixels(exact);
    return whole > 1 ? whole & ~1 : 2;
}

} // namespace

FrameSize captureSize(const Rect& area, double scale, std::int64_t height)
{
    const double pixelHeight = std::max(area.height * scale, 1.0);
    const double factor = std::min(static_cast<double>(height) / pixelHeight, 1.0);
    return {.width = evenPixels(factor * area.width * scale), .height = evenPixels(factor * area.height * scale)};
}

} // namespace orvo
