#pragma once

// For .cpp files only.

#include "OrvoVideo/capture/screen/CapturedFrame.h"
#include "OrvoVideo/capture/tracks/FrameEncoder.h"

#include <deque>
#include <functional>
#include <gst/gst.h>
#include <memory>

namespace orvo {

/// Encodes the frames of a track. If the encoder fails or hangs, software encodes the frames that have not come out yet and
/// all later ones; the failed encoder is not chosen again in this process.
///
/// Frames in graphics memory go to the encoder as they are. If it cannot read them, they are refused, so that plain ones
/// follow; those in transit are converted by the processor if possible, and dropped otherwise.
///
/// A software encoder that does not keep up is replaced by its fastest preset.
///
/// A replacement repeats its parameter sets before every key frame, so that all frames fit in one track.
class FrameCoder {
public:
    struct Form {
        FrameSize size;
        int fps = 30; ///< Maximum frames per second.
        std::int64_t bitRate = 0;
        int keyFrameDistance = 60; ///< Frames.
    };

    /// Receives the coded frames in order, with the times they were added with, on one thread at a time. Takes
    /// ownership of `buffer`. An exception from it ends the encoding.
    using Sink = std::function<void(GstBuffer* buffer, GstCaps* caps)>;

    /// Throws `captureError` when the encoder cannot be made.
    FrameCoder(const Form& form, const FrameEncoder& encoder, Sink sink);
    ~FrameCoder();
    FrameCoder(const FrameCoder&) = delete;
    FrameCoder& operator=(const FrameCoder&) = delete;

    /// Adds a frame, later than the one before it. Blocks while the encoder is busy. Throws what the sink has thrown, and
    /// `captureError` when software fails as well.
    void add(const std::shared_ptr<const FrameMemory>& frame, GstClockTime time, GstClockTime length);

    /// Returns when the sink has all frames. Throws as `add`.
    void finish();

private:
    class Run;

    /// A frame that has not come out of the encoder.
    struct Frame {
        std::shared_ptr<const FrameMemory> memory;
        GstClockTime time = 0;
        GstClockTime length = 0;
    };

    void begin(const std::shared_ptr<const GraphicsFrame>& graphics);
    void pass(Frame frame);
    void replaceEncoder();
    void makeFaster();

    const Form m_form;
    FrameEncoder m_encoder;
    const Sink m_sink;
    std::unique_ptr<Run> m_run;
    bool m_hasBegun = false; ///< An encoder has received a frame.
    bool m_readsGraphics; ///< Whether the encoder gets frames in graphics memory.
};

} // namespace orvo
