#include "TestSupport/Media.h"
#include "WindowFixture.h"

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

/// The export sheet, other work during an export, and the end of an export.
class ExportWindowTests : public WindowFixture {
protected:
    void TearDown() override
    {
        if (model)
            model->exports()->choice()->setPreset({}); // Settings outlive the model; the next test expects the default.
        WindowFixture::TearDown();
    }

    /// Chooses an entry of a drop-down list with the keyboard.
    void pick(const QString& list, int index)
    {
        ASSERT_TRUE(waitUntil([&] { return control(QAccessible::ComboBox, list) != nullptr; }));
        auto* box = control(QAccessible::ComboBox, list);
        box->forceActiveFocus();
        key(Qt::Key_Home);
        for (int i = 0; i < index; ++i)
            key(Qt::Key_Down);
    }
    QString estimate() const
    {
        auto* label = view().findChild<QQuickItem*>("estimate");
        return label ? label->property("text").toString() : QString();
    }
    void exportTo(const fs::path& file)
    {
        panels->choice = file;
        click(QAccessible::Button, "Exportar…");
        ASSERT_TRUE(waitUntil([&] { return model->busy() || fs::exists(file); }));
    }
};

TEST_F(ExportWindowTests, ExportsTheFileTypeOfThePreset)
{
    showWith(withMovie("Parte 1/2: ¿qué?", 3));
    model->setSelectedSpan({1, 2});
    key(Qt::Key_E, Qt::ControlModifier);
    pick("Para", 4); // Solo audio
    EXPECT_TRUE(waitUntil([&] { return estimate().contains("Dura 00:03"); })) << estimate().toStdString();
    EXPECT_FALSE(control(QAccessible::ComboBox, "Tamaño")) << "the preset decides";
    exportTo(folder / "clase.m4a");
    ASSERT_TRUE(waitUntil([&] { return !model->busy(); }));
    EXPECT_THAT(panels->proposedNames, ElementsAre("Parte 1-2- ¿qué-.m4a"));
    EXPECT_NEAR(probe(folder / "clase.m4a").audioDuration, 3, 0.1);
    EXPECT_FALSE(fs::exists(folder / "clase.srt"));

    key(Qt::Key_E, Qt::ControlModifier);
    pick("Para", 5); // GIF de la selección
    EXPECT_TRUE(waitUntil([&] { return estimate().contains("Dura 00:01"); })) << estimate().toStdString();
    exportTo(folder / "clase.gif");
    ASSERT_TRUE(waitUntil([&] { return !model->busy(); }));
    EXPECT_NEAR(probe(folder / "clase.gif").videoDuration, 1, 0.2);
    EXPECT_EQ(panels->folders.back(), folder.path()) << "proposes the folder of the last export";
}

TEST_F(ExportWindowTests, ExportsOnlyTheSelectionWithCustomSettings)
{
    const auto lesson = showWith(withMovie("Clase", 4));
    model->setSelectedSpan({1, 3});
    key(Qt::Key_E, Qt::ControlModifier);
    pick("Calidad", 0);
    EXPECT_EQ(model->exportQuality(), "small");
    click(QAccessible::CheckBox, "Solo la selección · 00:02,0");
    EXPECT_TRUE(waitUntil([&] { return estimate().contains("Dura 00:02"); })) << estimate().toStdString();
    exportTo(folder / "parte.mp4");
    ASSERT_TRUE(waitUntil([&] { return !model->busy(); }));
    EXPECT_NEAR(probe(folder / "parte.mp4").videoDuration, 2, 0.1);
    EXPECT_EQ(onDisk(lesson.id).edit.cuts.size(), 0U) << "the project is not cut";
}

TEST_F(ExportWindowTests, KeepsTheWindowUsableDuringAnExport)
{
    const auto lesson = withMovie("Larga", 60);
    const auto other = movie("Otra.mp4", 1);
    showWith(lesson);
    for (const auto* name : {"uno.mp4", "dos.mp4"}) {
        key(Qt::Key_E, Qt::ControlModifier);
        exportTo(folder / name);
        ASSERT_TRUE(waitUntil([&] { return !control(QAccessible::Button, "Exportar…"); }));
    }
    EXPECT_TRUE(model->queue()->busy());
    EXPECT_TRUE(model->idle()) << "a recording can begin";
    EXPECT_TRUE(control(QAccessible::Button, "Nueva grabación")->isEnabled());
    EXPECT_TRUE(waitUntil([&] { return view().title().contains(" % · Larga — Orvo Video"); }))
        << view().title().toStdString();

    click(QAccessible::Button, "1 en espera");
    click(QAccessible::MenuItem, "Quitar de la espera: Exportar «Larga»");
    EXPECT_TRUE(model->queue()->waiting().isEmpty());

    panels->choice = other;
    click(QAccessible::Button, "Importar");
    ASSERT_TRUE(waitUntil([&] { return model->hasProject() && project().title == "Otra"; }));
    EXPECT_TRUE(model->queue()->busy()) << "the export continues";
    setTitle("Editada");
    ASSERT_TRUE(saved());
    click(QAccessible::Button, "Cancelar");
    ASSERT_TRUE(waitUntil([&] { return !model->busy(); }));
    EXPECT_TRUE(control(QAccessible::StatusBar, "Operación cancelada"));
    EXPECT_FALSE(fs::exists(folder / "uno.mp4") || fs::exists(folder / "dos.mp4"));
    // The audio may still be read for the timeline.
    EXPECT_TRUE(waitUntil([&] { return !control(QAccessible::Button, "Cancelar"); }));
}

TEST_F(ExportWindowTests, ClosesTheWindowWhenTheExportEnds)
{
    showWith(withMovie("Clase", 20));
    key(Qt::Key_E, Qt::ControlModifier);
    exportTo(folder / "clase.mp4");
    EXPECT_FALSE(view().close());
    key(Qt::Key_Return); // The default button keeps the window open.
    ASSERT_TRUE(waitUntil([&] { return control(QAccessible::Button, "Seguir aquí") == nullptr; }));
    EXPECT_TRUE(view().isVisible());
    EXPECT_FALSE(view().close());
    click(QAccessible::Button, "Terminar y salir después");
    ASSERT_TRUE(waitUntil([&] { return !view().isVisible(); }));
    EXPECT_NEAR(probe(folder / "clase.mp4").videoDuration, 20, 0.2) << "the exported video is complete";
}

} // namespace

} // namespace orvo::test
