#include "VideoCore/FileIO.h"
#include "WindowFixture.h"

#include <QTest>
#include <chrono>
#include <fstream>
#include <optional>
#include <utility>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

/// Operations on whole projects in the library's list.
class LibraryWindowTests : public WindowFixture {
protected:
    /// The rows from top to bottom, without those that the list keeps for reuse.
    std::vector<QQuickItem*> rows() const
    {
        std::vector<QQuickItem*> found;
        auto* list = control(QAccessible::List, "Biblioteca");
        for (int row = 0; list && row < list->property("count").toInt(); ++row) {
            QQuickItem* item = nullptr;
            QMetaObject::invokeMethod(list, "itemAtIndex", Q_RETURN_ARG(QQuickItem*, item), Q_ARG(int, row));
            if (item)
                found.push_back(item);
        }
        return found;
    }
    QQuickItem* rowOf(const QString& title) const
    {
        const auto all = rows();
        const auto found = std::ranges::find(all, title, [](auto* row) { return row->property("title").toString(); });
        return found == all.end() ? nullptr : *found;
    }
    /// The centre of a row once it has stopped moving.
    QPoint placeOf(const QString& title) const
    {
        std::optional<QPoint> place;
        int still = 0;
        EXPECT_TRUE(waitUntil([&] {
            const auto* row = rowOf(title);
            const auto before = std::exchange(
                place, row ? std::optional(row->mapToScene({row->width() / 2, row->height() / 2}).toPoint()) : std::nullopt);
            still = place && before == place ? still + 1 : 0;
            return still == 3;
        })) << title.toStdString();
        return place.value_or(QPoint());
    }
    bool isListed(const QString& title) const { return rowOf(title) != nullptr; }
    [[nodiscard]] bool waitForRow(const QString& title, bool there = true) const
    {
        return waitUntil([&] { return isListed(title) == there; });
    }
    void choose(const QString& title, const QString& command)
    {
        QTest::mouseClick(&view(), Qt::RightButton, {}, placeOf(title));
        click(QAccessible::MenuItem, command);
    }
    /// Presses keys in the list, at this row.
    void pressAt(const QString& title, Qt::Key pressed, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QTest::mouseClick(&view(), Qt::LeftButton, Qt::ControlModifier, placeOf(title));
        key(pressed, modifiers);
    }
    QStringList titles() const
    {
        QStringList sorted;
        for (const auto* row : rows())
            sorted << row->property("title").toString();
        return sorted;
    }
};

TEST_F(LibraryWindowTests, RenamesDuplicatesAndShowsAProject)
{
    const auto lesson = withMovie("Primera", 1);
    show();
    ASSERT_TRUE(waitForRow("Primera"));
    choose("Primera", "Renombrar");
    ASSERT_TRUE(waitUntil([&] { return control(QAccessible::EditableText, "Título nuevo") != nullptr; }));
    type("Tema 1");
    key(Qt::Key_Return);
    ASSERT_TRUE(waitForRow("Tema 1"));
    EXPECT_TRUE(waitUntil([&] { return onDisk(lesson.id).title == "Tema 1"; }));

    // Escape leaves the title alone.
    pressAt("Tema 1", Qt::Key_F2);
    ASSERT_TRUE(waitUntil([&] { return control(QAccessible::EditableText, "Título nuevo") != nullptr; }));
    type("!");
    key(Qt::Key_Escape);
    ASSERT_TRUE(waitUntil([&] { return control(QAccessible::EditableText, "Título nuevo") == nullptr; }));
    EXPECT_TRUE(isListed("Tema 1"));

    key(Qt::Key_D, Qt::ControlModifier);
    ASSERT_TRUE(waitForRow("Tema 1 (copia)"));
    EXPECT_EQ(store.list().size(), 2U);
    choose("Tema 1", "Mostrar carpeta");
    EXPECT_THAT(workspace->opened, ElementsAre(store.directory(lesson.id)));
}

TEST_F(LibraryWindowTests, MovesSeveralToTheTrashAndPutsThemBack)
{
    const auto first = withMovie("Primera", 1);
    auto made = VideoProject::make("Segunda");
    made.createdAt -= std::chrono::minutes(1); // The list starts with the newest.
    const auto second = add(made);
    made = VideoProject::make("Tercera");
    made.createdAt -= std::chrono::minutes(2);
    add(made);
    showWith(first);
    ASSERT_TRUE(waitForRow("Tercera"));
    pressAt("Primera", Qt::Key_Shift);
    pressAt("Segunda", Qt::Key_Delete);
    ASSERT_TRUE(waitForRow("Primera", false));
    EXPECT_FALSE(isListed("Segunda"));
    EXPECT_TRUE(isListed("Tercera"));
    EXPECT_FALSE(model->hasProject()) << "closes the open project";
    EXPECT_EQ(store.list().size(), 1U);

    click(QAccessible::Button, "Deshacer: 2 vídeos están en la papelera");
    ASSERT_TRUE(waitForRow("Primera"));
    EXPECT_EQ(onDisk(second.id).title, "Segunda");
    EXPECT_TRUE(fs::exists(store.mediaURL(first, "media/screen.mp4")));
    EXPECT_FALSE(control(QAccessible::Button, "Deshacer: 2 vídeos están en la papelera"));
}

TEST_F(LibraryWindowTests, AsksBeforeTrashingPublishedProjectsAndKeepsThoseInUse)
{
    auto lesson = VideoProject::make("Publicada");
    lesson.publication = Publication{.videoID = "v", .url = "https://example.org/v"};
    add(lesson);
    show();
    ASSERT_TRUE(waitForRow("Publicada"));
    const auto asked = [&] { return control(QAccessible::AlertMessage, "¿Mover a la papelera?") != nullptr; };
    for (const bool agrees : {false, true}) {
        pressAt("Publicada", Qt::Key_Delete);
        ASSERT_TRUE(waitUntil(asked));
        if (agrees)
            click(QAccessible::Button, "Mover a la papelera");
        else
            key(Qt::Key_Return); // The default button keeps it.
        ASSERT_TRUE(waitUntil([&] { return !asked(); }));
        ASSERT_TRUE(waitForRow("Publicada", !agrees));
    }

    auto recorded = VideoProject::make("Grabando");
    recorded.state = ProjectState::recording;
    add(recorded);
    writeFileAtomically(store.directory(recorded.id) / "capture-session.json", R"({"pid": 1})"); // Process 1 always lives.
    ASSERT_TRUE(waitForRow("Grabando"));
    pressAt("Grabando", Qt::Key_Delete);
    ASSERT_TRUE(waitUntil([&] { return !model->errorMessage().isEmpty(); }));
    EXPECT_EQ(model->errorMessage(), "«Grabando» se está grabando: termina antes la grabación.");
    EXPECT_TRUE(fs::exists(store.directory(recorded.id)));
}

TEST_F(LibraryWindowTests, SearchesAndSorts)
{
    for (const auto& [title, seconds] :
        {std::pair("baile", 30.0), std::pair("Álgebra", 10.0), std::pair("Zoología", 20.0)}) {
        auto project = VideoProject::make(title);
        project.duration = seconds;
        add(project);
    }
    show();
    ASSERT_TRUE(waitForRow("Zoología"));
    const std::pair<QString, QStringList> orders[]{
        {"Por título", {"Álgebra", "baile", "Zoología"}}, {"Por duración", {"baile", "Zoología", "Álgebra"}}};
    for (const auto& [order, expected] : orders) {
        click(QAccessible::Button, "Ordenar la biblioteca");
        click(QAccessible::MenuItem, order);
        EXPECT_TRUE(waitUntil([&] { return titles() == expected; })) << order.toStdString();
    }
    click(QAccessible::EditableText, "Buscar un vídeo");
    type("algeb");
    ASSERT_TRUE(waitForRow("baile", false));
    EXPECT_EQ(titles(), QStringList{"Álgebra"});
    type("x");
    EXPECT_TRUE(waitUntil([&] { return control(QAccessible::StaticText, "Ningún título contiene «algebx».") != nullptr; }));
    key(Qt::Key_Escape);
    EXPECT_TRUE(waitForRow("baile"));
}

TEST_F(LibraryWindowTests, FollowsChangesByOtherPrograms)
{
    const auto open = showWith(add(VideoProject::make("Abierta")));
    auto other = VideoProject::make("De otro programa");
    store.create(other);
    ASSERT_TRUE(waitForRow("De otro programa"));
    other.title = "Cambiada";
    store.save(other);
    ASSERT_TRUE(waitForRow("Cambiada"));
    fs::rename(store.directory(other.id), folder / "moved away");
    ASSERT_TRUE(waitForRow("Cambiada", false));
    fs::rename(folder / "moved away", store.directory(other.id)); // Like a sync program that delivers a whole folder.
    ASSERT_TRUE(waitForRow("Cambiada"));
    EXPECT_EQ(project().id, open.id);
}

TEST_F(LibraryWindowTests, ShowsAFailedImportAsARowWithTheReason)
{
    show();
    std::ofstream(folder / "apuntes.mp4") << "this is no movie";
    panels->choice = folder / "apuntes.mp4";
    click(QAccessible::Button, "Importar un vídeo");
    click(QAccessible::Button, "Aceptar");
    ASSERT_TRUE(waitForRow("apuntes"));
    const auto details = [&] {
        return QAccessible::queryAccessibleInterface(rowOf("apuntes"))->text(QAccessible::Description);
    };
    EXPECT_TRUE(waitUntil([&] { return details().startsWith("No se pudo importar: "); })) << details().toStdString();
    QTest::mouseClick(&view(), Qt::LeftButton, {}, placeOf("apuntes"));
    EXPECT_FALSE(model->hasProject());
    click(QAccessible::Button, "Quitar");
    EXPECT_TRUE(waitForRow("apuntes", false));
}

TEST_F(LibraryWindowTests, ListsUsedSpaceAndFreesUnneededFiles)
{
    const auto lesson = withMovie("Clase", 1);
    const fs::path project = store.directory(lesson.id);
    fs::create_directories(project / "publication/hls");
    fs::create_directories(project / ("render-" + fixedId(3).text()));
    for (const auto* file : {"publication/video.mp4", "media/quitado.mp4"})
        std::ofstream(project / file) << std::string(300'000, 'x');
    std::ofstream(project / ("render-" + fixedId(3).text()) / "mixed.wav") << std::string(300'000, 'x');
    show();
    click(QAccessible::Button, "Ordenar la biblioteca");
    click(QAccessible::MenuItem, "¿Qué ocupa espacio?");
    for (const auto* kind :
        {"Vídeos preparados para publicar", "Archivos que ningún vídeo usa", "Restos de trabajos interrumpidos"})
        click(QAccessible::Button, QStringLiteral("Liberar: ") + QString::fromUtf8(kind));
    ASSERT_TRUE(waitUntil([&] { return !fs::exists(project / ("render-" + fixedId(3).text())); }));
    EXPECT_FALSE(fs::exists(project / "publication"));
    EXPECT_FALSE(fs::exists(project / "media/quitado.mp4"));
    EXPECT_TRUE(fs::exists(project / "media/screen.mp4"));
    EXPECT_EQ(onDisk(lesson.id).tracks, lesson.tracks);
    click(QAccessible::Button, "Cerrar");
}

TEST_F(LibraryWindowTests, FocusesTheTitleWhenARecordingEnds)
{
    showWith(add(VideoProject::make("Grabación 3")));
    emit model->recorder()->saved();
    ASSERT_TRUE(waitUntil([&] { return control(QAccessible::EditableText, "Título")->hasActiveFocus(); }));
    type("Derivadas");
    key(Qt::Key_Return);
    EXPECT_EQ(project().title, "Derivadas");
}

} // namespace

} // namespace orvo::test
