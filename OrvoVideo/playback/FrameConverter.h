#pragma once

#include "OrvoVideo/playback/MediaReader.h"

#include <QImage>
#include <QSize>

namespace orvo {

/// Converts decoded frames for display: fits them into a canvas, centred on black, in one pass.
///
/// One thread only; the returned images may outlive it and be used on any thread.
class FrameConverter {
public:
    FrameConverter();
    ~FrameConverter();
    FrameConverter(const FrameConverter&) = delete;
    FrameConverter& operator=(const FrameConverter&) = delete;

    /// Treats pixels as square, as exported videos have them. Returns a null image when the frame cannot be read.
    QImage convert(const MediaSample& frame, QSize canvas);

    /// Returns a black canvas.
    QImage black(QSize canvas);

private:
    struct State;

    std::unique_ptr<State> m_state;
};

} // namespace orvo
