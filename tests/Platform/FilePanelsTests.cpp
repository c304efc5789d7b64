#include "Platform/workspace/FilePanels.h"

#include "TestSupport/TemporaryFolder.h"

#include <QApplication>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>
#include <fstream>
#include <gtest/gtest.h>

namespace orvo::test {
namespace {

namespace fs = std::filesystem;

class FilePanelsTests : public testing::Test {
protected:
    /// The visible panel; null if there is none.
    static QFileDialog* panel()
    {
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            auto* dialog = qobject_cast<QFileDialog*>(widget);
            if (dialog && dialog->isVisible())
                return dialog;
        }
        return nullptr;
    }

    /// Records the answer of a panel.
    FilePanels::Answer note()
    {
        return [this](std::optional<fs::path> file) {
            ++answers;
            answer = std::move(file);
        };
    }

    /// Types a file name and presses the button.
    static void choose(const fs::path& file)
    {
        panel()->setDirectory(QString::fromStdString(file.parent_path().string()));
        panel()->findChild<QLineEdit*>("fileNameEdit")->setText(QString::fromStdString(file.filename().string()));
        static_cast<QDialog*>(panel())->accept();
    }

    TemporaryFolder folder;
    std::unique_ptr<FilePanels> panels = FilePanels::create();
    int answers = 0;
    std::optional<fs::path> answer;
};

TEST_F(FilePanelsTests, OpensOneFileOfTheRequestedType)
{
    const auto movie = folder / "película.MOV";
    std::ofstream(movie) << "x";
    std::ofstream(folder / "image.png") << "x";
    panels->openMovie(note());
    ASSERT_TRUE(panel());
    EXPECT_EQ(panel()->fileMode(), QFileDialog::ExistingFile);
    EXPECT_TRUE(panel()->nameFilters().front().contains("*.mov"));
    EXPECT_EQ(answers, 0);
    choose(movie);
    EXPECT_EQ(answers, 1);
    EXPECT_EQ(answer, movie);
    EXPECT_FALSE(panel());

    panels->openImage(note());
    EXPECT_TRUE(panel()->nameFilters().front().contains("*.png"));
    choose(folder / "image.png");
    EXPECT_EQ(answer, folder / "image.png");
}

TEST_F(FilePanelsTests, ReturnsNulloptWhenCancelledOrDestroyed)
{
    answer = "before";
    panels->openMovie(note());
    panel()->reject();
    EXPECT_EQ(answers, 1);
    EXPECT_EQ(answer, std::nullopt);

    // Destroying the panels answers as well.
    panels->openImage(note());
    panels->saveMovie({.name = "x.mp4"}, note());
    panels.reset();
    EXPECT_EQ(answers, 3);
    EXPECT_FALSE(panel());
}

TEST_F(FilePanelsTests, SavesUnderAValidNameAndAsksBeforeReplacing)
{
    panels->saveMovie({.name = "Parte 1/2: ¿qué?.mp4"}, note());
    EXPECT_EQ(panel()->selectedFiles().front().section('/', -1), "Parte 1-2: ¿qué?.mp4");
    choose(folder / "otro nombre");
    EXPECT_EQ(answer, folder / "otro nombre.mp4");

    // Asks before replacing a file, even if the extension is not typed.
    std::ofstream(folder / "there.mp4") << "x";
    for (const auto& [name, button] : {std::pair("there.mp4", QMessageBox::No), {"there.mp4", QMessageBox::Yes},
             {"there", QMessageBox::No}, {"there", QMessageBox::Yes}}) {
        answers = 0;
        panels->saveMovie({.name = "there.mp4"}, note());
        QTimer::singleShot(0, qApp, [button] {
            auto* question = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            ASSERT_TRUE(question);
            question->button(button)->click();
        });
        choose(folder / name);
        QCoreApplication::processEvents();
        EXPECT_EQ(answers, button == QMessageBox::Yes ? 1 : 0);
        if (panel())
            panel()->reject();
    }
}

} // namespace
} // namespace orvo::test
