#pragma once

#include "OrvoVideo/playback/PreviewPlayer.h"

#include <optional>
#include <vector>

namespace orvo {

/// The clips of a composition on its timeline, once their lengths are known: which clip is shown at which time.
///
/// The composition has frames of its own: frame k is shown from k/fps. It shows what its clip shows half a frame later,
/// which is the nearest frame, as the export chooses.
class CompositionLayout {
public:
    struct Clip {
        double start = 0;
        double length = 0;
    };

    CompositionLayout() = default;
    /// `audioEnd` is the end of the last audio clip.
    CompositionLayout(int fps, std::vector<Clip> video, double audioEnd);

    double duration() const noexcept { return m_duration; }
    int fps() const noexcept { return m_fps; }

    /// The frame shown at `seconds`, between 0 and the last frame.
    long frameAt(double seconds) const;
    long lastFrame() const;
    double timeOf(long frame) const { return static_cast<double>(frame) / m_fps; }

    struct Place {
        std::size_t clip = 0;
        double time = 0; ///< Seconds in the clip's file.
    };
    /// The content of `frame`, or nullopt for black. An unintentionally short gap (tracks of one recording do not start
    /// and end at the same instant) shows the clip beside it.
    std::optional<Place> placeOf(long frame) const;

    /// The first clip that starts after `seconds`.
    std::optional<std::size_t> clipAfter(double seconds) const;

private:
    std::optional<std::size_t> clipOver(double seconds) const;

    int m_fps = 30;
    std::vector<Clip> m_video;
    double m_duration = 0;
};

} // namespace orvo
