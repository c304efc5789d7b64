#pragma once

#include "OrvoVideo/capture/screen/CapturedPicture.h"

#include <functional>
#include <memory>
#include <optional>

namespace orvo {

/// Gives every picture its place and its length: each is shown until the next one comes, the first from the beginning on.
class PictureTimeline {
public:
    struct Placed {
        std::shared_ptr<const PictureMemory> picture;
        double start = 0; ///< Seconds.
        double length = 0; ///< Seconds.
    };

    /// Receives the pictures one behind the other. The newest one is kept back until its length is known.
    using Sink = std::function<void(const Placed&)>;

    explicit PictureTimeline(Sink sink);

    /// Whether there is a picture.
    bool hasBegun() const noexcept { return m_newest.has_value(); }

    /// Adds a picture that belongs there; where the one before was told to stand beyond that, it follows at once. One that
    /// is no later than the picture before is left out.
    void add(std::shared_ptr<const PictureMemory> picture, double seconds);

    /// The newest picture still stands at this time: what is shown until then can be written.
    void standUntil(double seconds);

    /// Hands over the last picture, which is shown until `seconds`.
    void end(double seconds);

private:
    void handOver(double end);

    Sink m_sink;
    std::optional<Placed> m_newest;
    double m_newestTime = 0; ///< Where it belongs.
};

} // namespace orvo
