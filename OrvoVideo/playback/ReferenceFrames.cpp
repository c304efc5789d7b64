#include "OrvoVideo/playback/ReferenceFrames.h"

#include <algorithm>
#include <array>
#include <optional>

namespace orvo {

namespace {

/// Whether other frames depend on this slice; nullopt when the unit is not a slice.
std::optional<bool> refersTo(std::span<const std::uint8_t> unit)
{
    if (unit.empty())
        return std::nullopt;
    const unsigned type = unit[0] & 0x1FU;
    if (type < 1 || type > 5)
        return std::nullopt;
    return (unit[0] >> 5 & 0x3U) != 0;
}

} // namespace

bool isReferenceFrame(std::span<const std::uint8_t> frame, std::size_t lengthBytes)
{
    if (lengthBytes == 0) {
        constexpr std::array<std::uint8_t, 3> startCode{0, 0, 1};
        auto rest = frame;
        while (true) {
            const auto found = std::ranges::search(rest, startCode);
            if (found.empty())
                return true;
            rest = rest.subspan(static_cast<std::size_t>(found.end() - rest.begin()));
            if (const auto answer = refersTo(rest))
                return *answer;
        }
    }
    std::size_t at = 0;
    while (frame.size() - at > lengthBytes) {
        std::size_t length = 0;
        for (std::size_t i = 0; i < lengthBytes; ++i)
            length = length << 8 | frame[at + i];
        at += lengthBytes;
        if (length == 0 || length > frame.size() - at)
            return true;
        if (const auto answer = refersTo(frame.subspan(at, length)))
            return *answer;
        at += length;
    }
    return true;
}

} // namespace orvo
