#pragma once

// For .cpp files only.

#include "OrvoVideo/capture/screen/CapturedFrame.h"
#include "OrvoVideo/capture/tracks/FrameEncoder.h"

#include <deque>
#include <functional>
#include <gst/gst.h>
#include <memory>

namespace orvo {

/// Encodes the frames of a track. Outlives its encoder: when that fails or hangs, software encodes everything that has not
/// come out yet and what follows, and the failed encoder is not chosen again in this process.
///
/// Frames in memory of a graphics card go to the encoder as they are. When it cannot read them, they are refused, so that
/// plain ones follow; those on the way are read by the processor where that can be done, and left out otherwise.
///
/// Software that does not keep up, whatever was expected of the machine, gives way to its fastest preset.
///
/// Encoders that replace another repeat their parameter sets before every key frame, so that all frames fit in one track.
class FrameCoder {
public:
    struct Form {
        FrameSize size;
        int fps = 30; ///< Maximum frames per second.
        std::int64_t bitRate = 0;
        int keyFrameDistance = 60; ///< Frames.
    };

    /// Receives the coded frames in order, with the times they were added with, on one thread at a time. Takes `buffer`.
    /// What it throws ends the work.
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
    bool m_hasBegun = false; ///< An encoder has had a frame.
    bool m_readsGraphics; ///< Whether the encoder gets frames in memory of a graphics card.
};

} // namespace orvo
