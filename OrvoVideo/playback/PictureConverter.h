#pragma once

#include "OrvoVideo/playback/MediaReader.h"

#include <QImage>
#include <QSize>

namespace orvo {

/// Makes decoded pictures ready to be shown: fitted whole into a canvas, centred on black, in one pass.
///
/// Belongs to one thread; the images it gives may go to any and outlive it.
class PictureConverter {
public:
    PictureConverter();
    ~PictureConverter();
    PictureConverter(const PictureConverter&) = delete;
    PictureConverter& operator=(const PictureConverter&) = delete;

    /// Pixels count as square, as they do in exported videos. A null image when the picture cannot be read.
    QImage convert(const MediaSample& picture, QSize canvas);

    /// A black canvas.
    QImage black(QSize canvas);

private:
    struct State;

    std::unique_ptr<State> m_state;
};

} // namespace orvo
