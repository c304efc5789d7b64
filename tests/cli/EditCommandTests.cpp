#include "CliFixture.h"

#include <fstream>
#include <gmock/gmock.h>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class Editing : public CliFixture { };

TEST_F(Editing, MergesClampsAndRestoresCuts)
{
    const JsonAnswer cut = answer({"cut", id, "2", "4"});
    EXPECT_EQ(cut["id"].text(), id);
    EXPECT_EQ(cut["playableDuration"].number(), 8);
    answer({"cut", id, "0:03", "0:00:06.0"});
    EXPECT_THAT(stored().edit.cuts, ElementsAre(TimeSpan{2, 6}));
    answer({"cut", id, "9,5", "1e3"});
    const JsonAnswer clamped = answer({"cut", id, "-.5", "0.25"});
    EXPECT_EQ(clamped["cut"]["start"].number(), 0) << "reports the actual cut";
    EXPECT_EQ(clamped["cut"]["end"].number(), 0.25);
    const Outcome beyond = orvo({"cut", id, "9.5", "99"});
    EXPECT_THAT(beyond.out, HasSubstr("Recortado 0:09.500 → 0:10.000. La grabación va de 0:00.000 a 0:10.000."));
    EXPECT_EQ(orvo({"cut", id, "9.995", "99"}).status, 2) << "the rest is too short to cut";
    EXPECT_EQ(orvo({"set", id, "title", "-.hola"}).status, 2) << "not a number, so an option";
    EXPECT_THAT(stored().edit.cuts, ElementsAre(TimeSpan{0, 0.25}, TimeSpan{2, 6}, TimeSpan{9.5, 10}));

    // A stored cut is found by its rounded times, or by a time inside it.
    VideoProject fine = stored();
    fine.edit.cuts = {{1.23456789, 2.3456789}, {4, 5}, {6, 7}};
    store.save(fine);
    EXPECT_EQ(orvo({"restore", id, "2", "3"}).status, 1);
    EXPECT_EQ(orvo({"restore", id, "0:01.235", "0:02.346"}).status, 0);
    EXPECT_THAT(stored().edit.cuts, ElementsAre(TimeSpan{4, 5}, TimeSpan{6, 7}));
    EXPECT_EQ(orvo({"restore", id, "4.5"}).status, 0);
    EXPECT_THAT(stored().edit.cuts, ElementsAre(TimeSpan{6, 7}));
    EXPECT_EQ(answer({"restore", id, "--all"})["cuts"].size(), 0);
    EXPECT_THAT(stored().edit.cuts, IsEmpty());
}

TEST_F(Editing, AddsChangesAndRemovesOverlaysAndZooms)
{
    const std::string text = answer({"text", id, "8", "-5 °C {a}\n¡ojo!"})["element"].text();
    const std::string zoom = answer({"zoom", id, "0:02.5", "--scale", "2", "--x", ".25"})["element"].text();
    VideoProject now = stored();
    ASSERT_EQ(now.edit.overlays.size(), 1);
    const Overlay expectedText{.id = *Uuid::parse(text), .content = "-5 °C {a}\n¡ojo!", .start = 8, .end = 10};
    EXPECT_EQ(now.edit.overlays[0], expectedText);
    const PointerEvent expectedZoom{
        .id = *Uuid::parse(zoom), .time = 2.5, .x = 0.25, .y = 0.5, .kind = PointerKind::zoom, .duration = 2.5, .scale = 2};
    EXPECT_THAT(now.edit.events, ElementsAre(expectedZoom));

    // Other elements stay unchanged.
    EXPECT_EQ(orvo({"text", id, "5", "otro"}).status, 0);
    EXPECT_EQ(orvo({"zoom", id, "6"}).status, 0);
    const VideoProject others = stored();
    const std::string shortText = text.substr(0, 12);
    EXPECT_EQ(orvo({"set", id, shortText + ".start", "0:01"}).status, 0);
    EXPECT_EQ(orvo({"set", id, shortText + ".x", "-0.25"}).status, 0);
    EXPECT_EQ(orvo({"set", id, zoom + ".duration", "4"}).status, 0);
    EXPECT_EQ(orvo({"set", id, zoom + ".width", "4"}).status, 2) << "a zoom has no width";
    now = stored();
    EXPECT_EQ(now.edit.overlays[0].start, 1);
    EXPECT_EQ(now.edit.overlays[0].x, -0.25);
    EXPECT_EQ(now.edit.events[0].duration, 4);

    EXPECT_EQ(orvo({"remove", id, "0000000"}).status, 1);
    EXPECT_EQ(orvo({"remove", id, shortText}).status, 0);
    EXPECT_EQ(orvo({"remove", id, zoom}).status, 0);
    now = stored();
    EXPECT_THAT(now.edit.overlays, ElementsAre(others.edit.overlays[1]));
    EXPECT_THAT(now.edit.events, ElementsAre(others.edit.events[1]));
}

TEST_F(Editing, SetsEveryField)
{
    const MediaTrack microphone = track(TrackKind::microphone, "media/microphone.m4a", 0, 10);
    const MediaTrack firstClip = track(TrackKind::clip, "media/a.mov", 0, 5);
    const MediaTrack secondClip = track(TrackKind::clip, "media/b.mov", 5, 5);
    project.tracks = {microphone, firstClip, secondClip};
    project.updatedAt = DateTime();
    store.save(project);

    struct Case {
        std::string field;
        std::string value;
        bool (*isSet)(const VideoProject&);
    };
    const Case cases[]{
        {"cameraX", "-0.1", [](const VideoProject& p) { return p.edit.cameraX == -0.1; }},
        {"cameraY", "-.5", [](const VideoProject& p) { return p.edit.cameraY == -0.5; }},
        {"cameraWidth", "0,3", [](const VideoProject& p) { return p.edit.cameraWidth == 0.3; }},
        {"fade", "0", [](const VideoProject& p) { return p.edit.fade == 0; }},
        {"cameraVisible", "no", [](const VideoProject& p) { return !p.edit.cameraVisible; }},
        {"clickHalo", "false", [](const VideoProject& p) { return !p.edit.clickHalo; }},
        {"pointerHighlight", "off", [](const VideoProject& p) { return !p.edit.pointerHighlight; }},
        {"noiseReduction", "0", [](const VideoProject& p) { return !p.edit.noiseReduction; }},
        {"normalizeVoice", "no", [](const VideoProject& p) { return !p.edit.normalizeVoice; }},
        {"sharpen", "sí", [](const VideoProject& p) { return p.edit.sharpen; }},
        {"volume.microphone", "0.25", [](const VideoProject& p) { return p.tracks[0].volume == 0.25; }},
        {"microphone.volume", "2", [](const VideoProject& p) { return p.tracks[0].volume == 2; }},
        {"volume." + secondClip.id.text(), "0", [](const VideoProject& p) { return p.tracks[2].volume == 0; }},
        {firstClip.id.text() + ".volume", "0.5", [](const VideoProject& p) { return p.tracks[1].volume == 0.5; }},
        {"title", "list", [](const VideoProject& p) { return p.title == "list"; }},
        {"title", "{}", [](const VideoProject& p) { return p.title == "{}"; }},
        {"title", "[a, b]", [](const VideoProject& p) { return p.title == "[a, b]"; }},
        {"title", "", [](const VideoProject& p) { return p.title.empty(); }},
        {"title", R"(«Él» dijo: "¿qué?" \ 'sí' 🎬)", [](const VideoProject& p) { return p.title.ends_with(" 'sí' 🎬"); }},
    };
    for (const auto& [field, value, isSet] : cases) {
        const JsonAnswer set = answer({"set", id, field, value});
        EXPECT_EQ(set["id"].text(), id);
        EXPECT_TRUE(set.has("value")) << field;
        EXPECT_TRUE(isSet(stored())) << field << " " << value;
    }
    EXPECT_EQ(orvo({"set", id, "title", "--", "-un guion"}).status, 0);
    EXPECT_EQ(stored().title, "-un guion");
    EXPECT_GT(stored().updatedAt, project.createdAt) << "updates the date";

    expectFailure({"set", id, "volume.clip", "1"}, 2, "volume." + secondClip.id.text());
    EXPECT_EQ(orvo({"set", id, "volume.system", "1"}).status, 1);
}

TEST_F(Editing, KeepsSimultaneousEdits)
{
    constexpr int count = 20;
    std::vector<std::unique_ptr<Program>> running;
    for (int i = 0; i < count; ++i) {
        const std::string start = std::to_string(i * 0.5);
        running.push_back(
            std::make_unique<Program>(std::vector<std::string>{"cut", id, start, std::to_string(i * 0.5 + 0.25)}, setup));
    }
    for (const auto& program : running)
        EXPECT_EQ(program->end().status, 0);
    const auto cuts = stored().edit.cuts;
    ASSERT_EQ(cuts.size(), count);
    for (std::size_t i = 0; i < count; ++i)
        EXPECT_EQ(cuts[i], (TimeSpan{static_cast<double>(i) * 0.5, static_cast<double>(i) * 0.5 + 0.25}));
}

TEST_F(Editing, RefusesToEditARunningRecording)
{
    for (const std::string state : {"recording", "recording-tab"}) {
        project.state = state;
        store.save(project);
        const std::string before = document();
        for (const std::vector<std::string>& arguments :
            {std::vector<std::string>{"cut", id, "1", "2"}, {"text", id, "1", "hola"}, {"set", id, "title", "otro"},
                {"apply", id, "--all"}, {"restore", id, "--all"}}) {
            expectFailure(arguments, 1, "orvo: Termina esta grabación antes de editarla.\n");
        }
        EXPECT_EQ(orvo({"export", id, folder / "x.mp4"}).status, 1);
        EXPECT_EQ(orvo({"show", id}).status, 0);
        EXPECT_EQ(document(), before);
    }
}

TEST_F(Editing, RejectsDamagedAndForeignDocuments)
{
    VideoProject victim = emptyProject(5);
    victim.id = fixedId(77);
    store.create(victim);
    const std::string victimDocument = readFile(store.directory(victim.id) / "project.json");

    VideoProject newer = project;
    newer.schemaVersion = 2;
    store.save(newer);
    const std::string ofNewerVersion = document();
    store.save(project);
    const std::string good = document();

    struct Case {
        std::string document;
        std::string message;
    };
    const Case cases[]{
        {ofNewerVersion, "Este proyecto requiere una versión más reciente."},
        {good.substr(0, good.size() / 2), ""},
        {"", ""},
        {"[]", ""},
        {std::string(100'000, '['), ""},
        {victimDocument, "es de otro proyecto (" + victim.id.text() + ")"},
    };
    for (const auto& [text, message] : cases) {
        std::ofstream(store.directory(project.id) / "project.json") << text;
        for (const std::vector<std::string>& arguments :
            {std::vector<std::string>{"cut", id, "1", "2"}, {"show", id}, {"export", id, folder / "x.mp4"}}) {
            const Outcome outcome = orvo(arguments);
            EXPECT_EQ(outcome.status, 1) << text.substr(0, 40);
            EXPECT_THAT(outcome.err, HasSubstr(message));
            EXPECT_THAT(outcome.out, IsEmpty());
        }
        EXPECT_EQ(document(), text);
    }
    EXPECT_EQ(readFile(store.directory(victim.id) / "project.json"), victimDocument);

    fs::remove(store.directory(project.id) / "project.json");
    EXPECT_EQ(orvo({"cut", id, "1", "2"}).status, 3) << "a folder without a document is not a project";
}

} // namespace

} // namespace orvo::test
