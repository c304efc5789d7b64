#include "EditorFixture.h"
#include "EditorGeometry/PreviewGeometry.h"
#include "OrvoVideo/editor/PreviewMarks.h"
#include "OrvoVideo/editor/PreviewScene.h"
#include "TestSupport/Media.h"
#include "VideoMedia/ExportService.h"
#include "VideoMedia/FfprobeMediaProbe.h"

#include <QPainter>
#include <QTest>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;

class PreviewTests : public EditorFixture { };

/// The bounding rectangle of all bright pixels.
QRect inked(const QImage& image)
{
    QRect found;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qGray(image.pixel(x, y)) > 128)
                found |= QRect(x, y, 1, 1);
        }
    }
    return found;
}

TEST_F(PreviewTests, DragsAnOverlayInOneUndoStep)
{
    auto demo = silent();
    demo.edit.overlays.edit().push_back({.content = "Hola", .start = 0, .end = 5, .x = 0.25, .y = 0.25});
    show(demo);
    auto* text = control(QAccessible::Graphic, "Hola");
    ASSERT_TRUE(text);
    const auto* frame = text->parentItem();
    EXPECT_NEAR(text->x(), 0.25 * frame->width(), 1);
    // A line of text is 1080 / 28 = 38 pixels high.
    EXPECT_NEAR(text->height() / frame->height(), 38.0 / 1080, 0.005);

    const QPoint from = centre(text);
    drag(from, from + QPoint(static_cast<int>(frame->width() / 4), static_cast<int>(frame->height() / 2)));
    EXPECT_NEAR(project().edit.overlays.front().x, 0.5, 0.01);
    EXPECT_NEAR(project().edit.overlays.front().y, 0.75, 0.01);
    model->undo();
    EXPECT_EQ(project().edit.overlays, demo.edit.overlays);

    model->seek(5);
    EXPECT_FALSE(text->isVisible());
}

TEST_F(PreviewTests, ShowsTheCameraUntilTheEndOfItsFile)
{
    auto demo = silent();
    demo.tracks.edit().push_back(track(TrackKind::camera, "media/camera.mov", 0, 2));
    fs::create_directories(store.directory(demo.id) / "media");
    makeVideo(store.mediaURL(demo, "media/camera.mov"), "testsrc2=size=64x36:rate=10:duration=2");
    show(demo);
    const auto* scene = view->rootObject()->findChild<PreviewScene*>();
    ASSERT_TRUE(scene);
    EXPECT_FALSE(scene->cameraShown());
    ASSERT_TRUE(waitUntil([&] { return camera->hasComposition(); }));
    camera->image = QImage(64, 36, QImage::Format_RGB32);
    emit camera->frameChanged();
    auto* cameraItem = item("camera");
    ASSERT_TRUE(cameraItem);
    for (const auto& [time, isShown] : {std::pair(1.9, true), {2.1, false}, {0.5, true}}) {
        model->seek(time);
        EXPECT_EQ(cameraItem->isVisible(), isShown) << time;
    }
    // Playback beyond the end of its file does not loop the last frame.
    model->play();
    player->tick(3);
    EXPECT_EQ(camera->rate(), 0);
    EXPECT_FALSE(cameraItem->isVisible());
}

TEST_F(PreviewTests, DrawsTextsAsInTheExport)
{
    constexpr QSize size(640, 360);
    auto demo = VideoProject::make("Demo");
    demo.duration = 1;
    demo.width = size.width();
    demo.height = size.height();
    demo.edit.fade = 0;
    demo.tracks = {track(TrackKind::screen, "media/screen.mov", 0, 1)};
    add(demo);
    makeVideo(store.mediaURL(demo, "media/screen.mov"), "color=black:size=640x360:rate=10:duration=1");
    for (const std::string text : {"C:\\new\\temp", "\\N\\h\\{}", "   dos", "\tuno\n  \n    tres", "fin\\"}) {
        SCOPED_TRACE(text);
        demo.edit.overlays = {{.content = text, .start = 0, .end = 1, .x = 0.25, .y = 0.25}};
        const auto file = folder / "out.mp4";
        ExportService::exportVideo(demo, store, file, {.height = 360, .fps = 10}, FfprobeMediaProbe());
        const auto film = decodeFrames(file).front();
        const QImage burned(film.pixels.data(), film.width, film.height, film.width * 3, QImage::Format_RGB888);

        QImage drawn(size, QImage::Format_RGB888);
        drawn.fill(Qt::black);
        OverlayText preview;
        preview.setProperty("text", QString::fromStdString(text));
        preview.setProperty("textSize", PreviewGeometry::textSize(size.height()));
        preview.setProperty("lineWidth", size.width());
        QPainter painter(&drawn);
        painter.translate(size.width() / 4, size.height() / 4);
        preview.paint(&painter);
        painter.end();

        const QRect inFilm = inked(burned);
        const QRect inPreview = inked(drawn);
        ASSERT_FALSE(inFilm.isEmpty());
        EXPECT_NEAR(inPreview.left(), inFilm.left(), 2);
        EXPECT_NEAR(inPreview.right(), inFilm.right(), 3);
        EXPECT_NEAR(inPreview.top(), inFilm.top(), 2);
        EXPECT_NEAR(inPreview.bottom(), inFilm.bottom(), 2);
    }
}

TEST_F(PreviewTests, UpdatesZoomAndPointerWithTheTime)
{
    auto demo = silent();
    demo.edit.events = {pointer(PointerKind::move, 1, 0.5, 0.25), pointer(PointerKind::zoom, 2, 1, 0.5)};
    demo.edit.events.edit()[1].scale = 2;
    show(demo);
    auto* pointerMark = item("pointer");
    EXPECT_FALSE(pointerMark->isVisible());
    model->seek(1.1);
    EXPECT_TRUE(pointerMark->isVisible());
    auto* magnified = pointerMark->parentItem();
    EXPECT_NEAR(pointerMark->x() + pointerMark->width() / 2, magnified->width() / 2, 1);
    EXPECT_NEAR(pointerMark->y() + pointerMark->height() / 2, magnified->height() / 4, 1);
    EXPECT_EQ(magnified->scale(), 1);
    model->seek(3);
    EXPECT_EQ(magnified->scale(), 2);
    EXPECT_NEAR(magnified->x(), -magnified->width(), 1) << "the right half";
    EXPECT_NEAR(magnified->y(), -magnified->height() / 2, 1);
}

TEST_F(PreviewTests, FramesAZoomOnTheWholeFrame)
{
    show(silent());
    model->seek(2);
    auto* frame = item("zoomFrame");
    auto* part = item("zoomPart");
    auto* magnified = item("screen")->parentItem();
    EXPECT_FALSE(frame->isVisible());
    key(Qt::Key_Z);
    EXPECT_TRUE(frame->isVisible());
    EXPECT_EQ(magnified->scale(), 1) << "shows the whole frame";
    EXPECT_NEAR(part->width(), frame->width() / 1.8, 1);
    view->grabWindow();
    const QPoint by(static_cast<int>(frame->width() / 10), static_cast<int>(-frame->height() / 20));
    drag(centre(part), centre(part) + by);
    const auto zoom = [&] { return project().edit.events.back(); };
    EXPECT_NEAR(zoom().x, 0.6, 0.01);
    EXPECT_NEAR(zoom().y, 0.45, 0.01);
    EXPECT_EQ(zoom().scale, 1.8);
    EXPECT_EQ(model->editing()->undoName(), "mover un zoom");
    const auto corner = part->mapToScene({part->width(), part->height()}).toPoint();
    drag(corner, corner - QPoint(static_cast<int>(frame->width() / 1.8 - frame->width() / 3), 40));
    EXPECT_NEAR(zoom().scale, 3, 0.05);
    EXPECT_NEAR(zoom().x - 0.5 / zoom().scale, 0.6 - 0.5 / 1.8, 0.01) << "the opposite corner stays";
    EXPECT_EQ(model->editing()->undoName(), "encuadrar un zoom");
    model->undo();
    EXPECT_EQ(zoom().scale, 1.8) << "one undo step";
    part->forceActiveFocus();
    key(Qt::Key_Right);
    EXPECT_NEAR(zoom().x, 0.61, 0.01);
    key(Qt::Key_Plus);
    EXPECT_NEAR(zoom().scale, 1.98, 0.01);
    // Outside the zoom point and after Escape, the zoom frame is hidden.
    model->seek(9);
    EXPECT_FALSE(frame->isVisible());
    model->seek(3);
    EXPECT_TRUE(frame->isVisible());
    part->forceActiveFocus();
    key(Qt::Key_Escape);
    EXPECT_FALSE(frame->isVisible());
    EXPECT_GT(magnified->scale(), 1.9);
}

TEST_F(PreviewTests, EditsATextOnTheFrame)
{
    auto demo = silent();
    demo.edit.overlays.edit().push_back({.content = "Hola", .start = 0, .end = 5, .x = 0.25, .y = 0.25});
    show(demo);
    view->grabWindow();
    const auto text = [&] { return project().edit.overlays.front().content; };
    const auto editor = [&] {
        auto* focused = view->activeFocusItem();
        return focused && focused->objectName() == "overlayEditor" ? focused : nullptr;
    };
    const auto edit = [&](const QString& shown) {
        auto* overlay = control(QAccessible::Graphic, shown);
        ASSERT_TRUE(overlay);
        QTest::mouseDClick(view.get(), Qt::LeftButton, {}, centre(overlay));
        ASSERT_TRUE(waitUntil([&] { return editor() != nullptr; }));
    };
    edit("Hola");
    type("Ñu x");
    EXPECT_EQ(text(), "Hola");
    key(Qt::Key_Return);
    EXPECT_EQ(text(), "Ñu x");
    EXPECT_FALSE(editor());
    EXPECT_EQ(model->editing()->undoName(), "cambiar un texto");
    model->undo();
    EXPECT_EQ(text(), "Hola") << "one undo step";
    EXPECT_FALSE(model->canUndo());

    edit("Hola");
    type("nada");
    key(Qt::Key_Escape);
    EXPECT_EQ(text(), "Hola");
    EXPECT_FALSE(model->canUndo());

    edit("Hola");
    type("Adiós");
    key(Qt::Key_Return, Qt::ShiftModifier);
    type("todos");
    QTest::mouseClick(view.get(), Qt::LeftButton, {}, view->rootObject()->mapToScene({60, 120}).toPoint());
    EXPECT_EQ(text(), "Adiós\ntodos") << "a click elsewhere commits the text";

    edit("Adiós\ntodos");
    type("fin");
    model->flushSave(); // Saving commits the typed text.
    EXPECT_EQ(text(), "fin");
    control(QAccessible::Graphic, "fin")->forceActiveFocus();
    key(Qt::Key_Return); // Return also starts editing; a blank text is discarded.
    ASSERT_TRUE(waitUntil([&] { return editor() != nullptr; }));
    type(" ");
    key(Qt::Key_Return);
    EXPECT_EQ(text(), "fin");
}

TEST_F(PreviewTests, AlignsAndNudgesAnOverlay)
{
    auto demo = silent();
    demo.edit.overlays.edit().push_back({.content = "Hola", .start = 0, .end = 5, .x = 0.25, .y = 0.25});
    show(demo);
    auto* text = control(QAccessible::Graphic, "Hola");
    ASSERT_TRUE(text);
    const double frame = text->parentItem()->width();
    const double middle = frame / 2 - text->width() / 2;
    const QPoint from = centre(text);
    drag(from, from + QPoint(static_cast<int>(middle - text->x()) + 4, 0));
    EXPECT_NEAR(project().edit.overlays.front().x + text->width() / frame / 2, 0.5, 0.001) << "snaps to the middle";
    const double x = project().edit.overlays.front().x;
    key(Qt::Key_Right);
    EXPECT_NEAR(project().edit.overlays.front().x, x + 1.0 / 1920, 1e-9);
    key(Qt::Key_Left, Qt::ShiftModifier);
    EXPECT_NEAR(project().edit.overlays.front().x, x - 9.0 / 1920, 1e-9);
    EXPECT_EQ(model->playhead(), 0) << "the arrows move the overlay, not the playhead";
    key(Qt::Key_Delete);
    EXPECT_TRUE(project().edit.overlays.empty());
}

TEST_F(PreviewTests, ShowsTheFadesOfTheFilm)
{
    auto demo = silent();
    demo.edit.cuts = {{2, 4}};
    demo.edit.fade = 0.5;
    show(demo);
    const auto* scene = view->rootObject()->findChild<PreviewScene*>();
    ASSERT_TRUE(scene);
    EXPECT_EQ(scene->dip(), 0) << "an opened project shows its first frame";
    for (const auto& [time, dip] : {std::pair(0.1, 0.8), {1.0, 0.0}, {1.8, 0.6}, {3.0, 0.0}, {4.0, 1.0}, {4.4, 0.2}}) {
        model->seek(time);
        EXPECT_NEAR(scene->dip(), dip, 1e-6) << time;
    }
    model->editing()->setValue("fade", 0);
    model->seek(4);
    EXPECT_EQ(scene->dip(), 0);
}

} // namespace

} // namespace orvo::test
