#include "ModelFixture.h"
#include "TestSupport/Media.h"
#include "TestSupport/Waiting.h"
#include "VideoCore/Error.h"

#include <future>

namespace orvo::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

/// A project with one second of audio, and a recogniser that returns the words of the test.
class TranscriptionTests : public ModelFixture {
protected:
    void openSpoken()
    {
        start();
        auto spoken = emptyProject(10);
        spoken.tracks = {track(TrackKind::microphone, "media/microphone.m4a", 2.5, 1)};
        spoken.edit.cuts = {{1, 2}};
        spoken = add(std::move(spoken));
        makeAudio(store.directory(spoken.id) / "media/microphone.m4a", "sine=440:d=1");
        select(spoken);
        // Also receives signals during destruction of the model.
        const auto* speaking = model.get();
        QObject::connect(
            speaking, &AppModel::statusChanged, speaking, [this, speaking] { statuses.push_back(speaking->status()); });
    }

    void transcribe()
    {
        model->transcribe();
        ASSERT_TRUE(waitUntil([&] { return !model->busy(); }));
    }

    fs::path workFile() const { return store.directory(project().id) / "transcription.wav"; }

    std::vector<QString> statuses;
};

TEST_F(TranscriptionTests, ReplacesTheTranscript)
{
    std::string asked;
    bool hadWorkFile = false;
    recognition = [&](const fs::path& file, std::string_view locale, const TranscriptionOptions& options,
                      const ProgressCallback& progress, const std::stop_token&) {
        asked = std::string(locale) + " " + options.model
            + (options.decoding == SpeechRecognizer::Decoding::careful ? " careful" : " quick");
        hadWorkFile = fs::file_size(file) > 100'000; // 3.5 seconds: the track starts at 2.5.
        progress(0.5);
        return std::vector{word("Hola", 2.5, 2.9), word("eh", 3.0, 3.4)};
    };
    openSpoken();
    model->transcription()->setLanguage("en-US");
    model->transcription()->setSpeechModel("tiny");
    model->transcription()->setCareful(true);
    transcribe();
    EXPECT_EQ(asked, "en-US tiny careful");
    EXPECT_TRUE(hadWorkFile);
    EXPECT_FALSE(fs::exists(workFile()));
    EXPECT_THAT(statuses,
        ElementsAre("Preparando audio para la transcripción local…",
            "Transcribiendo en el Mac · la primera vez se descargarán los modelos…", "Transcripción lista"));
    ASSERT_THAT(project().edit.words, SizeIs(2));
    EXPECT_THAT(project().edit.cuts, SizeIs(1));
    EXPECT_THAT(model->suggestions()->suggestions(), SizeIs(3)); // The first pause, the filler, the last pause.
    EXPECT_EQ(model->playhead(), 0);
    EXPECT_EQ(player->loads.size(), 1U); // The media have not changed.
    ASSERT_TRUE(saved());
    EXPECT_THAT(onDisk().edit.words, SizeIs(2));

    // A second transcription replaces the first; undo restores it.
    recognition = [](const auto&...) { return std::vector{word("Otra", 1, 2)}; };
    transcribe();
    EXPECT_THAT(project().edit.words, SizeIs(1));
    model->undo();
    EXPECT_THAT(project().edit.words, SizeIs(2));
}

TEST_F(TranscriptionTests, StoresTheConfidenceBesideTheDocument)
{
    const auto recognised = [](const char* text) {
        return [text](const fs::path&, std::string_view, const TranscriptionOptions& options, const ProgressCallback&,
                   const std::stop_token&) {
            std::vector words{word(text, 2.5, 2.9)};
            words[0].id = Uuid::random();
            options.heard(words, std::vector{0.3F});
            return words;
        };
    };
    recognition = recognised("una");
    openSpoken();
    const auto confidence = [&] { return model->transcription()->confidence().of(project().edit.words[0]); };
    transcribe();
    EXPECT_NEAR(confidence(), 0.3, 0.001);
    recognition = recognised("otra");
    transcribe();
    EXPECT_NEAR(confidence(), 0.3, 0.001);
    model->undo();
    EXPECT_EQ(project().edit.words[0].text, "una");
    EXPECT_NEAR(confidence(), 0.3, 0.001) << "an undo restores the confidence";

    const auto spoken = project();
    openNew(10, "Otro");
    EXPECT_TRUE(model->transcription()->confidence().empty());
    select(spoken);
    EXPECT_TRUE(waitUntil([&] { return confidence() < 1; }));
    ASSERT_TRUE(saved());
    fs::remove(store.directory(spoken.id) / WordConfidence::fileName);
    openNew(10, "Otro");
    select(onDisk(spoken.id));
    EXPECT_TRUE(model->transcription()->confidence().empty()) << "no confidence without the file";
}

TEST_F(TranscriptionTests, ChangesNothingWhenItFails)
{
    recognition = [](const auto&...) -> std::vector<TranscriptWord> {
        throw captureError("La transcripción local no admite este idioma en este Mac.");
    };
    openSpoken();
    transcribe();
    EXPECT_EQ(model->errorMessage(), "La transcripción local no admite este idioma en este Mac.");
    EXPECT_EQ(model->status(), "No se ha completado la operación");
    EXPECT_THAT(project().edit.words, IsEmpty());
    EXPECT_FALSE(model->canUndo());
    EXPECT_FALSE(fs::exists(workFile()));

    {
        const TranscriptionFile other(store.directory(project().id));
        transcribe();
        EXPECT_THAT(model->errorMessage().toStdString(), HasSubstr("ya se está transcribiendo"));
        EXPECT_TRUE(fs::exists(workFile()));
    }
    EXPECT_FALSE(fs::exists(workFile()));

    fs::remove(store.directory(project().id) / "media/microphone.m4a");
    transcribe();
    EXPECT_THAT(model->errorMessage().toStdString(), HasSubstr("microphone.m4a"));
    openNew();
    transcribe();
    EXPECT_EQ(model->errorMessage(), "El proyecto no contiene audio para transcribir.");
}

TEST_F(TranscriptionTests, StopsWhenCancelledAndWhenQuitting)
{
    int running = 0;
    recognition = [&](const fs::path&, std::string_view, const TranscriptionOptions&, const ProgressCallback&,
                      const std::stop_token& stop) -> std::vector<TranscriptWord> {
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), [&] { ++running; }, Qt::QueuedConnection); // The event wakes `waitUntil`.
        EXPECT_TRUE(waitForStop(stop));
        throw Cancelled();
    };
    openSpoken();
    model->transcribe();
    ASSERT_TRUE(waitUntil([&] { return running == 1; }));
    model->transcribe(); // Ignored.
    model->cancel();
    EXPECT_EQ(model->status(), "Cancelando…");
    EXPECT_TRUE(model->busy()) << "busy until the work has ended";
    ASSERT_TRUE(waitUntil([&] { return !model->busy(); }));
    EXPECT_EQ(model->status(), "Operación cancelada");
    EXPECT_THAT(project().edit.words, IsEmpty());
    EXPECT_FALSE(fs::exists(workFile()));

    const auto file = workFile();
    model->transcribe();
    ASSERT_TRUE(waitUntil([&] { return running == 2; }));
    EXPECT_TRUE(fs::exists(file));
    quit();
    EXPECT_FALSE(fs::exists(file));
}

TEST_F(TranscriptionTests, StoresTheWordsInTheirProjectWhenAnotherIsOpen)
{
    std::promise<void> goOn;
    const auto told = goOn.get_future();
    recognition = [&](const auto&...) {
        EXPECT_EQ(told.wait_for(std::chrono::minutes(1)), std::future_status::ready);
        return std::vector{word("Hola", 2.5, 2.9)};
    };
    openSpoken();
    const auto first = project().id;
    model->transcribe();
    openNew(10, "Otro");
    goOn.set_value();
    ASSERT_TRUE(waitUntil([&] { return !model->busy(); }));
    EXPECT_THAT(project().edit.words, IsEmpty());
    EXPECT_THAT(onDisk(first).edit.words, SizeIs(1));
}

} // namespace
} // namespace orvo::test
