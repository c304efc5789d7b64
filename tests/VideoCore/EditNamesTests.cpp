#include "TestSupport/Projects.h"
#include "VideoCore/EditNames.h"
#include "VideoCore/Edits.h"

#include <functional>
#include <gtest/gtest.h>

namespace orvo::test {
namespace {

VideoProject lesson()
{
    auto project = emptyProject();
    project.duration = 100;
    project.edit.words = {
        word("Hola", 0.1, 0.5), word("eh,", 0.5, 1), word("mundo.", 1, 1.4), word("Um", 4, 4.3), word("Adiós", 4.3, 5)};
    project.tracks = {track(TrackKind::screen, "a.mov", 0, 100)};
    return project;
}

TEST(EditNames, NamesEveryKindOfEdit)
{
    using Change = std::function<void(VideoProject&)>;
    const auto firstText = [](VideoProject& project) -> Overlay& { return project.edit.overlays.edit().front(); };
    const Change withText = [](VideoProject& project) {
        project.edit.overlays.edit().push_back(Edits::makeOverlay(project, Overlay::Kind::text, "Uno", 1));
    };
    const Change withZoom = [](VideoProject& project) { project.edit.events.edit().push_back(Edits::makeZoom(3)); };
    const Change wordsCut = [](VideoProject& project) { Edits::cut(project, {0.1, 1.4}); };
    struct Case {
        Change before;
        Change change;
        std::string name;
    };
    const Change none = [](VideoProject&) { };
    const std::vector<Case> cases{
        {none, none, ""},
        {none, [](auto& project) { project.updatedAt += std::chrono::hours(1); }, ""},
        {none, [](auto& project) { project.title = "Otro"; }, "cambiar el título"},
        {none, wordsCut, "cortar 3 palabras"},
        {none, [](auto& project) { Edits::cut(project, {0.1, 0.5}); }, "cortar «Hola»"},
        {none, [](auto& project) { Edits::cut(project, {0.5, 1}); }, "quitar una muletilla"},
        {none, [](auto& project) { Edits::cutFillers(project); }, "quitar 2 muletillas"},
        {none, [](auto& project) { Edits::cut(project, {1.4, 4}); }, "cortar una pausa"},
        {none, [](auto& project) { Edits::shortenPause(project, {1.4, 4}); }, "acortar una pausa"},
        {none, [](auto& project) { Edits::shortenPauses(project, 1); }, "acortar 2 pausas"},
        {none, [](auto& project) { Edits::cut(project, {0.2, 0.45}); }, "cortar 0,2 s"},
        {none,
            [](auto& project) {
                project.edit.words = {};
                Edits::cut(project, {10, 85});
            },
            "varios cambios"},
        {[](auto& project) { project.edit.words = {}; }, [](auto& project) { Edits::cut(project, {10, 85}); },
            "cortar 1 min 15 s"},
        {wordsCut, [](auto& project) { Edits::restore(project, {0.1, 1.4}); }, "restaurar 3 palabras"},
        {wordsCut, [](auto& project) { Edits::restorePart(project, {1, 1.4}); }, "restaurar «mundo.»"},
        {wordsCut, [](auto& project) { project.edit.cuts = {{0.2, 1.5}}; }, "ajustar un corte"},
        {none, [](auto& project) { project.edit.words.edit()[2].text = "mundo nuevo."; }, "corregir «mundo nuevo.»"},
        {none,
            [](auto& project) {
                project.edit.words.edit()[0].text = "Buenas";
                project.edit.words.edit()[4].text = "Chao";
            },
            "corregir 2 palabras"},
        {none, [](auto& project) { project.edit.words.edit()[0].text = "Una frase que es demasiado larga"; },
            "corregir «Una frase que es demasia…»"},
        {none, [](auto& project) { project.edit.words = {word("Otra", 0, 1)}; }, "transcribir"},
        {none, [](auto& project) { project.edit.words = {}; }, "quitar la transcripción"},
        {none, withText, "añadir un texto"},
        {none,
            [](auto& project) {
                for (int i = 0; i < 2; ++i)
                    project.edit.overlays.edit().push_back(Edits::makeOverlay(project, Overlay::Kind::image, "a.png", 1));
            },
            "añadir 2 imágenes"},
        {withText, [&](auto& project) { firstText(project).content = "Dos"; }, "cambiar un texto"},
        {withText, [&](auto& project) { firstText(project).x = 0.5; }, "mover un texto"},
        {withText, [&](auto& project) { firstText(project).end = 9; }, "cambiar cuándo se ve un texto"},
        {withText, [](auto& project) { project.edit.overlays = {}; }, "quitar un texto"},
        {none, withZoom, "añadir un zoom"},
        {withZoom, [](auto& project) { project.edit.events.edit().back().x = 0.1; }, "mover un zoom"},
        {withZoom, [](auto& project) { project.edit.events.edit().back().scale = 3; }, "cambiar el aumento de un zoom"},
        {withZoom, [](auto& project) { project.edit.events = {}; }, "quitar un zoom"},
        {none, [](auto& project) { project.edit.cameraVisible = false; }, "ocultar la cámara"},
        {none, [](auto& project) { project.edit.cameraX = project.edit.cameraY = 0; }, "mover la cámara"},
        {none, [](auto& project) { project.edit.fade = 0; }, "quitar el fundido"},
        {none, [](auto& project) { project.tracks.edit().front().volume = 0.5; }, "cambiar el volumen"},
        {none,
            [](auto& project) {
                project.tracks.edit().push_back(track(TrackKind::clip, "b.mov", 100, 5));
                project.duration = 105;
            },
            "añadir un vídeo"},
        {none, [](auto& project) { project.publication = Publication{.videoID = "a", .url = {}, .domains = {}}; },
            "publicar"},
        {none, [](auto& project) { project.state = "recoverable"; }, "cambiar el proyecto"},
    };
    for (const auto& [prepare, change, name] : cases) {
        auto before = lesson();
        prepare(before);
        auto after = before;
        change(after);
        EXPECT_EQ(EditNames::nameOf({before, after}), name);
    }
}

} // namespace
} // namespace orvo::test
