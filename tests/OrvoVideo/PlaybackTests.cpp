#include "ModelFixture.h"
#include "NoRecording.h"
#include "OrvoVideo/playback/GstPreviewPlayer.h"
#include "VideoMedia/FfprobeMediaProbe.h"
#include "playback/CountedVideo.h"

#include <algorithm>
#include <cmath>

namespace orvo::test {
namespace {

constexpr int fps = 30;
/// Maximum frames shown of a cut: those before the watcher notices it, and the first one.
constexpr int watcherStep = fps / 12 + 2;

/// The model with the real player; its audio keeps time but is not output.
class PlaybackTests : public ModelFixture {
protected:
    void startWithPlayer()
    {
        const auto make = [] {
            return std::make_unique<GstPreviewPlayer>(std::make_unique<FfprobeMediaProbe>(), "fakesink sync=true");
        };
        model = std::make_unique<AppModel>(AppServices{.store = std::make_unique<const ProjectStore>(store.root()),
            .probe = std::make_shared<FfprobeMediaProbe>(),
            .player = make(),
            .cameraPlayer = make(),
            .panels = std::make_unique<FakePanels>(),
            .workspace = std::make_unique<FakeWorkspace>(),
            .recording = noRecording(),
            .pasteboard = std::make_unique<FakePasteboard>(),
            .loadSecret = noSecret});
        ASSERT_TRUE(waitUntil([&] { return model->libraryListed(); }));
    }
};

TEST_F(PlaybackTests, ShowsCutsNoLongerThanOneWatcherStep)
{
    auto recording = VideoProject::make("counted");
    recording.duration = 8;
    recording.width = 320;
    recording.height = 180;
    recording.tracks = {track(TrackKind::screen, "media/screen.mp4", 0, 8)};
    recording.edit.cuts = {{5, 6.2}, {1, 2}, {3, 3.4}, {3.3, 3.517}, {7.703, 8}}; // Unsorted and overlapping.
    add(recording);
    CountedVideo{.seconds = 8}.write(store.directory(recording.id) / "media/screen.mp4");
    startWithPlayer();
    select(recording);
    ASSERT_EQ(model->preview(), Playback::Preview::Ready);

    std::vector<int> shown;
    const auto* seen = model->player();
    QObject::connect(seen, &PreviewPlayer::frameChanged, model.get(), [&] {
        if (const auto number = frameNumber(seen->frame()))
            shown.push_back(*number);
    });
    model->play();
    ASSERT_TRUE(waitUntil([&] { return model->playing(); }));
    ASSERT_TRUE(waitUntil([&] { return !model->playing(); }));

    EXPECT_TRUE(std::ranges::is_sorted(shown)) << "playback never goes back";
    EXPECT_EQ(shown.back(), 8 * fps - 1) << "plays to the end";
    for (const TimeSpan cut : {TimeSpan{1, 2}, TimeSpan{3, 3.517}, TimeSpan{5, 6.2}}) {
        const auto in = std::ranges::count_if(
            shown, [&](int number) { return number >= cut.start * fps && number < std::floor(cut.end * fps + 0.01); });
        EXPECT_LE(in, watcherStep) << "cut at " << cut.start;
        EXPECT_TRUE(std::ranges::contains(shown, static_cast<int>(cut.end * fps + 0.01)))
            << "the first frame after the cut at " << cut.start;
    }
}

} // namespace
} // namespace orvo::test
