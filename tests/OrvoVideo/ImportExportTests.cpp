#include "ModelFixture.h"
#include "TestSupport/Media.h"
#include "VideoCore/FileIO.h"

#include <QSignalSpy>
#include <fstream>

namespace orvo::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class ImportExportTests : public ModelFixture {
protected:
    fs::path movie(const std::string& name, double seconds, const std::string& size = "320x180")
    {
        const auto file = folder / name;
        makeVideo(file, "testsrc2=size=" + size + ":rate=30:duration=" + std::to_string(seconds));
        return file;
    }

    /// Imports a movie and waits for the end of the operation.
    void import(const fs::path& file, bool append)
    {
        panels->choice = file;
        model->importMedia(append);
        ASSERT_TRUE(waitUntil([&] { return !model->busy(); }));
    }

    void exportTo(const fs::path& file)
    {
        panels->choice = file;
        model->exportVideo();
        ASSERT_TRUE(waitUntil([&] { return !model->busy(); }));
    }
};

TEST_F(ImportExportTests, KeepsEditsMadeDuringAnImport)
{
    const auto clip = movie("clip.mp4", 1);
    const auto other = add(VideoProject::make("other"));
    const auto opened = openNew(4);
    panels->choice = clip;
    model->importMedia(true);
    setTitle("edited meanwhile");
    ASSERT_TRUE(waitUntil([&] { return !model->busy(); }));
    EXPECT_EQ(project().title, "edited meanwhile");
    ASSERT_THAT(project().tracks, SizeIs(1));
    EXPECT_NEAR(project().duration, 5, 0.05);
    model->undo();
    EXPECT_EQ(project().title, "edited meanwhile");
    EXPECT_THAT(project().tracks, IsEmpty());

    // After opening another project, the movie still goes into the first one.
    model->importMedia(true);
    const auto opening = model->select(other);
    ASSERT_TRUE(waitUntil([&] { return opening.isReady() && !model->busy(); }));
    EXPECT_EQ(project().id, other.id);
    EXPECT_THAT(project().tracks, IsEmpty());
    EXPECT_EQ(onDisk(opened.id).title, "edited meanwhile");
    EXPECT_THAT(onDisk(opened.id).tracks, SizeIs(1));
}

TEST_F(ImportExportTests, ExportsTheProjectAsItWas)
{
    const auto clip = movie("clip.mp4", 2);
    start();
    import(clip, false);
    model->editing()->rename("Demo");
    model->update([](VideoProject& project) {
        project.edit.words = SharedList<TranscriptWord>{word("hola", 0.2, 0.8), word("adiós", 1.2, 1.8)};
        project.edit.fade = 0;
    });
    model->setSelectedSpan({0, 1});
    model->cutSelection();
    model->setOptions({.height = 90, .fps = 10});
    model->setExportQuality("small");
    const QSignalSpy progress(model.get(), &AppModel::progressChanged);

    panels->choice = std::nullopt;
    model->exportVideo();
    EXPECT_FALSE(model->busy());
    EXPECT_THAT(panels->proposedNames, testing::ElementsAre("Demo.mp4"));

    const auto file = folder / "result.mp4";
    std::ofstream(file) << "an older export";
    panels->choice = file;
    model->exportVideo();
    EXPECT_TRUE(model->busy());
    EXPECT_EQ(model->status(), "Exportando vídeo…");
    model->editing()->restoreCut(0, 1); // Too late for this export.
    panels->choice = folder / "whole.mp4";
    model->exportVideo(); // Queued after the running one.
    EXPECT_EQ(model->queue()->waiting(), QStringList{"Exportar «Demo»"});
    EXPECT_TRUE(model->idle()) << "other operations can run";
    ASSERT_TRUE(waitUntil([&] { return !model->busy(); }));
    EXPECT_NEAR(probe(folder / "whole.mp4").videoDuration, 2, 0.15);
    EXPECT_EQ(model->status(), "Vídeo y subtítulos exportados");
    EXPECT_EQ(model->errorMessage(), "");
    EXPECT_GT(model->progress(), 0.5);
    EXPECT_EQ(model->exports()->doneName(), "whole.mp4");
    EXPECT_EQ(model->exports()->doneCount(), 2);
    EXPECT_THAT(workspace->revealed, testing::ElementsAre(file, folder / "whole.mp4"));
    const auto result = probe(file);
    EXPECT_EQ(result.height, 90);
    EXPECT_EQ(result.width, 160);
    EXPECT_NEAR(result.videoDuration, 1, 0.15);
    EXPECT_NEAR(result.frames, 10, 1);
    const auto subtitles = readFile(folder / "result.srt");
    EXPECT_THAT(subtitles, HasSubstr("00:00:00,200 --> 00:00:00,800\nadiós"));
    EXPECT_THAT(subtitles, testing::Not(HasSubstr("hola")));
}

TEST_F(ImportExportTests, RemembersTheChoiceOfSubtitles)
{
    const auto clip = movie("clip.mp4", 1);
    start();
    EXPECT_EQ(model->exports()->choice()->subtitles(), "words");
    EXPECT_FALSE(model->exports()->choice()->burnIn());
    model->exports()->choice()->setSubtitles("everything");
    EXPECT_EQ(model->exports()->choice()->subtitles(), "words");
    model->exports()->choice()->setSubtitles("none");
    import(clip, false);
    exportTo(folder / "result.mp4");
    EXPECT_EQ(model->status(), "Vídeo exportado");
    EXPECT_FALSE(fs::exists(folder / "result.srt"));

    {
        ExportChoice choice;
        choice.setSubtitles("phrases");
        choice.setBurnIn(true);
    }
    ExportSettings settings;
    ExportChoice().apply(settings);
    EXPECT_EQ(settings.subtitles, SubtitleCues::phrases);
    EXPECT_TRUE(settings.burnIn);
    {
        ExportChoice choice; // Restores the defaults for later tests in this process.
        choice.setSubtitles("words");
        choice.setBurnIn(false);
    }
}

} // namespace
} // namespace orvo::test
