#include "OrvoVideo/shell/ProjectThumbnails.h"
#include "TestSupport/Media.h"
#include "WindowFixture.h"

#include <QImage>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QTemporaryDir>
#include <fstream>

namespace orvo::test {

namespace {

class ThumbnailTests : public WindowFixture {
protected:
    void SetUp() override
    {
        qputenv("XDG_CACHE_HOME", home.path().toUtf8());
        engine.addImageProvider(QLatin1String(ThumbnailProvider::name), new ThumbnailProvider);
        QQmlComponent component(&engine);
        component.setData("import QtQuick\nImage { cache: false }", {});
        image.reset(qobject_cast<QQuickItem*>(component.create()));
        ASSERT_TRUE(image);
    }

    /// Loads a movie's thumbnail as a view does. Returns its height in pixels, 0 if there is none.
    double height(const std::filesystem::path& movie)
    {
        image->setProperty("source", QUrl());
        image->setProperty("source", ThumbnailProvider::address(movie));
        const auto status = [&] { return image->property("status").toInt(); };
        EXPECT_TRUE(waitUntil([&] { return status() == ready || status() == failed; }));
        return status() == ready ? image->implicitHeight() : 0;
    }

    std::vector<std::filesystem::path> kept() const
    {
        const std::filesystem::path cache = home.filePath(QStringLiteral("OrvoVideo/thumbnails")).toStdString();
        std::vector<std::filesystem::path> files;
        std::error_code none;
        for (const auto& entry : std::filesystem::directory_iterator(cache, none))
            files.push_back(entry.path());
        return files;
    }

    static constexpr int ready = 1;
    static constexpr int failed = 3;

    const QTemporaryDir home;
    QQmlEngine engine;
    std::unique_ptr<QQuickItem> image;
};

TEST_F(ThumbnailTests, MakesAFrameOnceAndKeepsItOutsideTheLibrary)
{
    const auto file = movie();
    ASSERT_EQ(height(file), ThumbnailProvider::height);
    ASSERT_THAT(kept(), testing::SizeIs(1));
    const QImage frame(QString::fromStdString(kept().front().string()));
    const QColor middle = frame.pixelColor(frame.width() / 2, frame.height() / 2);
    EXPECT_GT(middle.red(), 200);
    EXPECT_LT(middle.green() + middle.blue(), 80);

    // The cached file is shown the next time.
    QImage other(40, 60, QImage::Format_RGB32);
    other.fill(Qt::blue);
    ASSERT_TRUE(other.save(QString::fromStdString(kept().front().string())));
    EXPECT_EQ(height(file), 60);

    // Another movie at the same path gets a new thumbnail.
    std::filesystem::remove(file);
    movie("Clase 3.mp4", 1);
    EXPECT_EQ(height(file), ThumbnailProvider::height) << "a movie shorter than the usual position shows its first frame";
    EXPECT_THAT(kept(), testing::SizeIs(2));
}

TEST_F(ThumbnailTests, ShowsTheFirstVideoStream)
{
    const auto file = folder / "dos.mp4";
    ffmpeg({"-f", "lavfi", "-i", "color=red:size=320x180:rate=10:duration=2", "-f", "lavfi", "-i",
        "color=blue:size=640x360:rate=10:duration=2", "-map", "0", "-map", "1", file.string()});
    ASSERT_EQ(height(file), ThumbnailProvider::height);
    ASSERT_THAT(kept(), testing::SizeIs(1));
    const QColor colour = QImage(QString::fromStdString(kept().front().string())).pixelColor(10, 10);
    EXPECT_GT(colour.red(), 200);
    EXPECT_LT(colour.blue(), 80);
}

TEST_F(ThumbnailTests, ShowsNoFrameForNonMovies)
{
    const auto file = folder / "no.mp4";
    EXPECT_EQ(height(file), 0);
    std::ofstream(file) << "no es un vídeo";
    EXPECT_EQ(height(file), 0);
}

TEST_F(ThumbnailTests, MakesNoFrameAfterTheWindowCloses)
{
    for (const char* title : {"Uno", "Dos", "Tres"})
        withMovie(title);
    show();
    ASSERT_TRUE(waitUntil([&] { return !kept().empty(); }));
    window.reset();
    const auto before = kept();
    // In the time that these take, a surviving thread would finish its own.
    for (const char* name : {"Cuatro.mp4", "Cinco.mp4", "Seis.mp4"})
        EXPECT_EQ(height(movie(name)), ThumbnailProvider::height);
    EXPECT_THAT(kept(), testing::IsSupersetOf(before));
    EXPECT_THAT(kept(), testing::SizeIs(before.size() + 3)) << "no thread still makes a thumbnail";
}

TEST_F(ThumbnailTests, ShowsTheScreenTrackOnlyInsideTheProjectFolder)
{
    const auto real = withMovie("Con vídeo");
    auto outside = VideoProject::make("Fuera");
    outside.duration = 2;
    outside.tracks = {track(TrackKind::screen, "../../secreto.mp4", 0, 2)};
    add(outside);
    auto silent = VideoProject::make("Solo voz");
    silent.duration = 2;
    silent.tracks = {track(TrackKind::microphone, "media/voz.m4a", 0, 2)};
    add(silent);
    start();
    ProjectThumbnails thumbnails;
    thumbnails.setModel(model.get());
    const auto source = [&](const VideoProject& project) {
        return thumbnails.source(QString::fromStdString(project.id.text()), project.duration);
    };
    EXPECT_EQ(source(real), ThumbnailProvider::address(store.directory(real.id) / "media/screen.mp4"));
    EXPECT_TRUE(source(outside).isEmpty());
    EXPECT_TRUE(source(silent).isEmpty());
}

} // namespace

} // namespace orvo::test
