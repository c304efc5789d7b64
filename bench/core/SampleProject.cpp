#include "core/SampleProject.h"

#include <algorithm>
#include <array>
#include <random>
#include <string_view>

namespace orvo::bench {

namespace {

constexpr std::array<std::string_view, 24> vocabulary{"la", "función", "devuelve", "el", "índice", "de", "cada", "página,",
    "¿verdad?", "eh,", "entonces", "árbol", "se", "divide", "en", "dos;", "mira", "aquí:", "niño", "más", "rápido", "que",
    "antes.", "así"};

} // namespace

VideoProject sampleProject(const SampleSize& size)
{
    std::mt19937_64 random(42);
    std::uniform_real_distribution<double> fraction(0, 1);

    auto project = VideoProject::make("Índices y búsquedas");
    project.duration = size.seconds;
    for (const auto& [kind, file] :
        {std::pair{TrackKind::screen, "media/screen.mov"}, std::pair{TrackKind::microphone, "media/microphone.m4a"},
            std::pair{TrackKind::system, "media/system.m4a"}, std::pair{TrackKind::camera, "media/camera.mov"}})
        project.tracks.edit().push_back({.kind = kind, .file = file, .duration = size.seconds});

    auto& events = project.edit.events.edit();
    const auto pixel = [&](int extent) { return static_cast<double>(random() % static_cast<unsigned>(extent)) / extent; };
    for (int i = 0; i < size.moves; ++i)
        events.push_back(
            {.time = size.seconds * (i + fraction(random) / 20) / size.moves, .x = pixel(1920), .y = pixel(1080)});
    for (int i = 0; i < size.clicks; ++i)
        events.push_back(
            {.time = size.seconds * fraction(random), .x = pixel(1920), .y = pixel(1080), .kind = PointerKind::click});
    std::ranges::sort(events, {}, &PointerEvent::time);

    auto& words = project.edit.words.edit();
    const double pace = size.seconds / std::max(size.words, 1);
    for (int i = 0; i < size.words; ++i) {
        const double start = pace * (i + 0.2 * fraction(random));
        words.push_back(
            {.text = std::string(vocabulary[random() % vocabulary.size()]), .start = start, .end = start + pace * 0.7});
    }

    auto& cuts = project.edit.cuts.edit();
    const double room = size.seconds / std::max(size.cuts, 1);
    for (int i = 0; i < size.cuts; ++i) {
        const double start = room * (i + 0.8 * fraction(random));
        cuts.push_back({.start = start, .end = start + room * 0.15});
    }
    return project;
}

} // namespace orvo::bench
