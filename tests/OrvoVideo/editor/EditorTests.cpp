#include "EditorFixture.h"
#include "EditorGeometry/TimelineTargets.h"
#include "OrvoVideo/editor/TimelineItem.h"

#include <QTest>
#include <algorithm>

namespace orvo::test {

namespace {

using testing::DoubleNear;
using testing::ElementsAre;

/// The tolerance: seconds per pixel of the timeline.
constexpr double pixel = 0.02;

auto isSpan(double start, double end)
{
    return testing::AllOf(
        testing::Field(&TimeSpan::start, DoubleNear(start, pixel)), testing::Field(&TimeSpan::end, DoubleNear(end, pixel)));
}

class TimelineTests : public EditorFixture {
protected:
    // The centres of the rows in the current layout.
    double zoomRow() const { return TimelineRows(project()).zoomsTop() + TimelineRows::lane / 2; }
    double cutRow() const { return TimelineRows(project()).cutsTop() + TimelineRows::lane / 2; }
    double trackRow() const { return TimelineRows(project()).tracksTop() + TimelineRows::track / 2; }
};

TEST_F(TimelineTests, SelectsByDraggingAndCutsWithAKey)
{
    show(silent());
    drag(place(2, trackRow()), place(4, trackRow()), Qt::ShiftModifier);
    EXPECT_NEAR(model->selectedSpan().start, 2, pixel);
    EXPECT_NEAR(model->selectedSpan().end, 4, pixel);
    EXPECT_FALSE(model->canUndo()) << "a selection is not an edit";

    drag(place(3.98, trackRow()), place(5, trackRow()), Qt::ShiftModifier);
    EXPECT_NEAR(model->selectedSpan().start, 2, pixel);
    EXPECT_NEAR(model->selectedSpan().end, 5, pixel * 2) << "drags the handle";

    key(Qt::Key_X);
    EXPECT_THAT(project().edit.cuts.items(), ElementsAre(isSpan(2, 5)));
    key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_TRUE(project().edit.cuts.empty());
    key(Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(project().edit.cuts.size(), 1);
}

TEST_F(TimelineTests, AppliesADraggedCutEdgeOnRelease)
{
    auto demo = silent();
    demo.edit.cuts = {{1, 3}, {7, 8}};
    show(demo);
    press(place(3, cutRow()));
    for (const double time : {3.3, 3.8, 5.0})
        move(place(time, cutRow()));
    EXPECT_EQ(project().edit.cuts.items(), demo.edit.cuts.items()) << "does not edit during the drag";
    release(place(5, cutRow()));
    EXPECT_THAT(project().edit.cuts.items(), ElementsAre(isSpan(1, 5), isSpan(7, 8)));
    key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(project().edit.cuts.items(), demo.edit.cuts.items()) << "one undo step";
    EXPECT_FALSE(model->canUndo());

    // Snaps to another edge unless Shift is pressed.
    drag(place(7, cutRow()), place(3.04, cutRow()));
    EXPECT_EQ(project().edit.cuts.items(), (std::vector<TimeSpan>{{1, 8}})) << "merges cuts that touch";
    model->undo();

    press(place(3, cutRow()));
    move(place(4, cutRow()));
    move(place(5, cutRow()));
    key(Qt::Key_Escape);
    release(place(5, cutRow()));
    EXPECT_EQ(project().edit.cuts.items(), demo.edit.cuts.items()) << "Escape cancels the drag";
}

TEST_F(TimelineTests, RestoresACutOnDoubleClick)
{
    auto demo = silent();
    demo.edit.cuts = {{1, 3}, {7, 8}};
    show(demo);
    QTest::mouseDClick(view.get(), Qt::LeftButton, {}, place(2, trackRow()));
    EXPECT_THAT(project().edit.cuts.items(), ElementsAre(isSpan(7, 8)));
}

TEST_F(TimelineTests, MovesAndStretchesZoomPoints)
{
    auto demo = silent();
    demo.edit.events = {pointer(PointerKind::move, 0.1), pointer(PointerKind::zoom, 2)}; // 2..4.5
    show(demo);
    drag(place(3, zoomRow()), place(5, zoomRow()), Qt::ShiftModifier);
    EXPECT_NEAR(project().edit.events[1].time, 4, pixel * 2);
    EXPECT_DOUBLE_EQ(project().edit.events[1].duration, 2.5);
    const double end = project().edit.events[1].time + 2.5;
    drag(place(end, zoomRow()), place(9, zoomRow()), Qt::ShiftModifier);
    EXPECT_NEAR(project().edit.events[1].time + project().edit.events[1].duration, 9, pixel * 2);
    key(Qt::Key_Delete);
    EXPECT_THAT(project().edit.events.items(), testing::SizeIs(1)) << "removes the marked zoom point";
}

TEST_F(TimelineTests, MovesThePlayheadWithTheRuler)
{
    show(silent());
    drag(place(2, 10), place(6, 10), Qt::ShiftModifier);
    EXPECT_NEAR(model->playhead(), 6, pixel);
    EXPECT_NEAR(player->seeks.back(), 6, pixel);
    EXPECT_GE(player->seeks.size(), 4) << "the preview follows";
    QTest::mouseClick(view.get(), Qt::LeftButton, {}, place(8, trackRow()));
    EXPECT_NEAR(model->playhead(), 8, pixel);
}

TEST_F(TimelineTests, ZoomsAroundThePlayheadOrElseThePointer)
{
    show(silent());
    const auto turn = [&](QPoint at) {
        QWheelEvent wheel(at, view->mapToGlobal(at), {}, {0, 360}, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(view.get(), &wheel);
    };
    model->seek(4);
    const double place = timeline().playheadX();
    turn(this->place(7, trackRow()));
    EXPECT_FALSE(timeline().fits());
    EXPECT_NEAR(timeline().playheadX(), place, 1) << "the playhead stays in place";
    ASSERT_TRUE(waitUntil([&] { return item("overview")->isVisible() && item("overview")->width() > 100; }));

    // A click on the overview scrolls the playhead out of view.
    model->seek(0);
    const auto* overview = item("overview");
    QTest::mouseClick(
        view.get(), Qt::LeftButton, {}, overview->mapToScene({overview->width() * 0.9, overview->height() / 2}).toPoint());
    EXPECT_NEAR(timeline().timeAt(timeline().width()), 10, 0.05);
    const QPoint at = this->place(7, trackRow());
    turn(at);
    EXPECT_NEAR(timeline().timeAt(timeline().mapFromScene(at).x()), 7, pixel);
    key(Qt::Key_Plus);
    EXPECT_NEAR(timeline().playheadX(), 0, 1) << "the key scrolls to the playhead";
    key(Qt::Key_0);
    EXPECT_TRUE(timeline().fits());
    EXPECT_FALSE(item("overview")->isVisible());
}

TEST_F(TimelineTests, ShowsThePreviewAlone)
{
    show(silent());
    const auto* frame = control(QAccessible::Graphic, "Vista previa");
    const double before = frame->height();
    key(Qt::Key_F);
    EXPECT_TRUE(waitUntil([&] { return !timeline().isVisible() && frame->height() > before + 100; }));
    key(Qt::Key_Space);
    EXPECT_EQ(player->rate(), 1) << "keys still work";
    key(Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([&] { return timeline().isVisible() && frame->height() == before; }));
    click(QAccessible::Button, "Ver solo la imagen");
    click(QAccessible::Button, "Volver al editor");
    EXPECT_TRUE(timeline().isVisible());
}

TEST_F(TimelineTests, ReadsNoFilesDuringRecording)
{
    show(lesson());
    for (const bool recorded : {true, false}) {
        model->update(
            [recorded](VideoProject& changed) { changed.state = recorded ? ProjectState::recording : ProjectState::ready; });
        EXPECT_NE(timeline().preparing(), recorded);
    }
}

class KeyTests : public EditorFixture { };

TEST_F(KeyTests, CutsFromTheKeyboardAlone)
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
    key(Qt::Key_Right, Qt::ControlModifier); // Marks the cut.
    EXPECT_EQ(timeline().chosenKind(), "cut");
    key(Qt::Key_Right, Qt::AltModifier | Qt::ShiftModifier);
    EXPECT_THAT(project().edit.cuts.items(), ElementsAre(isSpan(3, 9 + 1.0 / 30)));
    EXPECT_TRUE(timeline().spokenPosition().endsWith("dentro de un corte")) << timeline().spokenPosition().toStdString();
    key(Qt::Key_Return);
    EXPECT_TRUE(project().edit.cuts.empty());

    key(Qt::Key_Z);
    ASSERT_EQ(project().edit.events.size(), 1);
    const auto& zoom = project().edit.events.front();
    EXPECT_NEAR(model->playhead(), zoom.time + zoom.duration / 2, 1e-6) << "the zoom is visible";
}

TEST_F(KeyTests, PlaysWithSpaceAndTheShuttleKeys)
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
    EXPECT_TRUE(waitUntil([&] { return model->playhead() < 1.001; })) << "plays backwards and skips the cut";
    for (const double time : player->seeks)
        EXPECT_FALSE(time > 1.001 && time < 4.899) << time;
    key(Qt::Key_K);
    const auto seeks = player->seeks.size();
    EXPECT_EQ(player->rate(), 0);
    // Timers fire in order: if backward playback went on, its next step would come before this one.
    QTimer later;
    later.setSingleShot(true);
    later.start(200);
    ASSERT_TRUE(waitUntil([&] { return !later.isActive(); }));
    EXPECT_EQ(player->seeks.size(), seeks);
}

TEST_F(KeyTests, LeavesTheKeysToAFocusedTextField)
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
        item("textSection")->setProperty("asList", false); // The setting is stored.
        EditorFixture::TearDown();
    }
};

TEST_F(TranscriptTests, CorrectsCutsAndRestoresWords)
{
    show(lesson());
    ASSERT_TRUE(waitUntil([&] { return control(QAccessible::ListItem, "mundo") != nullptr; }));
    EXPECT_TRUE(control(QAccessible::ListItem, "eh, muletilla"));

    // Marks the second and third word with the pause between them, and cuts them with one key.
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
    EXPECT_TRUE(project().edit.cuts.empty()) << "the same key restores cut words";

    // Corrects a word in place.
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
    EXPECT_DOUBLE_EQ(model->playhead(), 4) << "ignores case and accents";
}

TEST_F(TranscriptTests, KeepsTypedTextWhenTheWordScrollsAway)
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

TEST_F(TranscriptTests, CreatesVisibleEntriesOnly)
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

TEST_F(InspectorTests, EditsTheProject)
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

TEST_F(InspectorTests, GroupsSuggestionsByKindWithTheTimeSaved)
{
    auto demo = silent();
    demo.edit.words = {word("hola", 0.2, 1), word("eh", 4.25, 4.75), word("adiós", 4.75, 9.9)};
    show(demo);
    ASSERT_TRUE(view->rootObject()->setProperty("section", "effects"));
    click(QAccessible::Button, "Buscar mejoras automáticas");
    EXPECT_TRUE(waitUntil([&] { return control(QAccessible::Heading, "Pausas (1) · 2,9 s") != nullptr; }));
    EXPECT_TRUE(control(QAccessible::Heading, "Muletillas (1) · 0,5 s"));
    EXPECT_TRUE(control(QAccessible::StaticText, "El vídeo quedaría en 00:07,1"));
    click(QAccessible::Button, "Ver");
    EXPECT_TRUE(model->playing());
    EXPECT_TRUE(project().edit.cuts.empty());
    click(QAccessible::Button, "Aplicar todas");
    EXPECT_EQ(project().edit.cuts.size(), 1);
    EXPECT_TRUE(waitUntil([&] { return control(QAccessible::Heading, "Pausas (1) · 2,9 s") == nullptr; }));
}

TEST_F(InspectorTests, DiscardsTypedTextOnEscape)
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
             Case{"text", QAccessible::SpinBox, "Inicio", "0,00"}, Case{"text", QAccessible::SpinBox, "Final", "0,00"}}) {
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
        EXPECT_EQ(model->selectedSpan(), (Span{0, 0})) << "a project opens without a selection";
    }
    item("textSection")->setProperty("asList", false); // The setting is stored.
}

TEST_F(InspectorTests, ShowsTheCardOfAClickedZoom)
{
    auto demo = silent();
    for (int i = 0; i < 9; ++i) {
        demo.edit.events.edit().push_back(pointer(PointerKind::zoom, i));
        demo.edit.events.edit().back().duration = 0.5;
    }
    show(demo);
    QTest::mouseClick(
        view.get(), Qt::LeftButton, {}, place(8.25, TimelineRows(project()).zoomsTop() + TimelineRows::lane / 2));
    const auto isVisible = [&] {
        const auto* card = control(QAccessible::Grouping, "Zoom en 00:08,0");
        return card && card->property("marked").toBool() && card->mapToScene({0, 0}).y() > 0
            && card->mapToScene({0, card->height()}).y() < view->height() + 1;
    };
    EXPECT_TRUE(waitUntil(isVisible));
}

TEST_F(InspectorTests, OffersCutsWithoutFadesOnce)
{
    const auto demo = lesson();
    show(demo);
    const auto offered = [&] { return control(QAccessible::Button, "Cortes secos") != nullptr; };
    EXPECT_FALSE(offered());
    model->editing()->cutWord(QString::fromStdString(project().edit.words.front().id.text()));
    EXPECT_TRUE(offered());
    click(QAccessible::Button, "Cortes secos");
    EXPECT_EQ(project().edit.fade, 0);
    EXPECT_FALSE(offered());
    model->undo();
    model->undo();
    model->editing()->cutWord(QString::fromStdString(project().edit.words.front().id.text()));
    EXPECT_FALSE(offered()) << "offers them once per project";

    ASSERT_TRUE(view->rootObject()->setProperty("section", "effects"));
    click(QAccessible::PageTab, "Largo");
    EXPECT_EQ(project().edit.fade, 0.5);
    click(QAccessible::PageTab, "Ninguno");
    EXPECT_EQ(project().edit.fade, 0);
}

} // namespace

} // namespace orvo::test
