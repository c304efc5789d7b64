#pragma once

#include "VideoCore/VideoProject.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

/// Where things lie on the picture of the preview: as an export burns them in. Pure; times in seconds.
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

/// How a picture is magnified: scaled round its top left corner, then moved by minus the offset.
struct Zoom {
    double scale = 1;
    double x = 0;
    double y = 0;

    friend bool operator==(const Zoom&, const Zoom&) = default;
};

/// The magnification at a time for a picture shown with this size, from the zoom points among the events. Of zoom points
/// that overlap the one that starts last counts (the first in the list of those that start together). It comes and goes
/// within a quarter of a second.
Zoom previewTransform(std::span<const PointerEvent> events, double time, Size size);

/// The part of a picture of this size that a zoom point magnifies when it is fully there.
Rect magnifiedPart(const PointerEvent& zoom, Size size);

/// The largest place of a picture of this shape in a view, centred.
Rect fitted(Size view, Size picture);

/// The camera picture, in a frame of this size, for a camera of this shape; its pixels are those of an export.
Rect cameraPlace(const EditState& edit, Size frame, Size camera);

/// The height of the letters of text overlays on a frame this high, in pixels of that frame: the distance between the
/// highest and the lowest point of the font.
int textSize(std::int64_t frameHeight);

/// The recorded pointer, in the order of time.
class PointerTrail {
public:
    static constexpr double lastHold = 0.15; ///< How long the last place stays, in seconds.
    static constexpr double haloLength = 0.5; ///< Seconds.

    /// Takes the moves and clicks of a project. Costs nothing when the list of events is the same as the last time.
    void show(const VideoProject& project);

    struct Place {
        double x = 0; ///< Fraction of the width.
        double y = 0;

        friend bool operator==(const Place&, const Place&) = default;
    };
    /// Where the pointer is; it stays in each place until the next one was recorded.
    std::optional<Place> at(double time) const;

    struct Halo {
        Place place;
        double progress = 0; ///< From 0 at the click to 1 at the end.

        friend bool operator==(const Halo&, const Halo&) = default;
    };
    /// The rings that spread round clicks.
    std::vector<Halo> halos(double time) const;

    /// The zoom points, in stored order.
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
