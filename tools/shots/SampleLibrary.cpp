#include "SampleLibrary.h"

#include "TestSupport/Media.h"
#include "VideoCore/WordConfidence.h"

#include <chrono>
#include <format>
#include <sstream>

namespace orvo::shots {

namespace {

/// A slide with moving bars and a title.
std::string slide(const std::string& colour, const std::string& title, int seconds)
{
    return std::format("color=c={}:size=1280x720:rate=25:duration={},drawgrid=w=80:h=80:color=white@0.06,"
                       "drawtext=text='{}':fontsize=72:fontcolor=white:x=100:y=120,"
                       "drawtext=text='f(x) = x^2 + 3x':fontsize=54:fontcolor=white@0.8:x=100:y=300,"
                       "drawbox=x='200+40*t':y=460:w=260:h=120:color=white@0.25:t=fill",
        colour, seconds, title);
}

/// Adds a project and creates its screen track.
VideoProject add(const ProjectStore& store, const std::string& title, const std::string& colour, int seconds, int daysAgo)
{
    auto project = VideoProject::make(title);
    project.duration = seconds;
    project.width = 1280;
    project.height = 720;
    project.createdAt = project.updatedAt =
        std::chrono::time_point_cast<DateTime::duration>(std::chrono::system_clock::now() - std::chrono::days(daysAgo));
    project.tracks.edit().push_back({.kind = TrackKind::screen, .file = "media/screen.mov", .duration = double(seconds)});
    store.create(project);
    test::makeVideo(store.mediaURL(project, "media/screen.mov"), slide(colour, title.substr(0, title.find(':')), seconds));
    return project;
}

/// Words with natural timing: short words are quick, and sentences end in a pause.
std::vector<TranscriptWord> speak(const std::string& text)
{
    std::vector<TranscriptWord> words;
    std::istringstream stream(text);
    double time = 0.6;
    for (std::string word; stream >> word;) {
        const double length = 0.14 + 0.05 * static_cast<double>(word.size());
        words.push_back({.text = word, .start = time, .end = time + length});
        time += length + (word.back() == '.' ? 1.4 : 0.04);
    }
    return words;
}

} // namespace

VideoProject fillLibrary(const ProjectStore& store)
{
    auto interrupted = add(store, "Prácticas de laboratorio", "0x5A3A1E", 3, 34);
    interrupted.state = ProjectState::recoverable;
    store.save(interrupted);
    add(store, "Demo del curso", "0x1E4F5A", 5, 6);
    add(store, "Presentación de la asignatura", "0x3C1E5A", 4, 1);

    auto lesson = add(store, "Clase 3: derivadas", "0x24324F", 40, 0);
    lesson.tracks.edit().push_back({.kind = TrackKind::microphone, .file = "media/microphone.m4a", .duration = 40});
    lesson.tracks.edit().push_back({.kind = TrackKind::system, .file = "media/system.m4a", .duration = 40});
    test::makeAudio(store.mediaURL(lesson, "media/microphone.m4a"), "sine=frequency=180:duration=40,tremolo=f=2.3:d=0.95");
    test::makeAudio(store.mediaURL(lesson, "media/system.m4a"), "anoisesrc=amplitude=0.08:duration=40,tremolo=f=0.3:d=0.9");
    lesson.edit.words = SharedList(speak(
        "Hola a todos. Hoy vamos a ver qué es una derivada y para qué sirve. Eh bueno empezamos por la idea de pendiente. "
        "Imagina que subes una cuesta en bicicleta. La pendiente dice cuánto subes por cada metro que avanzas. Pues la "
        "derivada es eso mismo en cada punto de la curva. Este ejemplo de la pantalla lo vamos a hacer juntos."));
    lesson.edit.cuts = {{9.2, 10.4}, {22, 25.5}};
    for (const double time : {4.0, 17.0})
        lesson.edit.events.edit().push_back(
            {.time = time, .x = 0.35, .y = 0.4, .kind = PointerKind::zoom, .duration = 3, .scale = 1.8});
    lesson.edit.overlays.edit().push_back({.kind = Overlay::Kind::text,
        .content = "Pendiente = cambio en y / cambio en x",
        .start = 11,
        .end = 18,
        .x = 0.08,
        .y = 0.82});
    for (const double time : {8.0, 30.0})
        lesson.edit.events.edit().push_back({.time = time, .x = 0.6, .y = 0.5, .kind = PointerKind::click});
    store.save(lesson);
    WordConfidence confidence;
    std::vector<float> probabilities(lesson.edit.words.size(), 0.96F);
    for (const std::size_t unsure : {10U, 27U, 37U})
        probabilities[unsure] = 0.34F;
    confidence.add(lesson.edit.words.items(), probabilities);
    confidence.write(store.directory(lesson.id));
    return lesson;
}

} // namespace orvo::shots
