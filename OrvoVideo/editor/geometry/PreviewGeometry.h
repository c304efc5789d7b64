#pragma once

#include "VideoCore/VideoProject.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

/// Positions on the frame of the preview, as an export burns them in. Pure functions; times in seconds.
namespace orvo::PreviewGeometry {

struct Size {
    double width = 0;
    double height = 0;
};

struct Rect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    friend bool operator==(const Rect&, const Rect&) = default;
};

/// A magnification: scales the frame around its top left corner, then moves it by minus the offset.
struct Zoom {
    double scale = 1;
    double x = 0;
    double y = 0;

    friend bool operator==(const Zoom&, const Zoom&) = default;
};

/// The magnification at a time for a frame shown at this size, from the zoom points among the events. If zoom points
/// overlap, the last to start wins; among those that start together, the first in the list. A zoom ramps in and out over a
/// quarter of a second.
Zoom previewTransform(std::span<const PointerEvent> events, double time, Size size);

/// The part of a frame of this size that a zoom point magnifies once it is fully ramped in.
Rect magnifiedPart(const PointerEvent& zoom, Size size);

/// The largest centred rectangle of this frame's aspect ratio that fits the view; empty when either has no area.
Rect fitted(Size view, Size frame);

/// The rectangle of the camera in a frame of this size, in export pixels. `camera` gives the aspect ratio; 16:9 when empty.
Rect cameraPlace(const EditState& edit, Size frame, Size camera);

/// The text size of overlays on a frame of this height, in pixels of that frame: the distance between the highest and the
/// lowest point of the font.
int textSize(std::int64_t frameHeight);

/// The recorded pointer, sorted by time.
class PointerTrail {
public:
    static constexpr double lastHold = 0.15; ///< How long the pointer stays at its last position, in seconds.
    static constexpr double haloLength = 0.5; ///< Seconds.

    /// Takes the moves and clicks of a project. Costs nothing while the list of events is unchanged.
    void show(const VideoProject& project);

    struct Place {
        double x = 0; ///< Fraction of the width.
        double y = 0; ///< Fraction of the height.

        friend bool operator==(const Place&, const Place&) = default;
    };
    /// The position of the pointer, which stays at each recorded position until the next. Returns nullopt before the first
    /// and after the last.
    std::optional<Place> at(double time) const;

    struct Halo {
        Place place;
        double progress = 0; ///< From 0 at the click to 1 at the end.

        friend bool operator==(const Halo&, const Halo&) = default;
    };
    /// The rings that spread around clicks at a time.
    std::vector<Halo> halos(double time) const;

    /// The zoom points in stored order.
    const std::vector<PointerEvent>& zooms() const noexcept { return m_zooms; }

private:
    SharedList<PointerEvent> m_shown;
    double m_duration = 0;
    struct Moment {
        double time = 0;
        Place place;
    };
    std::vector<Moment> m_places;
    std::vector<Moment> m_clicks;
    std::vector<PointerEvent> m_zooms;
};

} // namespace orvo::PreviewGeometry
