#pragma once

#include "OrvoVideo/playback/GstPreviewPlayer.h"
#include "TestSupport/EventLoop.h"
#include "VideoMedia/MediaProbe.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace orvo::test {

/// A preview player and the signals that it has emitted. By default its audio keeps time but is not played.
class PlayerRig {
public:
    /// Probes files with `probe`; if null, with ffprobe.
    explicit PlayerRig(const std::string& audioSink = "fakesink sync=true", std::unique_ptr<MediaProbe> probe = nullptr);

    PreviewPlayer& player() { return *m_player; }
    /// Destroys the player in its current state.
    void destroyPlayer() { m_player.reset(); }

    /// Runs the event loop until `condition` holds. Returns false after a generous limit.
    static bool waitUntil(const std::function<bool()>& condition) { return comesToHold(condition); }

    /// Loads and waits for the result.
    testing::AssertionResult load(const PreviewComposition& composition);
    /// Seeks and waits for the end of the seek.
    testing::AssertionResult seek(double seconds);

    int loads = 0;
    std::vector<std::string> failures;
    std::vector<double> seeks;
    std::vector<double> times;
    std::vector<QImage> frames;
    std::vector<double> rates;
    int ends = 0;

private:
    std::unique_ptr<PreviewPlayer> m_player;
};

} // namespace orvo::test
