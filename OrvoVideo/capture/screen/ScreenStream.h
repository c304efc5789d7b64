#pragma once

#include "OrvoVideo/capture/screen/CaptureSources.h"
#include "OrvoVideo/capture/screen/CapturedFrame.h"
#include "OrvoVideo/capture/screen/GraphicsFrame.h"

#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace orvo {

/// The frames of a source, without the pointer.
///
/// Delivers a frame when the source has changed, at most `fps` times per second, and none while nothing changes. Frames
/// are fitted into `size` with black bars where the shapes differ, as after a window is resized, and never enlarged. A
/// covered window is recorded whole; a minimised one delivers nothing until it is restored.
class ScreenStream {
public:
    struct Settings {
        FrameSize size; ///< The size of every frame; even numbers.
        int fps = 30;
        std::optional<Rect> region; ///< The part of a display to record, in the global display space.
        /// The formats that the receiver accepts in graphics memory. Frames have one of them if the desktop offers it. Else,
        /// and once the receiver has refused one, they come in plain memory.
        std::vector<GraphicsFormat> graphics = {};
    };

    /// Called on a thread of the stream, one call at a time, never after the stream is destroyed.
    struct Receiver {
        std::function<void(CapturedFrame)> frame;
        /// The source ended (window closed, monitor unplugged, permission revoked), with an error for the user. No call
        /// follows.
        std::function<void(std::exception_ptr)> ended;
    };

    /// Prepares to record a source. Throws `captureError` when it does not exist or cannot be recorded.
    static std::unique_ptr<ScreenStream> open(const CaptureSource& source, const Settings& settings);

    ScreenStream() = default;
    ScreenStream(const ScreenStream&) = delete;
    ScreenStream& operator=(const ScreenStream&) = delete;
    virtual ~ScreenStream() = default;

    /// Starts delivery. Call once. Throws `captureError` when the stream does not start.
    virtual void start(Receiver receiver) = 0;

    /// The source at one moment, and its place in the frames.
    struct View {
        Rect area; ///< In the global display space. Follows a window that moves or is resized.
        Rect shown; ///< The part of the frame that shows `area`, in fractions of the frame. The rest is black.
        std::optional<Point> pointer; ///< In the global display space, for streams that report it.
    };

    /// Thread-safe.
    virtual View view() const = 0;
};

} // namespace orvo
