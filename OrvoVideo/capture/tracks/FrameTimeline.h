#pragma once

#include "OrvoVideo/capture/screen/CapturedFrame.h"

#include <functional>
#include <memory>
#include <optional>

namespace orvo {

/// Gives every frame its start and length: each is shown until the next one, the first from time 0.
class FrameTimeline {
public:
    struct Placed {
        std::shared_ptr<const FrameMemory> frame;
        double start = 0; ///< Seconds.
        double length = 0; ///< Seconds.
    };

    /// Receives the frames in order. The newest one is held back until its length is known.
    using Sink = std::function<void(const Placed&)>;

    explicit FrameTimeline(Sink sink);

    /// Whether there is a frame.
    bool hasBegun() const noexcept { return m_newest.has_value(); }

    /// Adds a frame for this time. If the previous one was already extended beyond it, the new one follows directly.
    /// Drops a frame that is not later than the previous one, unless both times are equal: then it replaces it.
    void add(std::shared_ptr<const FrameMemory> frame, double seconds);

    /// The newest frame is still shown at this time, so that it can be written up to there.
    void standUntil(double seconds);

    /// Delivers the last frame, shown until `seconds`.
    void end(double seconds);

private:
    void handOver(double end);

    Sink m_sink;
    std::optional<Placed> m_newest;
    double m_newestTime = 0; ///< The time it was added for.
};

} // namespace orvo
