#pragma once

#include "OrvoVideo/playback/PreviewPlayer.h"

#include <optional>
#include <vector>

namespace orvo {

/// Where the clips of a composition lie, once their lengths are known: which clip is seen at which time.
///
/// Pictures are those of the composition's own frames: frame k is shown from k/fps on, and of a clip it shows what the
/// clip shows half a frame later, as the export's choice of the nearest frame does.
class CompositionLayout {
public:
    struct Clip {
        double start = 0;
        double length = 0;
    };

    CompositionLayout() = default;
    /// `soundEnd` is where the last sound ends.
    CompositionLayout(int fps, std::vector<Clip> video, double soundEnd);

    double duration() const noexcept { return m_duration; }
    int fps() const noexcept { return m_fps; }

    /// The frame shown at `seconds`, from 0 to the last.
    long frameAt(double seconds) const;
    long lastFrame() const;
    double timeOf(long frame) const { return static_cast<double>(frame) / m_fps; }

    struct Place {
        std::size_t clip = 0;
        double time = 0; ///< Seconds of the clip's file.
    };
    /// What frame `frame` shows; nothing for black. A gap too short to be meant (tracks of one recording do not begin and
    /// end at the same instant) shows the clip beside it.
    std::optional<Place> placeOf(long frame) const;

    /// The clip that begins next after `seconds`.
    std::optional<std::size_t> clipAfter(double seconds) const;

private:
    std::optional<std::size_t> clipOver(double seconds) const;

    int m_fps = 30;
    std::vector<Clip> m_video;
    double m_duration = 0;
};

} // namespace orvo
