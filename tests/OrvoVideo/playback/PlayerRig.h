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

/// A preview player whose sound keeps time but goes nowhere (or where `soundSink` says), and what it has told so far.
class PlayerRig {
public:
    /// Looks at files with `probe`; without one, with ffprobe.
    explicit PlayerRig(const std::string& audioSink = "fakesink sync=true", std::unique_ptr<MediaProbe> probe = nullptr);

    PreviewPlayer& player() { return *m_player; }
    /// Ends the player in whatever state it is.
    void destroyPlayer() { m_player.reset(); }

    /// Runs the event loop until `condition` holds; false when it does not within a generous time.
    static bool waitUntil(const std::function<bool()>& condition) { return comesToHold(condition); }

    /// Loads and waits for the answer.
    testing::AssertionResult load(const PreviewComposition& composition);
    /// Seeks and waits until that has ended.
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
