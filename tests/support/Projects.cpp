#include "TestSupport/Projects.h"

#include <bit>
#include <cmath>

namespace orvo::test {

namespace {

using Random = std::mt19937_64;

/// A number below `limit`.
std::size_t below(Random& random, std::size_t limit)
{
    return static_cast<std::size_t>(random() % limit);
}

bool coin(Random& random)
{
    return below(random, 2) == 1;
}

template <typename Kind> Kind randomKind(Random& random, std::size_t count)
{
    return static_cast<Kind>(below(random, count));
}

Uuid randomId(Random& random)
{
    return fixedId(random());
}

DateTime randomDate(Random& random)
{
    // The years 1678 to 2261: the range of 64-bit nanoseconds.
    return DateTime(
        std::chrono::seconds(std::uniform_int_distribution<std::int64_t>(-9'214'560'000, 9'214'646'399)(random)));
}

template <typename Make> auto randomList(Random& random, Make make)
{
    std::vector<decltype(make())> items(below(random, 2) * below(random, 9));
    for (auto& item : items)
        item = make();
    return SharedList(std::move(items));
}

void appendUtf8(std::string& out, char32_t c)
{
    const auto byte = [&](char32_t bits) { out += static_cast<char>(static_cast<unsigned char>(bits)); };
    if (c < 0x80) {
        byte(c);
    } else if (c < 0x800) {
        byte(0xC0 | c >> 6);
        byte(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        byte(0xE0 | c >> 12);
        byte(0x80 | (c >> 6 & 0x3F));
        byte(0x80 | (c & 0x3F));
    } else {
        byte(0xF0 | c >> 18);
        byte(0x80 | (c >> 12 & 0x3F));
        byte(0x80 | (c >> 6 & 0x3F));
        byte(0x80 | (c & 0x3F));
    }
}

} // namespace

Uuid fixedId(std::uint64_t number)
{
    Uuid id{{0, 0, 0, 0, 0, 0, 0x40, 0, 0x80}};
    for (std::size_t i = 15; i > 8; --i, number >>= 8)
        id.bytes[i] = static_cast<std::uint8_t>(number);
    return id;
}

TranscriptWord word(std::string text, double start, double end)
{
    return {.text = std::move(text), .start = start, .end = end};
}

PointerEvent pointer(PointerKind kind, double time, double x, double y)
{
    return {.time = time, .x = x, .y = y, .kind = kind};
}

MediaTrack track(TrackKind kind, std::string file, double start, double duration)
{
    return {.kind = kind, .file = std::move(file), .start = start, .duration = duration};
}

VideoProject emptyProject(double duration)
{
    using namespace std::chrono;
    VideoProject project;
    project.id = fixedId(1);
    project.title = "Clase 1";
    project.createdAt = sys_days(2025y / March / 14) + 9h + 26min + 53s;
    project.updatedAt = project.createdAt + 1h;
    project.duration = duration;
    return project;
}

VideoProject fullProject()
{
    auto project = emptyProject(61.25);
    project.title = "Clase «2»: ¿qué es \\ un \"montaje\"? 🎬";
    project.width = 2560;
    project.height = 1440;
    project.fps = 60;
    project.state = ProjectState::needsRecovery;
    project.tracks = {
        {.id = fixedId(2), .kind = TrackKind::screen, .file = "media/screen.mov", .duration = 61.25, .volume = 0.5},
        {.id = fixedId(3), .kind = TrackKind::camera, .file = "media/camera.mov", .start = 0.125, .duration = 61},
        {.id = fixedId(4), .kind = TrackKind::microphone, .file = "media/microphone.m4a", .duration = 61.2, .volume = 1.5},
        {.id = fixedId(5), .kind = TrackKind::system, .file = "media/system.m4a", .duration = 61.1, .volume = 0},
        {.id = fixedId(6), .kind = TrackKind::clip, .file = "media/otra película.mp4", .start = 61.25, .duration = 30},
    };
    auto& edit = project.edit;
    edit.cuts = {{2, 4}, {3, 6}, {58.5, 70}};
    edit.overlays = {
        {.id = fixedId(7),
            .kind = Overlay::Kind::text,
            .content = "Línea uno\nLínea dos",
            .start = 8,
            .end = 13,
            .x = 0.1,
            .y = 0.2,
            .width = 0.4},
        {.id = fixedId(8),
            .kind = Overlay::Kind::image,
            .content = "media/logo.png",
            .start = 20,
            .end = 25.5,
            .x = 0.7,
            .y = 0.05,
            .width = 0.25},
    };
    edit.words = {
        {.id = fixedId(9), .text = "¡Hola!", .start = 0.5, .end = 1},
        {.id = fixedId(10), .text = "¿Eh?", .start = 1.1, .end = 1.3},
        {.id = fixedId(11), .text = "partido", .start = 5.75, .end = 6.5},
    };
    edit.events = {
        {.id = fixedId(12), .time = 1, .x = 0.25, .y = 0.75, .kind = PointerKind::click},
        {.id = fixedId(13), .time = 1.5, .x = -0.01, .y = 1.02, .kind = PointerKind::move},
        {.id = fixedId(14), .time = 9, .x = 0.5, .y = 0.5, .kind = PointerKind::zoom, .duration = 3, .scale = 2.2},
    };
    edit.cameraX = 0.02;
    edit.cameraY = 0.03;
    edit.cameraWidth = 0.3;
    edit.cameraVisible = false;
    edit.clickHalo = false;
    edit.pointerHighlight = false;
    edit.noiseReduction = false;
    edit.normalizeVoice = false;
    edit.sharpen = true;
    edit.fade = 0.3;
    project.publication = Publication{.videoID = "v-42",
        .url = "https://videos.example.org/v/v-42",
        .domains = {"https://aula.example.org", "https://www.example.com"},
        .publicLink = true};
    return project;
}

double randomNumber(Random& random)
{
    switch (below(random, 4)) {
    case 0:
        return static_cast<double>(static_cast<std::int64_t>(random()) >> below(random, 64));
    case 1: {
        const auto any = std::bit_cast<double>(random());
        return std::isfinite(any) ? any : 0;
    }
    default:
        return std::uniform_real_distribution(-10.0, 4000.0)(random);
    }
}

std::string randomText(Random& random, std::size_t length)
{
    std::string text;
    for (std::size_t left = below(random, length + 1); left > 0; --left) {
        const auto c = static_cast<char32_t>(below(random, coin(random) ? 0x80 : 0x110000));
        appendUtf8(text, c >= 0xD800 && c < 0xE000 ? U'ñ' : c);
    }
    return text;
}

VideoProject randomProject(Random& random)
{
    const auto number = [&] { return randomNumber(random); };
    const auto text = [&] { return randomText(random, 12); };
    const auto whole = [&] { return static_cast<std::int64_t>(random()) >> below(random, 64); };

    VideoProject project;
    project.schemaVersion = whole();
    project.id = randomId(random);
    project.title = text();
    project.createdAt = randomDate(random);
    project.updatedAt = randomDate(random);
    project.duration = number();
    project.width = whole();
    project.height = whole();
    project.fps = whole();
    project.state = text();
    project.tracks = randomList(random, [&] {
        return MediaTrack{.id = randomId(random),
            .kind = randomKind<TrackKind>(random, 5),
            .file = text(),
            .start = number(),
            .duration = number(),
            .volume = number()};
    });
    auto& edit = project.edit;
    edit.cuts = randomList(random, [&] { return TimeSpan{number(), number()}; });
    edit.overlays = randomList(random, [&] {
        return Overlay{.id = randomId(random),
            .kind = randomKind<Overlay::Kind>(random, 2),
            .content = text(),
            .start = number(),
            .end = number(),
            .x = number(),
            .y = number(),
            .width = number()};
    });
    edit.words = randomList(
        random, [&] { return TranscriptWord{.id = randomId(random), .text = text(), .start = number(), .end = number()}; });
    edit.events = randomList(random, [&] {
        return PointerEvent{.id = randomId(random),
            .time = number(),
            .x = number(),
            .y = number(),
            .kind = randomKind<PointerKind>(random, 3),
            .duration = number(),
            .scale = number()};
    });
    edit.cameraX = number();
    edit.cameraY = number();
    edit.cameraWidth = number();
    edit.cameraVisible = coin(random);
    edit.clickHalo = coin(random);
    edit.pointerHighlight = coin(random);
    edit.noiseReduction = coin(random);
    edit.normalizeVoice = coin(random);
    edit.sharpen = coin(random);
    edit.fade = number();
    if (coin(random)) {
        project.publication = Publication{
            .videoID = text(), .url = text(), .domains = randomList(random, text).items(), .publicLink = coin(random)};
    }
    return project;
}

} // namespace orvo::test
