#include "EditorFixture.h"
#include "OrvoVideo/editor/ProsePage.h"
#include "VideoCore/Transcript.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QTest>
#include <sstream>

namespace orvo::test {

namespace {

using testing::ElementsAre;

/// The transcript as a page.
class ProseTests : public EditorFixture {
protected:
    /// A project with these words, 0.4 seconds each; "|" is a pause of one second.
    static VideoProject spoken(const std::string& text, double duration = 0)
    {
        auto project = VideoProject::make("Clase");
        std::istringstream stream(text);
        double time = 1;
        for (std::string next; stream >> next;) {
            if (next == "|") {
                time += 1;
                continue;
            }
            project.edit.words.edit().push_back(word(next, time, time + 0.4));
            time += 0.4;
        }
        project.duration = duration > 0 ? duration : time;
        project.tracks = {track(TrackKind::screen, "media/none.mov", 0, project.duration)};
        return project;
    }

    static constexpr const char* lecture =
        "Hola a todos. Hoy vamos a ver eh derivadas. | Imagina una cuesta. Sube, sube. | | Eh, fin.";

    void show(VideoProject project)
    {
        EditorFixture::show(std::move(project));
        ASSERT_TRUE(waitUntil([&] { return page().contentHeight() > 0 && page().width() > 100; }));
        view->grabWindow();
    }

    ProsePage& page() const { return dynamic_cast<ProsePage&>(*item(QStringLiteral("page"))); }
    TranscriptCursor& reader() const { return *page().reader(); }

    QPoint at(int row) const { return page().mapToScene(page().rectOf(row).center()).toPoint(); }
    /// The position of the pause after a word.
    QPoint behind(int row) const
    {
        return page().mapToScene(page().rectOf(row).center() + QPointF(page().rectOf(row).width() / 2 + 18, 0)).toPoint();
    }
    void clickAt(QPoint place, int times = 1, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        for (int i = 1; i < times; ++i) {
            const int before = QTest::lastMouseTimestamp;
            QTest::mouseClick(view.get(), Qt::LeftButton, modifiers, place);
            QTest::lastMouseTimestamp = before + 20; // QTest separates clicks otherwise.
        }
        press(place, modifiers);
        release(place, modifiers);
    }
    /// Chooses an entry of the open menu.
    void choose(const QString& name)
    {
        QQuickItem* entry = nullptr;
        ASSERT_TRUE(waitUntil([&] {
            entry = control(QAccessible::MenuItem, name);
            return entry && entry->width() > 0;
        })) << name.toStdString();
        view->grabWindow();
        QTest::mouseClick(view.get(), Qt::LeftButton, {}, centre(entry));
    }
};

TEST_F(ProseTests, MarksWordsSentencesAndParagraphs)
{
    show(spoken(lecture));
    using Act = std::function<void()>;
    const auto pressing = [&](Qt::Key pressed, Qt::KeyboardModifiers modifiers, int times) {
        return [=, this] {
            clickAt(at(4)); // "vamos"
            for (int i = 0; i < times; ++i)
                key(pressed, modifiers);
        };
    };
    const auto shift = Qt::ShiftModifier;
    const auto both = Qt::ShiftModifier | Qt::ControlModifier;
    struct Case {
        const char* name;
        Act act;
        const char* marked;
    };
    for (const auto& [name, act, marked] : {
             Case{"click", [&] { clickAt(at(4)); }, ""},
             Case{"double click", [&] { clickAt(at(4), 2); }, "vamos"},
             Case{"triple click", [&] { clickAt(at(4), 3); }, "Hoy vamos a ver eh derivadas."},
             Case{"fourth click", [&] { clickAt(at(4), 4); }, "Hola a todos. Hoy vamos a ver eh derivadas."},
             Case{"drag", [&] { drag(at(4), at(6)); }, "vamos a ver"},
             Case{"drag back", [&] { drag(at(4), at(2)); }, "todos. Hoy vamos"},
             Case{"click with shift",
                 [&] {
                     clickAt(at(1));
                     clickAt(at(2), 1, shift);
                 },
                 "a todos."},
             Case{"shift right", pressing(Qt::Key_Right, shift, 2), "vamos a"},
             Case{"shift left", pressing(Qt::Key_Left, shift, 2), "todos. Hoy"},
             Case{"sentence", pressing(Qt::Key_Right, both, 2), "vamos a ver eh derivadas.\nImagina una cuesta."},
             Case{"paragraph", pressing(Qt::Key_Down, both, 1), "vamos a ver eh derivadas."},
             Case{"everything", pressing(Qt::Key_A, Qt::ControlModifier, 1),
                 "Hola a todos. Hoy vamos a ver eh derivadas.\nImagina una cuesta. Sube, sube.\nEh, fin."},
         }) {
        SCOPED_TRACE(name);
        reader().unmark();
        act();
        EXPECT_EQ(*marked ? reader().markedText().toStdString() : "", marked);
        EXPECT_EQ(reader().markedCount() > 0, *marked != 0);
        EXPECT_FALSE(model->canUndo());
    }
    clickAt(at(4));
    EXPECT_DOUBLE_EQ(model->playhead(), project().edit.words[4].start) << "a click seeks";
    key(Qt::Key_Down);
    EXPECT_GT(page().rectOf(reader().caret()).y(), page().rectOf(4).y());
    key(Qt::Key_Home, Qt::ControlModifier);
    EXPECT_EQ(reader().caret(), 0);
    EXPECT_DOUBLE_EQ(model->playhead(), 1);
}

TEST_F(ProseTests, CutsRestoresAndCopiesMarkedWords)
{
    show(spoken(lecture));
    const auto words = project().edit.words;
    const TimeSpan span{words[4].start, words[6].end};
    for (const auto pressed : {Qt::Key_Delete, Qt::Key_Backspace, Qt::Key_X}) {
        drag(at(4), at(6));
        key(pressed);
        EXPECT_THAT(project().edit.cuts.items(), ElementsAre(span));
        EXPECT_TRUE(reader().targetIsCut());
        key(pressed);
        EXPECT_TRUE(project().edit.cuts.empty()) << "the same key restores the words";
        model->undo();
        model->undo();
        EXPECT_FALSE(model->canUndo()) << "one undo step each";
    }
    key(Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "vamos a ver");

    // The button of the bar restores a part of a cut.
    key(Qt::Key_X);
    clickAt(at(5));
    click(QAccessible::Button, "Restaurar");
    EXPECT_THAT(project().edit.cuts.items(),
        ElementsAre(TimeSpan{words[4].start, words[5].start}, TimeSpan{words[5].end, words[6].end}));

    // The caret skips hidden words.
    page().setCutHidden(true);
    EXPECT_TRUE(page().rectOf(4).isEmpty());
    clickAt(at(3));
    key(Qt::Key_Right);
    EXPECT_EQ(reader().caret(), 5);
    page().setCutHidden(false);
}

TEST_F(ProseTests, CorrectsWordsInPlace)
{
    show(spoken(lecture));
    clickAt(at(2));
    key(Qt::Key_Return);
    ASSERT_EQ(view->activeFocusItem(), item("wordField"));
    type(QStringLiteral("todas."));
    key(Qt::Key_Tab);
    type(QStringLiteral("Ayer"));
    key(Qt::Key_Backtab);
    key(Qt::Key_Tab);
    key(Qt::Key_Tab);
    type(QStringLiteral("x"));
    key(Qt::Key_Escape);
    EXPECT_EQ(view->activeFocusItem(), &page());
    EXPECT_EQ(page().wholeText().left(27).toStdString(), "Hola a todas. Ayer vamos a ");
    key(Qt::Key_F2);
    type(QStringLiteral("vamos todos juntos"));
    key(Qt::Key_Return);
    EXPECT_EQ(project().edit.words[4].text, "vamos todos juntos") << "stays one word, which wraps on the page";
    EXPECT_EQ(project().edit.words.size(), 16);
    for (int i = 0; i < 3; ++i)
        model->undo();
    EXPECT_FALSE(model->canUndo());
    EXPECT_EQ(page().wordText(2), "todos.");
}

TEST_F(ProseTests, CutsAndShortensPauses)
{
    show(spoken(lecture));
    const auto words = project().edit.words;
    const TimeSpan pause{words[8].end, words[9].start};
    clickAt(behind(8));
    EXPECT_THAT(project().edit.cuts.items(), ElementsAre(pause));
    clickAt(behind(8));
    EXPECT_TRUE(project().edit.cuts.empty());

    QTest::mouseClick(view.get(), Qt::RightButton, {}, behind(8));
    choose(QStringLiteral("Acortarla a 0,3 s"));
    EXPECT_NEAR(Transcript::remaining(pause, reader().cuts()), 0.3, 1e-9);

    // Shortens all long pauses; first shows how much time that saves.
    clickAt(centre(item("textMenu")));
    choose(QStringLiteral("Acortar pausas…"));
    ASSERT_TRUE(waitUntil([&] { return item("gain")->isVisible(); }));
    EXPECT_EQ(item("gain")->property("text"), "1 pausa queda en 0,3 s: el vídeo dura 1,7 s menos.");
    const double before = project().playableDuration();
    click(QAccessible::Button, "Acortar");
    EXPECT_NEAR(before - project().playableDuration(), 1.7, 1e-6);

    click(QAccessible::Button, "Quitar muletillas (2)");
    EXPECT_EQ(reader().fillerCount(), 0);
    model->undo();
    EXPECT_EQ(reader().fillerCount(), 2) << "one undo step";
}

TEST_F(ProseTests, FindsAndReplaces)
{
    show(spoken(lecture));
    key(Qt::Key_F, Qt::ControlModifier);
    ASSERT_EQ(view->activeFocusItem(), item("search"));
    type(QStringLiteral("SUBE"));
    EXPECT_EQ(reader().matchCount(), 2);
    key(Qt::Key_F3);
    EXPECT_DOUBLE_EQ(model->playhead(), project().edit.words[12].start);
    key(Qt::Key_F3);
    EXPECT_EQ(reader().matchNumber(), 2);
    key(Qt::Key_F3, Qt::ShiftModifier);
    EXPECT_EQ(reader().matchNumber(), 1);

    clickAt(centre(item("textMenu")));
    choose(QStringLiteral("Reemplazar…"));
    ASSERT_TRUE(waitUntil([&] { return item("replacement")->isVisible(); }));
    item("replacement")->forceActiveFocus();
    type(QStringLiteral("baja"));
    click(QAccessible::Button, "Reemplazar todas las coincidencias");
    EXPECT_EQ(project().edit.words[12].text, "baja,");
    EXPECT_EQ(project().edit.words[13].text, "baja.");
    EXPECT_EQ(reader().matchCount(), 0);
    model->undo();
    EXPECT_EQ(reader().matchCount(), 2) << "one undo step; the matches update";
    click(QAccessible::Button, "Reemplazar esta coincidencia");
    EXPECT_EQ(project().edit.words[12].text, "baja,");
    EXPECT_EQ(reader().matchRow(), 13);

    // Finds text across a correction. Escape leaves the search.
    model->editing()->correctWord(QString::fromStdString(project().edit.words[1].id.text()), QStringLiteral("a todas y"));
    item("search")->setProperty("text", QStringLiteral("y todos"));
    EXPECT_EQ(reader().matchRow(), 1);
    item("search")->forceActiveFocus();
    key(Qt::Key_Escape);
    EXPECT_EQ(view->activeFocusItem(), &page());
    EXPECT_EQ(reader().matchCount(), 0);
}

TEST_F(ProseTests, KeepsTheSpokenWordAtAThirdUnlessTheUserScrolls)
{
    auto hour = VideoProject::make("Una hora");
    fillOneHour(hour);
    hour.tracks = {track(TrackKind::screen, "media/none.mov", 0, hour.duration)};
    show(hour);
    const auto* flick = item("prose");
    const auto scrolled = [&] { return flick->property("contentY").toDouble(); };
    model->play();
    player->tick(1800);
    const auto isAtAThird = [&] {
        return std::abs(page().rectOf(reader().spokenRow()).y() - page().height() / 3) < page().flow().metrics().lineHeight;
    };
    ASSERT_TRUE(waitUntil(isAtAThird));

    const QPoint over = centre(&page());
    QWheelEvent wheel(over, view->mapToGlobal(over), {}, {0, -2400}, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(view.get(), &wheel);
    ASSERT_TRUE(waitUntil([&] { return !isAtAThird() && !flick->property("moving").toBool(); }));
    const double there = scrolled();
    player->tick(1806);
    player->tick(1812);
    EXPECT_EQ(scrolled(), there) << "does not scroll away from the user";
    EXPECT_NE(reader().spokenRow(), -1);
    click(QAccessible::Button, "Volver a lo que suena");
    EXPECT_TRUE(waitUntil(isAtAThird));

    // An edit above does not move the visible text.
    model->pause();
    const int row = reader().spokenRow();
    const double y = page().rectOf(row).y();
    model->editing()->correctWord(QString::fromStdString(project().edit.words[10].id.text()),
        QStringLiteral("una corrección muy larga que necesita unas cuantas líneas más que antes, o tres"));
    EXPECT_NEAR(page().rectOf(row).y(), y, 1);
}

TEST_F(ProseTests, MarksUnsureWords)
{
    const auto demo = spoken(lecture);
    WordConfidence confidence;
    std::vector<float> probabilities(demo.edit.words.size(), 0.95F);
    probabilities[3] = 0.2F;
    probabilities[5] = 0.6F;
    confidence.add(demo.edit.words.items(), probabilities);
    std::filesystem::create_directories(store.directory(demo.id));
    confidence.write(store.directory(demo.id));
    show(demo);
    const auto unsure = [&] {
        std::vector<std::size_t> rows;
        for (std::size_t row = 0; row < project().edit.words.size(); ++row) {
            if (page().isUnsure(row))
                rows.push_back(row);
        }
        return rows;
    };
    ASSERT_TRUE(waitUntil([&] { return !unsure().empty(); }));
    EXPECT_THAT(unsure(), ElementsAre(3U));
    auto* text = QAccessible::queryAccessibleInterface(&page())->textInterface();
    int start = 0;
    int end = 0;
    EXPECT_TRUE(text->attributes(page().textPlace(3), &start, &end).contains("invalid"));
    QTest::mouseMove(view.get(), at(2));
    QTest::mouseMove(view.get(), at(3));
    EXPECT_TRUE(waitUntil([&] { return page().unsureRow() == 3; }));
    EXPECT_NEAR(page().confidence(3), 0.2, 0.001);

    reader().correct(3, "Mañana");
    EXPECT_THAT(unsure(), testing::IsEmpty()) << "a corrected word is not unsure";
    model->undo();
    EXPECT_THAT(unsure(), ElementsAre(3U));
    reader().cutSpan(project().edit.words[0].start, project().edit.words[1].end);
    EXPECT_THAT(unsure(), ElementsAre(3U));
}

TEST_F(ProseTests, ExposesATextWithACaretToAssistiveTechnology)
{
    auto demo = spoken(lecture);
    demo.edit.cuts = {{demo.edit.words[1].start, demo.edit.words[1].end}};
    show(demo);
    auto* seen = QAccessible::queryAccessibleInterface(&page());
    ASSERT_TRUE(seen);
    ASSERT_TRUE(seen->textInterface());
    auto& text = *seen->textInterface();
    const QString whole = text.text(0, text.characterCount());
    EXPECT_TRUE(whole.startsWith("Hola a todos. Hoy vamos")) << whole.toStdString();
    EXPECT_EQ(whole.count(u'\n'), 2);
    ASSERT_TRUE(seen->parent());
    EXPECT_GE(seen->parent()->indexOfChild(seen), 0) << "reachable from the window";

    const int vamos = static_cast<int>(whole.indexOf("vamos"));
    text.setCursorPosition(vamos + 2);
    EXPECT_EQ(reader().caret(), 4);
    EXPECT_EQ(text.cursorPosition(), vamos);
    EXPECT_EQ(text.offsetAtPoint(text.characterRect(vamos).center()), vamos);
    text.setSelection(0, vamos, vamos + 7);
    EXPECT_EQ(reader().markedText(), "vamos a");
    int start = 0;
    int end = 0;
    text.selection(0, &start, &end);
    EXPECT_EQ(whole.mid(start, end - start), "vamos a");
    EXPECT_TRUE(text.attributes(5, &start, &end).contains("line-through"));
    EXPECT_TRUE(text.attributes(static_cast<int>(whole.indexOf("eh")), &start, &end).contains("underline"));

    // A hidden first word takes no paragraph break with it.
    const auto second = Transcript::paragraphs(project().edit.words.items()).at(1).first;
    reader().cutSpan(project().edit.words[second].start, project().edit.words[second].end);
    page().setCutHidden(true);
    EXPECT_TRUE(waitUntil([&] { return text.characterCount() < whole.size(); }));
    EXPECT_EQ(text.text(0, text.characterCount()).count(u'\n'), 2);
}

} // namespace

} // namespace orvo::test
