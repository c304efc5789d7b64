#pragma once

#include "OrvoVideo/capture/screen/CapturedPicture.h"
#include "VideoCore/Geometry.h"

#include <cstdint>
#include <vector>

namespace orvo {

/// Where a picture of `source` pixels lies in one of `target` pixels: as large as it fits, centred, never enlarged. All
/// numbers are even; the last line or column of an odd source is left out rather than the whole scaled.
struct PicturePlace {
    int x = 0;
    int y = 0;
    PictureSize size;

    static PicturePlace fitted(PictureSize source, PictureSize target);

    /// This place in fractions of the target.
    Rect within(PictureSize target) const noexcept;

    friend bool operator==(const PicturePlace&, const PicturePlace&) = default;
};

/// Brings the pixels of a screen into the form and size of a recording.
class PictureFitter {
public:
    /// Pixels of 32 bits: blue, green, red and one more byte.
    struct Source {
        const std::uint8_t* data = nullptr;
        int stride = 0; ///< Bytes from one line to the next.
        PictureSize size;
    };

    /// Draws the source into `target`, with black around it. Returns where.
    PicturePlace draw(const Source& source, PictureMemory& target);

private:
    std::vector<std::uint8_t> m_scaled;
};

} // namespace orvo
