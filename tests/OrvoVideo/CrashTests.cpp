#include "ModelFixture.h"

#include <QCoreApplication>
#include <QProcess>
#include <QRandomGenerator>
#include <QTimer>

namespace orvo::test {
namespace {

namespace fs = std::filesystem;

/// A process that edits a project until it is killed.
class Editor : public QProcess {
public:
    Editor(const ProjectStore& store, const VideoProject& project, int maxPause)
    {
        connect(this, &QProcess::readyReadStandardOutput, this, &Editor::listen);
        start(QCoreApplication::applicationFilePath(),
            {"--edit", QString::fromStdString(store.root().string()), QString::fromStdString(project.id.text()),
                QString::number(maxPause)});
    }

    void crash()
    {
        kill(); // SIGKILL: no handler or destructor runs.
        waitForFinished();
        listen();
    }

    int made = 0; ///< The last edit that it has reported.
    int safe = 0; ///< The last edit that it has reported as saved.

private:
    void listen()
    {
        while (canReadLine()) {
            const auto words = readLine().trimmed().split(' ');
            (words[0] == "made" ? made : safe) = words[1].toInt();
        }
    }
};

class CrashTests : public ModelFixture {
protected:
    /// Opens the project after a crash and returns the number of its last edit. Expects one whole version.
    int foundAfterCrash(const VideoProject& edited)
    {
        start();
        select(edited);
        const int number = std::stoi(project().title);
        EXPECT_EQ(project().edit.events.size(), static_cast<std::size_t>(number));
        EXPECT_EQ(model->zooms()->count(), number);
        EXPECT_EQ(model->errorMessage(), "");
        quit();
        return number;
    }
};

TEST_F(CrashTests, RestoresAWholeVersionNoOlderThanTheLastSave)
{
    const auto edited = add(VideoProject::make("0"));
    int found = 0;
    for (int round = 0; round < 24; ++round) {
        // Half of the rounds edit without a pause, so that only the unsaved edits are on disk.
        Editor editor(store, edited, round % 2 == 0 ? 5 : 700);
        ASSERT_TRUE(waitUntil([&] { return editor.made > 0; }));
        bool over = false;
        QTimer::singleShot(QRandomGenerator::global()->bounded(900), &editor, [&] { over = true; });
        ASSERT_TRUE(waitUntil([&] { return over; }));
        editor.crash();
        const int before = found;
        found = foundAfterCrash(edited);
        EXPECT_GE(found, std::max(editor.safe, before)) << "round " << round;
        EXPECT_LE(found, editor.made + 1) << "round " << round;
    }
}

TEST_F(CrashTests, RestoresEditsOlderThanTheDelayAfterABurst)
{
    const auto edited = add(VideoProject::make("0"));
    const auto file = store.directory(edited.id) / "unsaved-edits.json";
    Editor editor(store, edited, 5);
    fs::file_time_type last;
    // The unsaved edits are written once per delay.
    const auto keptAgain = [&] {
        return waitUntil([&] {
            std::error_code error;
            const auto time = fs::last_write_time(file, error);
            return !error && std::exchange(last, time) != time;
        });
    };
    ASSERT_TRUE(keptAgain());
    const int then = editor.made;
    ASSERT_GT(then, 0);
    ASSERT_TRUE(keptAgain() && keptAgain());
    editor.crash();
    EXPECT_GE(foundAfterCrash(edited), then);
}

} // namespace
} // namespace orvo::test
