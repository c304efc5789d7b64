#include "Platform/settings/StoredSettings.h"
#include "TestSupport/EventLoop.h"
#include "VideoCore/ExtensionMark.h"
#include "WindowFixture.h"

#include <QFile>
#include <algorithm>
#include <atomic>
#include <fstream>
#include <thread>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;

/// The equipment check, the choice of the speech model and the help, in the main window.
class HelpWindowTests : public WindowFixture {
protected:
    HelpWindowTests()
    {
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent"); // Independent of the real desktop.
    }
    ~HelpWindowTests() override { qputenv("DBUS_SESSION_BUS_ADDRESS", m_bus); }

    [[nodiscard]] bool appears(QAccessible::Role role, const QString& name)
    {
        return comesToHold([&] { return control(role, name) != nullptr; });
    }
    [[nodiscard]] bool goes(QAccessible::Role role, const QString& name)
    {
        return comesToHold([&] { return control(role, name) == nullptr; });
    }
    /// Finds an item by its object name, including list delegates, which `findChild` misses.
    static QQuickItem* itemCalled(QQuickItem* root, const QString& name)
    {
        if (root->objectName() == name)
            return root;
        for (auto* child : root->childItems()) {
            if (auto* found = itemCalled(child, name))
                return found;
        }
        return nullptr;
    }
    QQuickItem* itemCalled(const QString& name) const { return itemCalled(view().contentItem(), name); }
    QQuickItem* row(const char* name) const { return itemCalled(QString("equipment-") + name); }

    void openFromMenu(const QString& entry)
    {
        key(Qt::Key_Y, Qt::AltModifier);
        click(QAccessible::MenuItem, entry);
    }

private:
    const QByteArray m_bus = qgetenv("DBUS_SESSION_BUS_ADDRESS");
};

TEST_F(HelpWindowTests, ShowsTheEquipmentOnceOnTheFirstStart)
{
    show();
    window->greet();
    ASSERT_TRUE(appears(QAccessible::Heading, "Todo listo para empezar"));
    ASSERT_TRUE(comesToHold([&] { return row("browser") != nullptr; }));
    for (const auto* name : {"ffmpeg", "speechModel", "microphone", "screen", "shortcuts", "tray", "keyring", "browser"}) {
        ASSERT_TRUE(row(name)) << name;
        const auto state = row(name)->property("itemState").toString();
        EXPECT_FALSE(row(name)->property("text").toString().isEmpty()) << name;
        // Every row that is not good shows advice.
        EXPECT_TRUE(state == "good" || !row(name)->property("advice").toString().isEmpty()) << name;
        EXPECT_FALSE(row(name)->property("buttonText").toString().isEmpty()) << name;
    }
    EXPECT_EQ(row("ffmpeg")->property("itemState"), "good");
    EXPECT_EQ(row("keyring")->property("itemState"), "limited") << "there is no bus here";
    click(QAccessible::Button, "Empezar");
    ASSERT_TRUE(goes(QAccessible::Heading, "Todo listo para empezar"));
    window->greet();
    EXPECT_FALSE(control(QAccessible::Heading, "Todo listo para empezar"));

    openFromMenu("Comprobar el equipo…");
    EXPECT_TRUE(appears(QAccessible::Heading, "Comprobar el equipo"));
    click(QAccessible::Button, "Cambiar…"); // The button in the row of the shortcuts.
    ASSERT_NO_FATAL_FAILURE(turnTo("Ajustes"));
    EXPECT_TRUE(appears(QAccessible::Heading, "Atajos globales"));
}

TEST_F(HelpWindowTests, CopiesACommandAndDownloadsAModelFromTheCheck)
{
    const fs::path models = folder / "data/OrvoVideo/Modelos";
    fs::create_directories(models);
    std::atomic<bool> isDownloaded = false;
    download = [&](std::string_view name, const ProgressCallback& progress, const std::stop_token&) {
        EXPECT_EQ(name, "turbo");
        progress(0.5);
        const auto file = models / SpeechModels::inCatalogue(name)->file;
        std::ofstream(file).flush();
        fs::resize_file(file, SpeechModels::inCatalogue(name)->size); // Sparse: takes no disk space.
        isDownloaded = true;
        return file;
    };
    show();
    model->transcription()->setSpeechModel("turbo");
    openFromMenu("Comprobar el equipo…");
    ASSERT_TRUE(comesToHold([&] { return row("speechModel") != nullptr; }));
    EXPECT_EQ(row("speechModel")->property("text"), "El modelo «turbo» aún no está en este equipo (574 MB).");
    click(QAccessible::Button, "Descargar ahora");
    ASSERT_TRUE(comesToHold([&] { return isDownloaded && !model->busy(); }));
    EXPECT_TRUE(comesToHold([&] { return row("speechModel")->property("itemState") == "good"; }));
    EXPECT_EQ(model->status(), "Modelo de voz listo");

    // The keyring is missing here, so its row has a command.
    ASSERT_NE(row("keyring")->property("command"), "");
    auto* copy = row("keyring");
    QMetaObject::invokeMethod(copy, "copied");
    EXPECT_EQ(QString::fromStdString(pasteboard->text), row("keyring")->property("command").toString());
    EXPECT_EQ(model->status(), "Orden copiada");
}

TEST_F(HelpWindowTests, AsksForTheModelBeforeTheFirstTranscriptionOnly)
{
    fs::create_directories(folder / "data/OrvoVideo/Modelos");
    std::ofstream(folder / "data/OrvoVideo/Modelos/velocidad.txt")
        << "base " << std::clamp(std::thread::hardware_concurrency(), 1U, 8U) << " 0.1\n";
    std::string used;
    recognition = [&](const fs::path&, std::string_view, const TranscriptionOptions& options, const ProgressCallback&,
                      const std::stop_token&) {
        used = options.model;
        return std::vector<TranscriptWord>{word("Hola", 0, 1)};
    };
    const auto lesson = withMovie("Clase");
    show();
    window->open({QString::fromStdString(lesson.id.text())});
    ASSERT_TRUE(comesToHold([&] { return model->hasProject(); }));
    click(QAccessible::Button, "Transcribir");
    ASSERT_TRUE(appears(QAccessible::Heading, "¿Con qué modelo de voz?"));
    auto* proposed = itemCalled("model-small");
    ASSERT_TRUE(proposed);
    EXPECT_TRUE(proposed->property("checked").toBool());
    EXPECT_EQ(proposed->property("cost"), "1 h de voz: unos 20 min");
    EXPECT_EQ(itemCalled("model-base")->property("cost"), "1 h de voz: 6 min");
    key(Qt::Key_Escape);
    ASSERT_TRUE(goes(QAccessible::Heading, "¿Con qué modelo de voz?"));
    EXPECT_EQ(used, "") << "nothing was chosen";

    click(QAccessible::Button, "Transcribir");
    ASSERT_TRUE(appears(QAccessible::Heading, "¿Con qué modelo de voz?"));
    click(QAccessible::RadioButton, "Equilibrado, 1 h de voz: 6 min, instalado");
    EXPECT_TRUE(itemCalled("model-base")->property("checked").toBool());
    click(QAccessible::Button, "Transcribir"); // The button of the sheet, which is on top.
    ASSERT_TRUE(comesToHold([&] { return !used.empty() && !model->busy(); }));
    EXPECT_EQ(used, "base");
    EXPECT_EQ(project().edit.words.size(), 1U);

    used.clear();
    click(QAccessible::Button, "Transcribir");
    EXPECT_TRUE(comesToHold([&] { return used == "base"; })) << "does not ask again";
    EXPECT_EQ(StoredSettings::text("transcription.chosen"), "true");
}

TEST_F(HelpWindowTests, KeepsTheExtensionStepsOpenUntilItIsInstalled)
{
    browsers.home = folder / "home";
    show();
    key(Qt::Key_R, Qt::ControlModifier);
    click(QAccessible::PageTab, "Pestaña");
    click(QAccessible::Button, "Copiar chrome://extensions");
    EXPECT_EQ(pasteboard->text, "chrome://extensions");
    click(QAccessible::Button, "Copiar la ruta de la carpeta");
    EXPECT_EQ(pasteboard->text, (folder / "home/Orvo Video/Extensión").string());
    click(QAccessible::Button, "Abrir extensión");
    EXPECT_TRUE(control(QAccessible::Button, "Copiar chrome://extensions")) << "the steps stay open beside the browser";
    EXPECT_TRUE(ExtensionMark::leave());
    model->installation()->noteExtension(); // The helper's first call has this effect.
    EXPECT_TRUE(appears(QAccessible::StaticText, "Instalada ✓"));
    EXPECT_FALSE(control(QAccessible::Button, "Copiar chrome://extensions"));
    auto* again = control(QAccessible::Button, "Ver los pasos");
    ASSERT_TRUE(again);
    again->forceActiveFocus(); // Not a click: the panel changes its size and moves.
    key(Qt::Key_Space);
    EXPECT_TRUE(appears(QAccessible::Button, "Copiar chrome://extensions"));
}

TEST_F(HelpWindowTests, SearchesTheGuide)
{
    show();
    openFromMenu("Guía");
    ASSERT_NO_FATAL_FAILURE(turnTo("Ayuda"));
    auto* contents = itemCalled("guideContents");
    ASSERT_TRUE(contents);
    const auto count = [&] { return contents->property("count").toInt(); };
    const int all = count();
    EXPECT_GT(all, 10);
    EXPECT_TRUE(QFile::exists(":/guide/images/editor.png")) << "includes its pictures";
    auto* search = itemCalled("guideSearch");
    search->forceActiveFocus();
    type("MICROFONO");
    ASSERT_TRUE(comesToHold([&] { return count() < all; }));
    EXPECT_GT(count(), 0) << "ignores case and accents";
    type("xyz");
    ASSERT_TRUE(comesToHold([&] { return count() == 0; }));
    EXPECT_TRUE(appears(QAccessible::StaticText, "No se ha encontrado nada. Prueba con otra palabra."));
    click(QAccessible::PageTab, "Acerca de");
    EXPECT_TRUE(appears(QAccessible::Heading, "Orvo Video"));
    EXPECT_FALSE(control(QAccessible::Button, "Mostrar el registro del último cierre inesperado")) << "there was none";
}

} // namespace

} // namespace orvo::test
