#include "../ModelFixture.h"
#include "../playback/CountedVideo.h"
#include "OrvoVideo/editor/EditorCommands.h"
#include "OrvoVideo/editor/PreviewScene.h"
#include "OrvoVideo/model/AppModel.h"
#include "TestSupport/Media.h"
#include "VideoCore/FileIO.h"
#include "VideoMedia/ExportService.h"
#include "VideoMedia/FfprobeMediaProbe.h"
#include "VideoMedia/KeptSpans.h"
#include "VideoMedia/RenderGraph.h"

#include <QQuickItem>
#include <QQuickView>
#include <QSignalSpy>
#include <QTest>
#include <cmath>
#include <format>

namespace orvo::test {

namespace {

constexpr int width = 640;
constexpr int height = 360;
constexpr int fps = 30;

/// The editor with the real player and a temporary library, and the film exported from the same project.
class FilmTests : public testing::Test {
protected:
    FilmTests()
    {
        project.duration = 4;
        project.width = width;
        project.height = height;
        project.fps = fps;
        project.tracks = {
            track(TrackKind::screen, "media/screen.mp4", 0, 4), track(TrackKind::camera, "media/camera.mp4", 0, 3)};
        auto& edit = project.edit;
        edit.fade = 0.15;
        edit.cuts = {{1, 1.5}, {2.5, 2.7}};
        edit.cameraX = 0.7;
        edit.cameraY = 0.6;
        edit.cameraWidth = 0.25;
        edit.events = {pointer(PointerKind::move, 0.2, 0.3, 0.7), pointer(PointerKind::click, 0.5, 0.4, 0.7),
            pointer(PointerKind::move, 2.8, 0.2, 0.8)};
        edit.events.edit().push_back(
            {.time = 1.6, .x = 0.3, .y = 0.4, .kind = PointerKind::zoom, .duration = 0.8, .scale = 2});
        edit.overlays.edit().push_back(
            {.kind = Overlay::Kind::text, .content = "Pendiente", .start = 0.6, .end = 0.95, .x = 0.1, .y = 0.85});
        edit.overlays.edit().push_back({.kind = Overlay::Kind::image,
            .content = "media/image.png",
            .start = 2.8,
            .end = 3.6,
            .x = 0.1,
            .y = 0.6,
            .width = 0.2});
        store.create(project);
        CountedVideo{.width = width, .height = height, .fps = fps, .seconds = 4, .filter = ",gblur=1.2"}.write(
            store.mediaURL(project, "media/screen.mp4"));
        makeVideo(
            store.mediaURL(project, "media/camera.mp4"), "gradients=size=160x120:rate=30:duration=3:c0=navy:c1=orange");
        ffmpeg({"-f", "lavfi", "-i", "gradients=size=128x72:c0=green:c1=white", "-frames:v", "1",
            store.mediaURL(project, "media/image.png").string()});
    }

    /// A lossless film of these RGB frames.
    std::filesystem::path filmOf(const std::string& pixels, const std::string& name) const
    {
        writeFileAtomically(folder / "pixels", pixels);
        ffmpeg({"-f", "rawvideo", "-pix_fmt", "rgb24", "-s", std::format("{}x{}", width, height), "-i",
            (folder / "pixels").string(), "-c:v", "ffv1", "-pix_fmt", "yuv444p", (folder / name).string()});
        return folder / name;
    }

    TemporaryFolder folder;
    ProjectStore store{folder / "library"};
    VideoProject project = VideoProject::make("Clase");
};

TEST_F(FilmTests, ShowsTheSameFramesInThePreview)
{
    const auto file = folder / "film.mp4";
    ExportService::exportVideo(
        project, store, file, {.height = height, .fps = fps, .quality = ExportQuality::high}, FfprobeMediaProbe());
    const auto film = decodeFrames(file);
    // The recorded frame behind each frame of the film.
    std::vector<long> shown;
    for (const auto& kept : RenderGraph::keptSpans(project, fps)) {
        for (long frame = std::lround(kept.span.start * fps); frame < std::lround(kept.span.end * fps); ++frame)
            shown.push_back(frame);
    }
    ASSERT_EQ(film.size(), shown.size());

    auto services = AppServices::create(store.root());
    services.loadSecret = [](auto&&...) { return std::string(); };
    AppModel model(std::move(services));
    ASSERT_TRUE(waitUntil([&] { return model.libraryListed(); }));
    QQuickView view;
    view.setResizeMode(QQuickView::SizeRootObjectToView);
    view.setInitialProperties({{QStringLiteral("app"), QVariant::fromValue(&model)}});
    view.loadFromModule("Orvo.Editor", "EditorView");
    view.show();
    model.open(QString::fromStdString(project.id.text()));
    ASSERT_TRUE(
        waitUntil([&] { return model.preview() == Playback::Preview::Ready && model.cameraPlayer()->hasComposition(); }));
    ASSERT_TRUE(waitUntil([&] { return std::isfinite(model.playback().cameraEnd()) && model.playback().cameraEnd() > 0; }));
    // Shows the preview alone, at the size of the film.
    view.rootObject()->findChild<EditorCommands*>()->setPreviewAlone(true);
    const auto* scene = view.rootObject()->findChild<PreviewScene*>();
    ASSERT_TRUE(scene);
    view.resize(width, height + 40);
    ASSERT_TRUE(waitUntil([&] {
        view.resize(width, view.height() + static_cast<int>(height - scene->viewSize().height()));
        return scene->frame().size() == QSizeF(width, height);
    }));

    std::string seen;
    std::string wanted;
    for (std::size_t i = 1; i < film.size(); i += 3) {
        SCOPED_TRACE("frame " + std::to_string(i) + " of the film, " + std::to_string(shown[i]) + " of the recording");
        QSignalSpy sought(model.player(), &PreviewPlayer::seekFinished);
        QSignalSpy camera(model.cameraPlayer(), &PreviewPlayer::seekFinished);
        model.seek(static_cast<double>(shown[i]) / fps);
        ASSERT_TRUE(waitUntil([&] { return !sought.empty() && !camera.empty(); }));
        QTest::qWait(0);
        const QImage drawn = view.grabWindow().copy(0, 0, width, height).convertToFormat(QImage::Format_RGB888);
        const QImage burned(film[i].pixels.data(), film[i].width, film[i].height, film[i].width * 3, QImage::Format_RGB888);
        if (const auto number = frameNumber(burned)) {
            EXPECT_EQ(frameNumber(drawn), number);
        }
        seen.append(reinterpret_cast<const char*>(drawn.constBits()), static_cast<std::size_t>(drawn.sizeInBytes()));
        wanted.append(film[i].pixels.begin(), film[i].pixels.end());
    }
    const auto figures = similarity(filmOf(seen, "seen.mkv"), filmOf(wanted, "wanted.mkv"));
    for (std::size_t i = 0; i < figures.size(); ++i)
        EXPECT_GE(figures[i], 0.98) << "frame " << 3 * i + 1 << " of the film";
}

} // namespace

} // namespace orvo::test
