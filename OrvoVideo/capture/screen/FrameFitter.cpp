#include "OrvoVideo/capture/screen/FrameFitter.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <libyuv.h>

namespace orvo {

namespace {

constexpr int even(int value)
{
    return value & ~1;
}

constexpr int evenAtLeastTwo(double value)
{
    return std::max(even(static_cast<int>(value)), 2);
}

} // namespace

FramePlace FramePlace::fitted(FrameSize source, FrameSize target)
{
    const double factor = std::min({1.0, static_cast<double>(target.width) / even(source.width),
        static_cast<double>(target.height) / even(source.height)});
    // The recording's size is the source's, rounded down; a difference due to rounding is filled.
    const auto length = [factor](int from, int room) {
        const double exact = factor * from;
        return room - exact < 2 && room <= from ? room : std::min(evenAtLeastTwo(exact), room);
    };
    const FrameSize size{.width = length(source.width, target.width), .height = length(source.height, target.height)};
    return {.x = even((target.width - size.width) / 2), .y = even((target.height - size.height) / 2), .size = size};
}

Rect FramePlace::within(FrameSize target) const noexcept
{
    const double across = target.width;
    const double down = target.height;
    return {.x = x / across, .y = y / down, .width = size.width / across, .height = size.height / down};
}

FramePlace FrameFitter::draw(const Source& source, FrameMemory& target)
{
    const auto place = FramePlace::fitted(source.size, target.size());
    if (place.size != target.size())
        target.blacken();

    const std::uint8_t* pixels = source.data;
    int stride = source.stride;
    const bool sameSize = place.size.width == even(source.size.width) && place.size.height == even(source.size.height);
    if (!sameSize) {
        stride = 4 * place.size.width;
        m_scaled.resize(static_cast<std::size_t>(stride) * static_cast<std::size_t>(place.size.height));
        libyuv::ARGBScale(source.data, source.stride, source.size.width, source.size.height, m_scaled.data(), stride,
            place.size.width, place.size.height, libyuv::kFilterBox);
        pixels = m_scaled.data();
    }
    // libyuv names the bytes from the last one in memory: ARGB begins with blue.
    const auto convert = source.order == Source::Order::blueGreenRed ? &libyuv::ARGBToI420 : &libyuv::ABGRToI420;
    const auto luma = std::ptrdiff_t{place.y} * target.lumaStride() + place.x;
    const auto chroma = std::ptrdiff_t{place.y / 2} * target.chromaStride() + place.x / 2;
    convert(pixels, stride, target.luma() + luma, target.lumaStride(), target.blue() + chroma, target.chromaStride(),
        target.red() + chroma, target.chromaStride(), place.size.width, place.size.height);
    return place;
}

} // namespace orvo
