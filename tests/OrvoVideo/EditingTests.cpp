#include "ModelFixture.h"
#include "OrvoVideo/model/ModelText.h"
#include "TestSupport/Media.h"
#include "VideoCore/FileIO.h"

#include <fstream>
#include <limits>
#include <sys/stat.h>
#include <utility>

namespace orvo::test {
namespace {

using testing::IsEmpty;
using testing::SizeIs;

class EditingTests : public ModelFixture {
protected:
    const EditState& edit() const { return project().edit; }
    QString idOf(const auto& record) const { return Text::from(record.id); }
};

TEST_F(EditingTests, IgnoresUnknownFieldsAndNonFiniteNumbers)
{
    openNew();
    model->editing()->setValues({{"cameraX", 0.1}, {"cameraY", 0.2}});
    EXPECT_EQ(edit().cameraY, 0.2);
    model->undo();
    EXPECT_EQ(edit().cameraX, EditState().cameraX) << "both values are one step";
    model->editing()->addZoom();
    const auto before = project();
    const double infinite = std::numeric_limits<double>::infinity();
    model->editing()->setValue("fade", infinite);
    model->editing()->setValue("sharpen", 1);
    model->editing()->setValue("words", 1);
    model->editing()->setFlag("fade", true);
    model->editing()->setEventValue(idOf(edit().events[0]), "x", std::nan(""));
    model->editing()->setEventValue(idOf(edit().events[0]), "kind", 1);
    model->editing()->setVolume("x", infinite);
    EXPECT_EQ(project(), before);
    EXPECT_TRUE(model->prepareToQuit());
}

TEST_F(EditingTests, UpdatesSuggestionsAfterEdits)
{
    openNew(20);
    model->update([](VideoProject& project) {
        project.edit.words = SharedList<TranscriptWord>{word("hola", 0.5, 1), word("eh", 5, 5.5)};
        project.edit.events = SharedList<PointerEvent>{pointer(PointerKind::click, 3)};
    });
    model->findSuggestions();
    auto* pauses = model->editing()->suggestedPauses();
    EXPECT_EQ(pauses->count(), 2);
    EXPECT_EQ(model->editing()->suggestedFillers()->count(), 1);
    EXPECT_EQ(model->editing()->suggestedZooms()->count(), 1);
    EXPECT_EQ(model->editing()->suggestedZooms()->gain(), 0);
    const double announced = pauses->resultingLength();
    EXPECT_NEAR(pauses->gain(), 3.65 + 14.3, 1e-6);
    EXPECT_NEAR(announced, 20 - pauses->gain(), 1e-6);

    model->editing()->applySuggestions("silence");
    EXPECT_NEAR(project().playableDuration(), announced, 1e-6);
    EXPECT_EQ(pauses->count(), 0);
    EXPECT_EQ(model->editing()->suggestedFillers()->count(), 1);
    EXPECT_EQ(model->editing()->suggestedZooms()->count(), 0) << "the click is inside a cut";
    EXPECT_EQ(model->editing()->undoName(), "acortar 2 pausas");
    model->undo(); // One step.
    EXPECT_THAT(edit().cuts, IsEmpty());
    EXPECT_EQ(pauses->count(), 2) << "they are offered again";
    EXPECT_EQ(model->editing()->suggestedZooms()->count(), 1);
    model->editing()->cutWord(model->transcript()->get(1)["wordId"].toString());
    EXPECT_EQ(model->editing()->suggestedFillers()->count(), 0);
    model->editing()->applySuggestions("zoom");
    EXPECT_THAT(edit().events, SizeIs(2));
    EXPECT_EQ(model->editing()->suggestedZooms()->count(), 0);
    model->editing()->applySuggestions("none of them");
    EXPECT_EQ(model->editing()->undoName(), QStringLiteral("añadir un zoom"));
    openNew(5, "another");
    EXPECT_EQ(model->suggestions()->count(), 0);
}

TEST_F(EditingTests, CopiesImagesIntoTheProject)
{
    const auto opened = openNew(10);
    const auto image = folder / "photo.PNG";
    ffmpeg({"-f", "lavfi", "-i", "color=red:size=16x16", "-frames:v", "1", "-update", "1", image.string()});
    const std::string bytes = readFile(image);
    model->addImage(); // Cancelled.
    EXPECT_EQ(panels->asked, 1);

    panels->choice = image;
    model->seek(8);
    model->addImage();
    ASSERT_TRUE(waitUntil([&] { return edit().overlays.size() == 1; }));
    const auto& overlay = edit().overlays[0];
    EXPECT_EQ(overlay.kind, Overlay::Kind::image);
    EXPECT_THAT(overlay.content, testing::MatchesRegex("media/[0-9A-F-]{36}\\.PNG"));
    EXPECT_EQ(overlay.start, 8);
    EXPECT_EQ(overlay.end, 10);
    EXPECT_EQ(readFile(store.directory(opened.id) / overlay.content), bytes);
    EXPECT_EQ(model->overlays()->get(0)["source"].toUrl().fileName(),
        QString::fromStdString(std::filesystem::path(overlay.content).filename()));

    std::ofstream(folder / "noextension") << bytes;
    model->editing()->addImageFile(QUrl::fromLocalFile(QString::fromStdString((folder / "noextension").string())));
    ASSERT_TRUE(waitUntil([&] { return edit().overlays.size() == 2; }));
    EXPECT_THAT(edit().overlays[1].content, testing::EndsWith("."));

    // Reports unusable images and leaves no copy of them.
    std::ofstream(folder / "half.png") << bytes.substr(0, bytes.size() / 2);
    std::ofstream(folder / "photo.\xE9") << bytes;
    std::ofstream(folder / "huge.png") << bytes;
    std::filesystem::resize_file(folder / "huge.png", (256 << 20) + 1);
    ASSERT_EQ(::mkfifo((folder / "pipe.png").c_str(), 0600), 0);
    const std::pair<std::string, std::string> cases[]{
        {"half.png", "«half.png» no es una imagen que se pueda usar: debe ser PNG, JPEG, WebP, GIF, BMP o TIFF."},
        {"photo.\xE9", "El nombre «photo.\uFFFD» no es UTF-8 válido."},
        {"huge.png", "«" + (folder / "huge.png").string() + "»: el archivo es demasiado grande"},
        {"pipe.png", "«" + (folder / "pipe.png").string() + "»: el nombre o el valor no es válido"},
    };
    for (const auto& [name, message] : cases) {
        panels->choice = folder / name;
        model->addImage();
        ASSERT_TRUE(waitUntil([&] { return !model->errorMessage().isEmpty(); }));
        EXPECT_EQ(model->errorMessage().toStdString(), message);
        model->clearError();
    }
    EXPECT_THAT(edit().overlays, SizeIs(2));
    const auto copies = [media = store.directory(opened.id) / "media"] {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(media), {}));
    };
    EXPECT_EQ(copies(), 2U);

    // Opening another project during the copy leaves no copy without a document that names it.
    const auto next = add(VideoProject::make("next"));
    panels->choice = image;
    model->addImage();
    const auto opening = model->select(next);
    ASSERT_TRUE(waitUntil([&] { return opening.isReady() && project().id == next.id; }));
    EXPECT_THAT(edit().overlays, IsEmpty());
    quit();
    EXPECT_EQ(copies(), onDisk(opened.id).edit.overlays.size());
}

} // namespace
} // namespace orvo::test
