#pragma once

#include "OrvoVideo/capture/screen/CaptureSources.h"
#include "OrvoVideo/capture/screen/CapturedPicture.h"

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

    /// The source at one moment, and how the frames show it.
    struct View {
        Rect area; ///< In the global display space. Follows a window that moves or changes its size.
        Rect shown; ///< The part of the frame that shows `area`, in fractions of the frame. The rest is black.
        std::optional<Point> pointer; ///< In the global display space, for streams that report it.
    };

    /// Usable from any thread.
    virtual View view() const = 0;
};

} // namespace orvo
