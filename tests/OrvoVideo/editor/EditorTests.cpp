#include "EditorFixture.h"
#include "EditorGeometry/PreviewGeometry.h"
#include "EditorGeometry/TimelineTargets.h"
#include "OrvoVideo/editor/PreviewMarks.h"
#include "OrvoVideo/editor/PreviewScene.h"
#include "OrvoVideo/editor/TimelineItem.h"
#include "TestSupport/Media.h"
#include "VideoMedia/ExportService.h"
#include "VideoMedia/FfprobeMediaProbe.h"

#include <QPainter>
#include <QTest>
#include <algorithm>
#include <cmath>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using testing::DoubleNear;
using testing::ElementsAre;

constexpr double zoomRow = TimelineRows::zoomsTop() + TimelineRows::lane / 2;
constexpr double cutRow = TimelineRows::cutsTop() + TimelineRows::lane / 2;
constexpr double trackRow = TimelineRows::tracksTop() + TimelineRows::track / 2;

/// As near as a pixel of the timeline is.
constexpr double pixel = 0.02;

auto isSpan(double start, double end)
{
    return testing::AllOf(
        testing::Field(&TimeSpan::start, DoubleNear(start, pixel)), testing::Field(&TimeSpan::end, DoubleNear(end, pixel)));
}

VideoProject silent(double duration = 10)
{
    auto project = VideoProject::make("Demo");
    project.duration = duration;
    project.tracks = {track(TrackKind::screen, "media/none.mov", 0, duration)};
    return project;
}

class TimelineTests : public EditorFixture { };

TEST_F(TimelineTests, SelectsByDraggingAndCutsWithAKey)
{
    show(silent());
    drag(place(2, trackRow), place(4, trackRow), Qt::ShiftModifier);
    EXPECT_NEAR(model->selectedSpan().start, 2, pixel);
    EXPECT_NEAR(model->selectedSpan().end, 4, pixel);
    EXPECT_FALSE(model->canUndo()) << "a selection is no edit";

    drag(place(3.98, trackRow), place(5, trackRow), Qt::ShiftModifier);
    EXPECT_NEAR(model->selectedSpan().start, 2, pixel);
    EXPECT_NEAR(model->selectedSpan().end, 5, pixel * 2) << "the handle was taken";

    key(Qt::Key_X);
    EXPECT_THAT(project().edit.cuts.items(), ElementsAre(isSpan(2, 5)));
    key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_TRUE(project().edit.cuts.empty());
    key(Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(project().edit.cuts.size(), 1);
}

TEST_F(TimelineTests, AnEdgeOfACutIsAppliedWhenItIsLetGo)
{
    auto demo = silent();
    demo.edit.cuts = {{1, 3}, {7, 8}};
    show(demo);
    press(place(3, cutRow));
    for (const double time : {3.3, 3.8, 5.0})
        move(place(time, cutRow));
    EXPECT_EQ(project().edit.cuts.items(), demo.edit.cuts.items()) << "nothing is edited while it is dragged";
    release(place(5, cutRow));
    EXPECT_THAT(project().edit.cuts.items(), ElementsAre(isSpan(1, 5), isSpan(7, 8)));
    key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(project().edit.cuts.items(), demo.edit.cuts.items()) << "one step";
    EXPECT_FALSE(model->canUndo());

    // Near another edge it holds on to it exactly, unless Shift is held.
    drag(place(7, cutRow), place(3.04, cutRow));
    EXPECT_EQ(project().edit.cuts.items(), (std::vector<TimeSpan>{{1, 8}})) << "cuts that touch are one";
    model->undo();

    press(place(3, cutRow));
    move(place(4, cutRow));
    move(place(5, cutRow));
    key(Qt::Key_Escape);
    release(place(5, cutRow));
    EXPECT_EQ(project().edit.cuts.items(), demo.edit.cuts.items()) << "Escape gives the drag up";
}

TEST_F(TimelineTests, ADoubleClickRestoresACut)
{
    auto demo = silent();
    demo.edit.cuts = {{1, 3}, {7, 8}};
    show(demo);
    QTest::mouseDClick(view.get(), Qt::LeftButton, {}, place(2, trackRow));
    EXPECT_THAT(project().edit.cuts.items(), ElementsAre(isSpan(7, 8)));
}

TEST_F(TimelineTests, ZoomPointsAreMovedAndStretched)
{
    auto demo = silent();
    demo.edit.events = {pointer(PointerKind::move, 0.1), pointer(PointerKind::zoom, 2)}; // 2..4.5
    show(demo);
    drag(place(3, zoomRow), place(5, zoomRow), Qt::ShiftModifier);
    EXPECT_NEAR(project().edit.events[1].time, 4, pixel * 2);
    EXPECT_DOUBLE_EQ(project().edit.events[1].duration, 2.5);
    const double end = project().edit.events[1].time + 2.5;
    drag(place(end, zoomRow), place(9, zoomRow), Qt::ShiftModifier);
    EXPECT_NEAR(project().edit.events[1].time + project().edit.events[1].duration, 9, pixel * 2);
    key(Qt::Key_Delete);
    EXPECT_THAT(project().edit.events.items(), testing::SizeIs(1)) << "the one last taken is removed";
}

TEST_F(TimelineTests, TheRulerLeadsThePlayhead)
{
    show(silent());
    drag(place(2, 10), place(6, 10), Qt::ShiftModifier);
    EXPECT_NEAR(model->playhead(), 6, pixel);
    EXPECT_NEAR(player->seeks.back(), 6, pixel);
    EXPECT_GE(player->seeks.size(), 4) << "the picture follows";
    QTest::mouseClick(view.get(), Qt::LeftButton, {}, place(8, trackRow));
    EXPECT_NEAR(model->playhead(), 8, pixel);
}

TEST_F(TimelineTests, TheWheelZoomsRoundThePointer)
{
    show(silent());
    const QPoint at = place(7, trackRow);
    QWheelEvent wheel(at, view->mapToGlobal(at), {}, {0, 360}, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(view.get(), &wheel);
    EXPECT_FALSE(timeline().fits());
    EXPECT_NEAR(timeline().timeAt(timeline().mapFromScene(at).x()), 7, pixel);
    key(Qt::Key_0);
    EXPECT_TRUE(timeline().fits());
}

class KeyTests : public EditorFixture { };

TEST_F(TimelineTests, ReadsNoFileThatIsBeingRecorded)
{
    show(lesson());
    for (const bool recorded : {true, false}) {
        model->update(
            [recorded](VideoProject& changed) { changed.state = recorded ? ProjectState::recording : ProjectState::ready; });
        EXPECT_NE(timeline().preparing(), recorded);
    }
}

TEST_F(KeyTests, TheWholeCutIsDoneFromTheKeyboard)
{
    show(silent());
    for (int i = 0; i < 3; ++i)
        key(Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_DOUBLE_EQ(model->playhead(), 3);
    key(Qt::Key_Right);
    EXPECT_NEAR(model->playhead(), 3 + 1.0 / 30, 1e-6);
    key(Qt::Key_Left);
    key(Qt::Key_I);
    key(Qt::Key_End);
    EXPECT_DOUBLE_EQ(model->playhead(), 10);
    key(Qt::Key_Left, Qt::ShiftModifier);
    key(Qt::Key_O);
    key(Qt::Key_Delete);
    EXPECT_THAT(project().edit.cuts.items(), ElementsAre(isSpan(3, 9)));

    key(Qt::Key_Home);
    key(Qt::Key_Down);
    EXPECT_NEAR(model->playhead(), 3, 1e-6) << "the next edge";
    key(Qt::Key_Right, Qt::ControlModifier); // marks the cut
    EXPECT_EQ(timeline().chosenKind(), "cut");
    key(Qt::Key_Right, Qt::AltModifier | Qt::ShiftModifier);
    EXPECT_THAT(project().edit.cuts.items(), ElementsAre(isSpan(3, 9 + 1.0 / 30)));
    EXPECT_TRUE(timeline().spokenPosition().endsWith("dentro de un corte")) << timeline().spokenPosition().toStdString();
    key(Qt::Key_Return);
    EXPECT_TRUE(project().edit.cuts.empty());

    key(Qt::Key_Z);
    ASSERT_EQ(project().edit.events.size(), 1);
    EXPECT_NEAR(project().edit.events.front().time, model->playhead(), 1e-6);
}

TEST_F(KeyTests, SpaceAndTheShuttleKeysPlay)
{
    show(silent());
    key(Qt::Key_Space);
    EXPECT_EQ(player->rate(), 1);
    key(Qt::Key_Space);
    EXPECT_EQ(player->rate(), 0);
    key(Qt::Key_L);
    key(Qt::Key_L);
    EXPECT_EQ(player->rate(), 2);
    key(Qt::Key_K);
    EXPECT_EQ(player->rate(), 0);

    model->update([](VideoProject& edited) { edited.edit.cuts = {{1, 4.9}}; });
    model->seek(5);
    key(Qt::Key_J);
    key(Qt::Key_J);
    key(Qt::Key_J);
    EXPECT_TRUE(waitUntil([&] { return model->playhead() < 1.001; })) << "it plays backwards, over the cut";
    for (const double time : player->seeks)
        EXPECT_FALSE(time > 1.001 && time < 4.899) << time;
    key(Qt::Key_K);
    const auto seeks = player->seeks.size();
    EXPECT_EQ(player->rate(), 0);
    EXPECT_EQ(player->seeks.size(), seeks);
}

TEST_F(KeyTests, AFieldThatIsEditedKeepsItsKeys)
{
    show(silent());
    key(Qt::Key_T);
    ASSERT_EQ(view->activeFocusItem(), item("overlayText"));
    type(QStringLiteral("xzi jkl"));
    key(Qt::Key_Left);
    key(Qt::Key_Delete);
    EXPECT_EQ(project().edit, EditState());
    EXPECT_EQ(model->playhead(), 0);
    EXPECT_EQ(player->rate(), 0);
    key(Qt::Key_Return);
    ASSERT_EQ(project().edit.overlays.size(), 1);
    EXPECT_EQ(project().edit.overlays.front().content, "xzi jk");
    EXPECT_EQ(item("overlayText")->property("text"), "");
}

/// The transcript as a list.
class TranscriptTests : public EditorFixture {
protected:
    void show(VideoProject project)
    {
        EditorFixture::show(std::move(project));
        item("textSection")->setProperty("asList", true);
    }
    void TearDown() override
    {
        item("textSection")->setProperty("asList", false); // It is remembered.
        EditorFixture::TearDown();
    }
};

TEST_F(TranscriptTests, WordsAreCorrectedCutAndRestored)
{
    show(lesson());
    ASSERT_TRUE(waitUntil([&] { return control(QAccessible::ListItem, "mundo") != nullptr; }));
    EXPECT_TRUE(control(QAccessible::ListItem, "eh, muletilla"));

    // Mark from the second to the third word, with the pause between them, and cut them with one key.
    const auto row = [&](const QString& name) {
        auto* entry = control(QAccessible::ListItem, name);
        return entry->mapToScene({entry->width() - 60, entry->height() - 16}).toPoint();
    };
    QTest::mouseClick(view.get(), Qt::LeftButton, {}, row("eh, muletilla"));
    QTest::mouseClick(view.get(), Qt::LeftButton, Qt::ShiftModifier, row("mundo"));
    EXPECT_NEAR(model->selectedSpan().start, 1.5, 1e-9);
    EXPECT_NEAR(model->selectedSpan().end, 3.5, 1e-9);
    key(Qt::Key_Delete);
    EXPECT_EQ(project().edit.cuts.items(), (std::vector<TimeSpan>{{1.5, 3.5}}));
    ASSERT_TRUE(waitUntil([&] { return control(QAccessible::ListItem, "mundo, cortado") != nullptr; }));
    key(Qt::Key_Delete);
    EXPECT_TRUE(project().edit.cuts.empty()) << "the same key restores what is cut";

    // Correct a word where it stands.
    auto* field = control(QAccessible::ListItem, "hola");
    ASSERT_TRUE(field);
    QTest::mouseDClick(view.get(), Qt::LeftButton, {}, field->mapToScene({90, field->height() - 16}).toPoint());
    key(Qt::Key_A, Qt::ControlModifier);
    type(QStringLiteral("buenas"));
    key(Qt::Key_Return);
    EXPECT_EQ(project().edit.words.front().text, "buenas");

    item("search")->setProperty("text", QStringLiteral("ADIOS"));
    item("search")->forceActiveFocus();
    key(Qt::Key_Return);
    EXPECT_DOUBLE_EQ(model->playhead(), 4) << "found whatever its case and accents";
}

TEST_F(TranscriptTests, AWordThatIsScrolledAwayKeepsWhatWasTyped)
{
    auto demo = silent(3600);
    fillOneHour(demo);
    show(demo);
    click(QAccessible::EditableText, "Fragmento");
    key(Qt::Key_A, Qt::ControlModifier);
    type(QStringLiteral("tecleado"));
    QMetaObject::invokeMethod(item("words"), "positionViewAtEnd");
    view->grabWindow();
    key(Qt::Key_Tab);
    EXPECT_EQ(project().edit.words.front().text, "tecleado");
    EXPECT_EQ(std::ranges::count(project().edit.words, "tecleado", &TranscriptWord::text), 1);
}

TEST_F(TranscriptTests, NineThousandWordsMakeAFewEntries)
{
    auto demo = silent(3600);
    fillOneHour(demo);
    show(demo);
    auto* content = item("words")->property("contentItem").value<QQuickItem*>();
    ASSERT_TRUE(waitUntil([&] { return !content->childItems().isEmpty(); }));
    for (const double time : {1800.0, 3599.0, 3.0}) {
        model->play();
        player->tick(time);
        QCoreApplication::processEvents();
        EXPECT_LT(content->childItems().size(), 80);
    }
}

class InspectorTests : public EditorFixture { };

TEST_F(InspectorTests, ControlsEditTheProject)
{
    auto demo = silent();
    demo.edit.cuts = {{1, 2}, {4, 5}};
    show(demo);
    ASSERT_TRUE(view->rootObject()->setProperty("section", "effects"));
    click(QAccessible::CheckBox, "Resaltar puntero");
    EXPECT_FALSE(project().edit.pointerHighlight);
    key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_TRUE(project().edit.pointerHighlight);

    auto* restore = control(QAccessible::Button, "Restaurar");
    ASSERT_TRUE(restore);
    click(QAccessible::Button, "Restaurar");
    EXPECT_EQ(project().edit.cuts.items(), (std::vector<TimeSpan>{{4, 5}}));
    click(QAccessible::Button, "Ver");
    EXPECT_EQ(model->playhead(), 4);
}

TEST_F(InspectorTests, EscapeGivesUpWhatWasTyped)
{
    auto demo = silent();
    demo.edit.words = {word("hola", 0.5, 1)};
    demo.edit.overlays.edit().push_back({.content = "Hola", .start = 0, .end = 5, .x = 0.25, .y = 0.25});
    show(demo);
    item("textSection")->setProperty("asList", true);
    struct Case {
        const char* section;
        QAccessible::Role role;
        const char* name;
        const char* shown;
    };
    for (const auto& [section, role, name, shown] : {Case{"text", QAccessible::EditableText, "Fragmento", "hola"},
             Case{"effects", QAccessible::EditableText, "Texto en pantalla", "Hola"},
             Case{"text", QAccessible::SpinBox, "Inicio", "0,00"}, Case{"text", QAccessible::SpinBox, "Final", "1,00"}}) {
        SCOPED_TRACE(name);
        view->rootObject()->setProperty("section", section);
        QQuickItem* field = nullptr;
        ASSERT_TRUE(waitUntil([&] { return (field = control(role, name, shown)) != nullptr; }));
        field->forceActiveFocus(Qt::MouseFocusReason);
        key(Qt::Key_A, Qt::ControlModifier);
        type(QStringLiteral("5"));
        ASSERT_EQ(field->property("text"), "5");
        key(Qt::Key_Escape);
        EXPECT_FALSE(field->hasActiveFocus());
        EXPECT_EQ(field->property("text"), shown);
        EXPECT_FALSE(model->canUndo());
        EXPECT_EQ(model->selectedSpan(), (Span{0, 1}));
    }
    item("textSection")->setProperty("asList", false); // It is remembered.
}

TEST_F(InspectorTests, EveryControlHasANameAndARole)
{
    auto demo = silent();
    demo.edit = fullProject().edit;
    show(demo);
    QStringList nameless;
    int seen = 0;
    const std::function<void(QQuickItem*)> walk = [&](QQuickItem* root) {
        if (!root->isVisible())
            return;
        if (root->activeFocusOnTab()) {
            ++seen;
            auto* interface = QAccessible::queryAccessibleInterface(root);
            if (!interface || interface->role() == QAccessible::NoRole || interface->text(QAccessible::Name).isEmpty())
                nameless.append(QString::fromLatin1(root->metaObject()->className()) + " in "
                    + QString::fromLatin1(root->parentItem()->metaObject()->className()));
        }
        for (auto* child : root->childItems())
            walk(child);
    };
    for (const char* section : {"text", "effects", "share"}) {
        view->rootObject()->setProperty("section", section);
        QCoreApplication::processEvents();
        walk(view->contentItem());
    }
    EXPECT_EQ(nameless.join("\n"), "");
    EXPECT_GT(seen, 40);
}

class PreviewTests : public EditorFixture { };

/// The smallest rectangle that holds everything bright.
QRect inked(const QImage& picture)
{
    QRect found;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            if (qGray(picture.pixel(x, y)) > 128)
                found |= QRect(x, y, 1, 1);
        }
    }
    return found;
}

TEST_F(PreviewTests, AnOverlayIsDraggedOnThePictureInOneStep)
{
    auto demo = silent();
    demo.edit.overlays.edit().push_back({.content = "Hola", .start = 0, .end = 5, .x = 0.25, .y = 0.25});
    show(demo);
    auto* text = control(QAccessible::Graphic, "Hola");
    ASSERT_TRUE(text);
    const auto* picture = text->parentItem();
    EXPECT_NEAR(text->x(), 0.25 * picture->width(), 1);
    // 1080 / 28 = 38 lines of the picture for one line of text.
    EXPECT_NEAR(text->height() / picture->height(), 38.0 / 1080, 0.005);

    const QPoint from = centre(text);
    drag(from, from + QPoint(static_cast<int>(picture->width() / 4), static_cast<int>(picture->height() / 2)));
    EXPECT_NEAR(project().edit.overlays.front().x, 0.5, 0.01);
    EXPECT_NEAR(project().edit.overlays.front().y, 0.75, 0.01);
    model->undo();
    EXPECT_EQ(project().edit.overlays, demo.edit.overlays);

    model->seek(5);
    EXPECT_FALSE(text->isVisible());
}

TEST_F(PreviewTests, TheCameraIsShownUntilTheEndOfItsFile)
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
    camera->picture = QImage(64, 36, QImage::Format_RGB32);
    emit camera->frameChanged();
    auto* picture = item("camera");
    ASSERT_TRUE(picture);
    for (const auto& [time, isShown] : {std::pair(1.9, true), {2.1, false}, {0.5, true}}) {
        model->seek(time);
        EXPECT_EQ(picture->isVisible(), isShown) << time;
    }
    // Playing on behind the end does not play the last frame again and again.
    model->play();
    player->tick(3);
    EXPECT_EQ(camera->rate(), 0);
    EXPECT_FALSE(picture->isVisible());
}

TEST_F(PreviewTests, TextsLookAsInTheExport)
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
        QImage burned(film.pixels.data(), film.width, film.height, film.width * 3, QImage::Format_RGB888);

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

TEST_F(PreviewTests, TheZoomAndThePointerFollowTheTime)
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

} // namespace

} // namespace orvo::test
