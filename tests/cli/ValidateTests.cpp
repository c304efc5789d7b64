#include "CliFixture.h"
#include "TestSupport/Media.h"

#include <fstream>
#include <functional>
#include <gmock/gmock.h>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class Validate : public CliFixture {
protected:
    Validate()
    {
        makeVideo(media("screen.mov"), "testsrc2=size=64x36:rate=10:duration=2");
        makeAudio(media("microphone.m4a"), "sine=duration=2");
        project.duration = 2;
        project.tracks = {
            track(TrackKind::screen, "media/screen.mov", 0, 2), track(TrackKind::microphone, "media/microphone.m4a", 0, 2)};
        store.save(project);
    }

    fs::path media(const std::string& name) const { return store.directory(project.id) / "media" / name; }
};

TEST_F(Validate, ReportsEveryKindOfError)
{
    struct Case {
        std::string name;
        std::function<void()> damage;
        std::string message;
    };
    const VideoProject good = project;
    const auto change = [&](const std::function<void(VideoProject&)>& edit) {
        return [&, edit] {
            VideoProject bad = good;
            edit(bad);
            store.save(bad);
        };
    };
    const auto write = [](const fs::path& file, const std::string& text) { return [=] { std::ofstream(file) << text; }; };
    const Case cases[]{
        {"damaged document", write(store.directory(project.id) / "project.json", "{"), "No se puede leer el documento"},
        {"newer version", change([](VideoProject& p) { p.schemaVersion = 2; }), "requiere una versión más reciente"},
        {"size", change([](VideoProject& p) { p.width = 0; }), "El tamaño 0×1080 no es válido."},
        {"rate", change([](VideoProject& p) { p.fps = -1; }), "fotogramas por segundo no es válida"},
        {"missing media", [&] { fs::remove(media("screen.mov")); }, "Falta «media/screen.mov»."},
        {"text as media", write(media("microphone.m4a"), "texto"), "no se puede leer"},
        {"audio as video",
            [&] { fs::copy_file(media("microphone.m4a"), media("screen.mov"), fs::copy_options::overwrite_existing); },
            "«media/screen.mov» no contiene vídeo."},
        {"video as audio",
            [&] { fs::copy_file(media("screen.mov"), media("microphone.m4a"), fs::copy_options::overwrite_existing); },
            "«media/microphone.m4a» no contiene sonido."},
        {"path outside the project", change([](VideoProject& p) { p.tracks.edit()[0].file = "../../x.mov"; }),
            "queda fuera de la carpeta"},
        {"missing image",
            change([](VideoProject& p) { p.edit.overlays = {{.kind = Overlay::Kind::image, .content = "media/no.png"}}; }),
            "Falta «media/no.png»."},
        {"movie as image",
            [&] {
                fs::copy_file(media("screen.mov"), media("x.png"), fs::copy_options::overwrite_existing);
                VideoProject bad = good;
                bad.edit.overlays = {{.kind = Overlay::Kind::image, .content = "media/x.png"}};
                store.save(bad);
            },
            "«media/x.png» no es una imagen que se pueda mostrar."},
    };
    const std::string screen = readFile(media("screen.mov"));
    const std::string microphone = readFile(media("microphone.m4a"));
    for (const auto& [name, damage, message] : cases) {
        writeFileAtomically(media("screen.mov"), screen);
        writeFileAtomically(media("microphone.m4a"), microphone);
        store.save(good);
        EXPECT_EQ(orvo({"validate"}).status, 0) << name;
        damage();
        const Outcome outcome = orvo({"validate", "--json"});
        EXPECT_EQ(outcome.status, 1) << name;
        const JsonAnswer answer(outcome.out);
        EXPECT_FALSE(answer["valid"].flag()) << name;
        EXPECT_THAT(answer["projects"][0]["errors"][0].text(), HasSubstr(message)) << name;
        EXPECT_THAT(orvo({"validate"}).out, HasSubstr(message)) << name;
    }
}

TEST_F(Validate, RequiresFoldersNamedAfterProjects)
{
    const VideoProject copy = project;
    fs::copy(store.directory(project.id), store.directory(fixedId(9)), fs::copy_options::recursive);
    fs::create_directories(store.root() / "notas");
    const JsonAnswer twice(orvo({"validate", "--json"}).out);
    ASSERT_EQ(twice["projects"].size(), 2);
    EXPECT_EQ(twice["projects"][1]["folder"].text(), fixedId(9).text());
    EXPECT_FALSE(twice["projects"][1]["valid"].flag());
    EXPECT_EQ(orvo({"validate", id}).status, 0) << "the original is valid";
    EXPECT_EQ(orvo({"validate", fixedId(9).text()}).status, 1);
    EXPECT_EQ(orvo({"validate", "FFFF"}).status, 3);

    // Oddities are warnings, not errors.
    fs::remove_all(store.directory(fixedId(9)));
    fs::create_directories(store.directory(project.id) / ("render-" + fixedId(5).text()));
    const JsonAnswer odd = answer({"validate"});
    EXPECT_TRUE(odd["valid"].flag());
    EXPECT_THAT(odd["projects"][0]["warnings"][0].text(), HasSubstr("operación interrumpida"));
}

} // namespace

} // namespace orvo::test
