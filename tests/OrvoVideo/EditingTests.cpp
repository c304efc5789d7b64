#include "ModelFixture.h"
#include "OrvoVideo/model/ModelText.h"
#include "TestSupport/Media.h"
#include "VideoCore/FileIO.h"

#include <fstream>
#include <limits>
#include <random>

namespace orvo::test {
namespace {

using testing::IsEmpty;
using testing::SizeIs;

class EditingTests : public ModelFixture {
protected:
    const EditState& edit() const { return project().edit; }
    void selectSpan(double start, double end) { model->setSelectedSpan({start, end}); }
    void moveTo(double seconds) { model->seek(seconds); }

    /// The open project gets these words.
    void transcribe(std::vector<TranscriptWord> words)
    {
        model->update([&](VideoProject& project) { project.edit.words = SharedList(std::move(words)); });
    }

    QString idOf(const auto& record) const { return Text::from(record.id); }
};

TEST_F(EditingTests, SetsFlagsAndValuesByTheirNames)
{
    openNew();
    for (const char* key : {"cameraVisible", "clickHalo", "pointerHighlight", "noiseReduction", "normalizeVoice"})
        model->setFlag(key, false);
    model->setFlag("sharpen", true);
    EditState expected;
    expected.cameraVisible = expected.clickHalo = expected.pointerHighlight = false;
    expected.noiseReduction = expected.normalizeVoice = false;
    expected.sharpen = true;
    EXPECT_EQ(edit(), expected);
    model->setValue("fade", 0.5);
    model->setValues({{"cameraX", 0.1}, {"cameraY", 0.2}, {"cameraWidth", 0.4}});
    expected.fade = 0.5;
    expected.cameraX = 0.1;
    expected.cameraY = 0.2;
    expected.cameraWidth = 0.4;
    EXPECT_EQ(edit(), expected);
    EXPECT_EQ(model->projectFacts().cameraWidth, 0.4);
    model->undo();
    EXPECT_EQ(edit().cameraX, EditState().cameraX);
    model->redo();

    // What no document can hold, and what is no field.
    model->addZoom();
    const auto before = project();
    const double infinite = std::numeric_limits<double>::infinity();
    model->setValue("fade", infinite);
    model->setValue("sharpen", 1);
    model->setValue("words", 1);
    model->setFlag("fade", true);
    model->setEventValue(idOf(edit().events[0]), "x", std::nan(""));
    model->setEventValue(idOf(edit().events[0]), "kind", 1);
    model->setVolume("x", infinite);
    EXPECT_EQ(project(), before);
    EXPECT_TRUE(model->prepareToQuit());
}

TEST_F(EditingTests, SuggestionsFollowTheEdits)
{
    openNew(20);
    model->update([](VideoProject& project) {
        project.edit.words = SharedList<TranscriptWord>{word("hola", 0.5, 1), word("eh", 5, 5.5)};
        project.edit.events = SharedList<PointerEvent>{pointer(PointerKind::click, 3)};
    });
    model->findSuggestions();
    auto* pauses = model->suggestedPauses();
    EXPECT_EQ(pauses->count(), 2);
    EXPECT_EQ(model->suggestedFillers()->count(), 1);
    EXPECT_EQ(model->suggestedZooms()->count(), 1);
    EXPECT_EQ(model->suggestedZooms()->gain(), 0);
    const double told = pauses->resultingLength();
    EXPECT_NEAR(pauses->gain(), 3.65 + 14.3, 1e-6);
    EXPECT_NEAR(told, 20 - pauses->gain(), 1e-6);

    model->applySuggestions("silence");
    EXPECT_NEAR(project().playableDuration(), told, 1e-6) << "it was told before";
    EXPECT_EQ(pauses->count(), 0);
    EXPECT_EQ(model->suggestedFillers()->count(), 1);
    EXPECT_EQ(model->suggestedZooms()->count(), 0) << "the click is inside a cut";
    EXPECT_EQ(model->undoName(), "acortar 2 pausas");
    model->undo(); // One step.
    EXPECT_THAT(edit().cuts, IsEmpty());
    EXPECT_EQ(pauses->count(), 2) << "they are offered again";
    EXPECT_EQ(model->suggestedZooms()->count(), 1);
    model->cutWord(model->transcript()->get(1)["wordId"].toString());
    EXPECT_EQ(model->suggestedFillers()->count(), 0);
    model->applySuggestions("zoom");
    EXPECT_THAT(edit().events, SizeIs(2));
    EXPECT_EQ(model->suggestedZooms()->count(), 0);
    model->applySuggestions("none of them");
    EXPECT_EQ(model->undoName(), QStringLiteral("añadir un zoom"));
    openNew(5, "another");
    EXPECT_EQ(model->suggestions()->count(), 0);
}

TEST_F(EditingTests, CopiesImagesIntoTheProject)
{
    const auto opened = openNew(10);
    const auto image = folder / "photo.PNG";
    ffmpeg({"-f", "lavfi", "-i", "color=red:size=16x16", "-frames:v", "1", "-update", "1", image.string()});
    const std::string picture = readFile(image);
    model->addImage(); // Cancelled.
    EXPECT_EQ(panels->asked, 1);

    panels->choice = image;
    moveTo(8);
    model->addImage();
    ASSERT_TRUE(waitUntil([&] { return edit().overlays.size() == 1; }));
    const auto& overlay = edit().overlays[0];
    EXPECT_EQ(overlay.kind, Overlay::Kind::image);
    EXPECT_THAT(overlay.content, testing::MatchesRegex("media/[0-9A-F-]{36}\\.PNG"));
    EXPECT_EQ(overlay.start, 8);
    EXPECT_EQ(overlay.end, 10);
    EXPECT_EQ(readFile(store.directory(opened.id) / overlay.content), picture);
    EXPECT_EQ(model->overlays()->get(0)["source"].toUrl().fileName(),
        QString::fromStdString(std::filesystem::path(overlay.content).filename()));

    std::ofstream(folder / "noextension") << picture;
    model->addImageFile(QUrl::fromLocalFile(QString::fromStdString((folder / "noextension").string())));
    ASSERT_TRUE(waitUntil([&] { return edit().overlays.size() == 2; }));
    EXPECT_THAT(edit().overlays[1].content, testing::EndsWith("."));

    // What cannot be copied or shown is told, and leaves nothing behind.
    std::ofstream(folder / "half.png") << picture.substr(0, picture.size() / 2);
    const std::pair<std::filesystem::path, std::string> cases[] = {
        {folder / "missing.png", (folder / "missing.png").string()},
        {folder.path(), folder.path().string()},
        {folder / "half.png", "«half.png» no es una imagen que se pueda usar: debe ser PNG, JPEG, WebP, GIF, BMP o TIFF."},
    };
    for (const auto& [bad, text] : cases) {
        panels->choice = bad;
        model->addImage();
        ASSERT_TRUE(waitUntil([&] { return !model->errorMessage().isEmpty(); }));
        EXPECT_THAT(model->errorMessage().toStdString(), testing::HasSubstr(text));
        model->clearError();
    }
    EXPECT_THAT(edit().overlays, SizeIs(2));
    const auto media = store.directory(opened.id) / "media";
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(media), {}), 2);

    // Another project was opened while it was copied.
    const auto next = add(VideoProject::make("next"));
    panels->choice = image;
    model->addImage();
    const auto opening = model->select(next);
    ASSERT_TRUE(waitUntil([&] { return opening.isReady() && project().id == next.id; }));
    ASSERT_TRUE(waitUntil([&] { return std::distance(std::filesystem::directory_iterator(media), {}) == 3; }));
    EXPECT_THAT(edit().overlays, IsEmpty());
}

TEST_F(EditingTests, UndoAfterAnyEditsGivesTheSameValue)
{
    std::mt19937_64 random(22);
    openNew(60);
    std::vector<TranscriptWord> words;
    words.reserve(40);
    for (int i = 0; i < 40; ++i)
        words.push_back(word("w", i, i + 0.8));
    transcribe(words);
    const auto number = [&] { return static_cast<double>(random() % 600) / 10; };
    const auto any = [&](const auto& list) { return list.empty() ? QString() : idOf(list[random() % list.size()]); };
    const std::vector<std::function<void()>> edits{
        [&] {
            selectSpan(number(), number());
            model->cutSelection();
        },
        [&] { model->cutWord(any(edit().words)); },
        [&] {
            if (const auto& cuts = edit().cuts; !cuts.empty())
                model->restoreCut(cuts[0].start, cuts[0].end);
        },
        [&] { model->correctWord(any(edit().words), QString::number(number())); },
        [&] { model->addText("t"); },
        [&] { model->addZoom(); },
        [&] { model->removeOverlay(any(edit().overlays)); },
        [&] { model->removeEvent(any(edit().events)); },
        [&] { model->setEventValue(any(edit().events), "scale", number()); },
        [&] { model->setOverlayValue(any(edit().overlays), "x", number()); },
        [&] { model->setFlag("sharpen", random() % 2 == 0); },
        [&] { model->setValue("fade", number()); },
        [&] { model->rename(QString::number(number())); },
        [&] { moveTo(number()); },
    };
    for (int round = 0; round < 20; ++round) {
        std::vector<VideoProject> versions{project()};
        for (int i = 0; i < 30; ++i) {
            edits[random() % edits.size()]();
            if (!(project() == versions.back()))
                versions.push_back(project());
        }
        for (auto version = versions.rbegin(); version != versions.rend(); ++version) {
            ASSERT_EQ(project(), *version) << "round " << round;
            if (version + 1 != versions.rend())
                model->undo();
        }
        for (std::size_t i = 1; i < versions.size(); ++i) {
            model->redo();
            ASSERT_EQ(project(), versions[i]);
        }
    }
    const auto last = project();
    ASSERT_TRUE(model->prepareToQuit());
    EXPECT_EQ(onDisk().edit, last.edit);
}

} // namespace
} // namespace orvo::test
