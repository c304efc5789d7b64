#pragma once

#include "Platform/capture/CaptureSources.h"
#include "Platform/capture/CapturedPicture.h"

#include <exception>
#include <functional>
#include <memory>
#include <optional>

namespace orvo {

/// The pictures of a source, without the pointer in them.
///
/// A picture is delivered when something has changed on the source, at most `fps` times a second; while nothing changes none
/// is. Pictures are fitted into `size` with black around them where the shapes differ, as those of a window that has been
/// resized, and are never enlarged. A window that is covered is recorded whole; one that is minimised delivers nothing
/// until it is back.
class ScreenStream {
public:
    struct Settings {
        PictureSize size; ///< Of every picture; even numbers.
        int fps = 30;
        std::optional<Rect> region; ///< The part of a display to record, in the global display space.
    };

    /// Called on a thread of the stream's own, one at a time, never after the stream has gone.
    struct Receiver {
        std::function<void(CapturedPicture)> picture;
        /// The source has ended (its window was closed, its monitor unplugged, its permission taken back), with an error for
        /// the user. Nothing comes after it.
        std::function<void(std::exception_ptr)> ended;
    };

    /// Prepares to record a source. Throws `captureError` when it is not there or cannot be recorded.
    static std::unique_ptr<ScreenStream> open(const CaptureSource& source, const Settings& settings);

    ScreenStream() = default;
    ScreenStream(const ScreenStream&) = delete;
    ScreenStream& operator=(const ScreenStream&) = delete;
    virtual ~ScreenStream() = default;

    /// Begins to deliver. Called once. Throws `captureError` when the stream does not begin.
    virtual void start(Receiver receiver) = 0;

    /// Where the pointer is in the global display space, for streams that tell. Usable from any thread.
    virtual std::optional<Point> pointer() const { return std::nullopt; }

    /// The source as it is now: that of a window which moved has moved.
    virtual Rect area() const = 0;
};

} // namespace orvo
