#include "ModelFixture.h"
#include "OrvoVideo/model/ModelText.h"
#include "TestSupport/Media.h"

#include <QCoreApplication>
#include <QSignalSpy>
#include <cmath>
#include <fstream>

namespace orvo::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

class PreviewTests : public ModelFixture {
protected:
    /// Opens a recording of ten seconds with these tracks. Creates their files.
    VideoProject openRecording(std::vector<MediaTrack> tracks)
    {
        auto project = emptyProject(10);
        project.tracks = SharedList(std::move(tracks));
        add(project);
        for (const auto& media : project.tracks) {
            if (!media.file.contains(".."))
                std::ofstream(store.directory(project.id) / media.file) << "media";
        }
        start();
        select(project);
        return project;
    }

    std::vector<MediaTrack> usual()
    {
        return {track(TrackKind::screen, "media/screen.mov", 0, 10),
            track(TrackKind::microphone, "media/microphone.m4a", 0, 10)};
    }

    std::filesystem::path file(const VideoProject& project, const std::string& name) const
    {
        return store.directory(project.id) / "media" / name;
    }

    /// Starts the player if needed and moves it to `seconds`.
    void playTo(double seconds)
    {
        if (player->rate() == 0)
            model->play();
        player->tick(seconds);
    }
};

TEST_F(PreviewTests, GivesTheTracksToThePlayer)
{
    auto tracks = usual();
    tracks[1].volume = 0.5;
    tracks.push_back(track(TrackKind::system, "media/system.m4a", 0.25, 9));
    tracks.push_back(track(TrackKind::clip, "media/clip.mp4", 10, 4));
    tracks.push_back(track(TrackKind::microphone, "../elsewhere.m4a", 0, 10));
    const auto opened = openRecording(tracks);
    EXPECT_EQ(model->preview(), Playback::Preview::Ready);
    ASSERT_TRUE(player->composition());
    const auto& composition = *player->composition();
    EXPECT_EQ(composition.width, opened.width);
    EXPECT_EQ(composition.fps, opened.fps);
    ASSERT_THAT(composition.video, SizeIs(2));
    EXPECT_EQ(composition.video[0].file, file(opened, "screen.mov"));
    EXPECT_EQ(composition.video[1].file, file(opened, "clip.mp4"));
    EXPECT_EQ(composition.video[1].start, 10);
    // All files within the project, in order.
    ASSERT_THAT(composition.audio, SizeIs(4));
    EXPECT_EQ(composition.audio[1].volume, 0.5);
    EXPECT_EQ(composition.audio[2].start, 0.25);
    EXPECT_THAT(camera->loads, IsEmpty());
    EXPECT_EQ(model->status(), "Listo para grabar");
}

TEST_F(PreviewTests, KeepsThePlayersWhenAFileCannotBePlayed)
{
    const auto good = openRecording(usual());
    model->play();
    auto broken = emptyProject(5);
    broken.id = fixedId(77);
    broken.tracks = SharedList(usual());
    select(add(broken));
    EXPECT_EQ(project().id, broken.id);
    EXPECT_EQ(model->preview(), Playback::Preview::Failed);
    EXPECT_EQ(model->status(), "Usa Recuperar para preparar este archivo antes de reproducirlo.");
    EXPECT_EQ(player->composition()->video[0].file, file(good, "screen.mov"));
    EXPECT_FALSE(model->playing());
    model->play(); // The player still has the other project.
    EXPECT_EQ(player->rate(), 0);
    // Editing still works.
    model->addText("x");
    EXPECT_EQ(model->overlays()->count(), 1);
}

TEST_F(PreviewTests, EmptiesThePlayerForAProjectWithoutMedia)
{
    openRecording(usual());
    const auto empty = add(VideoProject::make("empty"));
    select(empty);
    EXPECT_FALSE(player->hasComposition());
    EXPECT_EQ(model->preview(), Playback::Preview::Ready);
}

TEST_F(PreviewTests, KeepsTheLastOfOverlappingRebuilds)
{
    openRecording(usual());
    player->holdsAnswers = true;
    const auto first = model->rebuildPreview();
    EXPECT_EQ(model->preview(), Playback::Preview::Loading);
    const auto second = model->rebuildPreview();
    EXPECT_TRUE(first.isReady());
    EXPECT_FALSE(second.isReady());
    player->answer();
    EXPECT_TRUE(waitUntil([&] { return second.isReady(); }));
    EXPECT_EQ(model->preview(), Playback::Preview::Ready);
}

TEST_F(PreviewTests, PlaysASuggestionOnTrial)
{
    openRecording(usual());
    model->update([](VideoProject& edited) {
        edited.edit.words = SharedList<TranscriptWord>{word("uno", 0, 2), word("dos", 5, 6), word("tres", 6, 10)};
        edited.edit.cuts = {{1.5, 1.8}};
    });
    model->findSuggestions();
    ASSERT_EQ(model->editing()->suggestedPauses()->count(), 1); // 2.2 to 4.85
    const auto before = project();
    model->editing()->tryOut(model->editing()->suggestedPauses()->get(0)["suggestionId"].toString());
    EXPECT_TRUE(model->playing());
    EXPECT_NEAR(model->playhead(), 0.9, 1e-9) << "one second before, not counting the cut";
    EXPECT_EQ(model->playback().shown()->edit.cuts.size(), 2);
    player->tick(1.0);
    EXPECT_EQ(player->expected.back(), 1.8);
    player->tick(1.52);
    EXPECT_NEAR(model->playhead(), 1.8, 1e-9);
    player->tick(2.3);
    EXPECT_NEAR(model->playhead(), 4.85, 1e-9) << "skips the tried pause";
    player->tick(5.8);
    EXPECT_TRUE(model->playing());
    player->tick(5.9);
    EXPECT_FALSE(model->playing());
    EXPECT_EQ(model->playback().shown()->edit.cuts.size(), 1);
    EXPECT_EQ(project(), before) << "nothing was edited";

    // A seek, a pause or an edit ends it.
    const auto tryOut = [&] {
        model->editing()->tryOut(model->editing()->suggestedPauses()->get(0)["suggestionId"].toString());
        EXPECT_EQ(model->playback().shown()->edit.cuts.size(), 2);
    };
    tryOut();
    model->seek(2.1);
    player->tick(2.5);
    EXPECT_NEAR(model->playhead(), 2.5, 1e-9) << "plays the pause again";
    tryOut();
    model->pause();
    EXPECT_EQ(model->playback().shown()->edit.cuts.size(), 1);
    tryOut();
    model->editing()->setFlag("sharpen", true);
    EXPECT_TRUE(model->playback().shown()->edit.sharpen);
    EXPECT_EQ(model->playback().shown()->edit.cuts.size(), 1);
}

TEST_F(PreviewTests, SeeksWithBothPlayers)
{
    openRecording(usual());
    model->seek(-3);
    EXPECT_EQ(model->playhead(), 0);
    EXPECT_EQ(player->seeks.back(), 0);
    EXPECT_EQ(camera->seeks.back(), 0);
    model->seek(2.5);
    EXPECT_EQ(model->playhead(), 2.5);
    EXPECT_EQ(camera->seeks.back(), 2.5);
    // Players seek to whole ticks of 1/600 s, so that a rounded time does not fall into the previous frame.
    model->seek(0.0333333);
    EXPECT_EQ(player->seeks.back(), 20.0 / 600);
    EXPECT_EQ(model->playhead(), 0.0333333);
    model->seek(std::nan(""));
    EXPECT_EQ(model->playhead(), 0);
}

TEST_F(PreviewTests, KeepsTheExactPlayheadAndStepsAtEveryRate)
{
    openRecording(usual());
    const auto settle = [] { QCoreApplication::processEvents(); };
    model->stepFrames(-1);
    EXPECT_EQ(model->playhead(), 0);
    model->seek(1.2349); // Like the start of a clicked word, inside frame 37.
    settle();
    EXPECT_EQ(model->playhead(), 1.2349) << "not the tick of the player";
    model->stepFrames(1);
    EXPECT_DOUBLE_EQ(model->playhead(), 38.0 / 30);
    model->play();
    model->stepFrames(100'000);
    EXPECT_DOUBLE_EQ(model->playhead(), 299.0 / 30) << "within the recording";
    EXPECT_FALSE(model->playing());
    for (const std::int64_t fps : {25, 30, 60, 72, 90, 144}) {
        model->update([&](VideoProject& project) { project.fps = fps; });
        model->seek(0);
        for (int frame = 1; frame <= 200; ++frame) {
            model->stepFrames(1);
            settle();
            ASSERT_DOUBLE_EQ(model->playhead(), frame / static_cast<double>(fps)) << fps;
            ASSERT_EQ(std::floor(player->seeks.back() * static_cast<double>(fps) + 1e-6), frame) << fps << ": shown frame";
        }
    }
}

TEST_F(PreviewTests, SeeksTheLoadedCameraToThePlayheadAndReportsItsEnd)
{
    auto project = emptyProject(10);
    project.tracks = {
        track(TrackKind::screen, "media/screen.mov", 0, 10), track(TrackKind::camera, "media/camera.mov", 0, 2)};
    add(project);
    std::ofstream(store.directory(project.id) / "media/screen.mov") << "media";
    makeVideo(store.directory(project.id) / "media/camera.mov", "testsrc2=size=64x36:rate=10:duration=2");
    start();
    QObject::connect(model.get(), &AppModel::previewChanged, model.get(), [this] {
        if (model->preview() == Playback::Preview::Ready) // The camera's file is probed from now on.
            QMetaObject::invokeMethod(model.get(), [this] { model->seek(1.5); }, Qt::QueuedConnection);
    });
    select(project);
    ASSERT_TRUE(waitUntil([&] { return camera->hasComposition(); }));
    EXPECT_EQ(camera->position(), 1.5);
    EXPECT_NEAR(model->playback().cameraEnd(), 2, 0.05);
}

TEST_F(PreviewTests, PlaysAndPauses)
{
    openRecording(usual());
    const QSignalSpy changes(model.get(), &AppModel::playingChanged);
    model->togglePlaying();
    EXPECT_TRUE(model->playing());
    player->tick(4);
    EXPECT_EQ(model->playhead(), 4);
    model->togglePlaying();
    EXPECT_FALSE(model->playing());
    EXPECT_EQ(changes.size(), 2);

    model->play();
    player->tick(10);
    emit player->endReached();
    EXPECT_FALSE(model->playing());
    model->play(); // Starts again from the beginning.
    EXPECT_EQ(player->seeks.back(), 0);
    EXPECT_TRUE(model->playing());

    // A seek into a cut while paused does not skip it.
    model->pause();
    model->update([](VideoProject& project) { project.edit.cuts = {{4, 6}}; });
    player->tick(5);
    EXPECT_EQ(model->playhead(), 5);
    player->tick(std::numeric_limits<double>::infinity());
    EXPECT_EQ(model->playhead(), 0);
}

TEST_F(PreviewTests, SynchronisesTheCamera)
{
    auto tracks = usual();
    tracks.push_back(track(TrackKind::camera, "media/camera.mov", 0, 10));
    openRecording(tracks);
    // The file has no video: the camera is left out and the rest plays.
    EXPECT_THAT(camera->loads, IsEmpty());
    EXPECT_EQ(model->preview(), Playback::Preview::Ready);
    EXPECT_EQ(player->composition()->video.size(), 1U);

    // Loads it as if it were readable.
    camera->load({.video = {{store.directory(project().id) / "media/camera.mov", 0}}, .audio = {}});
    ASSERT_TRUE(waitUntil([&] { return camera->hasComposition(); }));
    playTo(1);
    EXPECT_EQ(camera->rate(), 1);
    EXPECT_EQ(camera->seeks.back(), 1);
    const auto seeks = camera->seeks.size();
    camera->tick(1.9);
    playTo(2); // A difference of 0.1 s is tolerated.
    EXPECT_EQ(camera->seeks.size(), seeks);
    playTo(2.1);
    EXPECT_EQ(camera->seeks.back(), 2.1);
    model->pause();
    EXPECT_EQ(camera->rate(), 0);
}

TEST_F(PreviewTests, AppliesVolumesAtOnceAndRebuildsOnlyChangedMedia)
{
    const auto opened = openRecording(usual());
    model->seek(5);
    ASSERT_THAT(player->loads, SizeIs(1));
    model->editing()->setVolume(Text::from(opened.tracks[1].id), 0.25);
    EXPECT_THAT(player->volumes, ElementsAre(Pair(1, 0.25)));
    model->undo();
    EXPECT_THAT(player->volumes, ElementsAre(Pair(1, 0.25), Pair(1, 1)));
    model->editing()->addZoom();
    model->undo();
    EXPECT_THAT(player->loads, SizeIs(1));
    EXPECT_EQ(model->playhead(), 5);

    model->update([](VideoProject& project) { project.tracks.edit().pop_back(); });
    model->undo();
    model->redo();
    ASSERT_TRUE(waitUntil([&] { return model->preview() == Playback::Preview::Ready; }));
    EXPECT_THAT(player->composition()->audio, SizeIs(1));
    EXPECT_EQ(model->playhead(), 0);
}

} // namespace
} // namespace orvo::test
