#include "ExportFixture.h"
#include "VideoCore/FileIO.h"
#include "VideoMedia/PacedSource.h"
#include "VideoMedia/PieceCache.h"
#include "VideoMedia/PiecedFilm.h"
#include "VideoMedia/Pieces.h"
#include "VideoMedia/ProcessRunner.h"
#include "VideoMedia/RenderGraph.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <format>
#include <gmock/gmock.h>
#include <iterator>
#include <numeric>
#include <ranges>
#include <set>
#include <sstream>
#include <thread>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;

using testing::IsEmpty;

/// A film of 37 seconds with every effect, whose cuts are not aligned to frames.
class PiecedFilmTests : public ExportFixture {
protected:
    PiecedFilmTests()
        : ExportFixture("library", 48)
    {
        project.edit.cuts = {
            {1.013, 2.377}, {9.741, 10.219}, {13.001, 15.5}, {19.98, 20.011}, {27.123, 31.718}, {40.4, 42.477}};
        project.edit.fade = 0.15;
    }
    static constexpr std::int64_t rate = 15; ///< Frames per second; few, because the film is rendered many times.
    static constexpr int bits = 10;

    /// Makes a screen track whose frames show their numbers in binary, the lowest bit at the left.
    void makeScreen()
    {
        std::string source =
            std::format("smptebars=size=320x180:rate={}:duration=48,drawbox=y=0:h=24:w=iw:c=black:t=fill", rate);
        for (int bit = 0; bit < bits; ++bit)
            source +=
                std::format(",drawbox=x={}:y=0:w=24:h=24:c=white:t=fill:enable='mod(floor(n/{}),2)'", 24 * bit, 1 << bit);
        makeVideo(addTrack(TrackKind::screen, "screen.mov"), source);
    }

    static int numberIn(const Frame& frame)
    {
        int number = 0;
        for (int bit = 0; bit < bits; ++bit)
            number |= (frame.at(24 * bit + 12, 12).brightness() > 128 ? 1 : 0) << bit;
        return number;
    }

    /// The numbers of the frames that remain after the cuts.
    std::vector<int> expectedNumbers() const
    {
        std::vector<int> numbers;
        for (const auto& kept : RenderGraph::keptSpans(project, rate)) {
            for (auto n = std::lround(kept.span.start * rate); n < std::lround(kept.span.end * rate); ++n)
                numbers.push_back(static_cast<int>(n));
        }
        return numbers;
    }

    std::vector<int> numbersIn(const fs::path& film) const
    {
        const auto small = folder / "small.mkv"; // Large frames would fill the memory.
        ffmpeg({"-y", "-i", film, "-vf", "scale=320:180", "-c:v", "libx264", "-preset", "ultrafast", "-an", "-fps_mode",
            "passthrough", small});
        std::vector<int> numbers;
        for (const auto& frame : decodeFrames(small))
            numbers.push_back(numberIn(frame));
        fs::remove(small);
        return numbers;
    }

    void makeEverything()
    {
        makeVideo(addTrack(TrackKind::camera, "camera.mov"), "testsrc=size=160x90:rate=25:duration=44");
        makeAudio(addTrack(TrackKind::microphone, "microphone.m4a"), "sine=frequency=300:duration=48,volume=0.1");
        for (int i = 0; i < 48 * 12; ++i)
            project.edit.events.edit().push_back(
                pointer(i % 20 == 0 ? PointerKind::click : PointerKind::move, i / 12.0, i / 600.0, 0.5));
        for (const double time : {8.9, 25.3, 46.5})
            project.edit.events.edit().push_back(pointer(PointerKind::zoom, time, 0.3, 0.6));
        project.edit.overlays = {{.content = "Un texto", .start = 8, .end = 22}};
        ffmpeg({"-f", "lavfi", "-i", "testsrc2=size=64x64", "-frames:v", "1", "-update", "1",
            store.directory(project.id) / "media/image.png"});
        project.edit.overlays.edit().push_back(
            {.kind = Overlay::Kind::image, .content = "media/image.png", .start = 18.7, .end = 33.3, .x = 0.6});
    }

    fs::path exported(
        const std::string& name, const ExportSettings& settings = {.fps = rate}, const std::stop_token& stop = {})
    {
        const auto destination = folder / name;
        ExportService::exportVideo(project, store, destination, settings, probeService, progress, stop);
        return destination;
    }

    fs::path piecesFolder() const { return cacheHome() / "OrvoVideo/pieces"; }

    std::set<std::string> kept() const
    {
        const auto names = namesIn(piecesFolder());
        return {names.begin(), names.end()};
    }

    /// The number of pieces among the cached files; the mix is not counted.
    static std::size_t films(const std::set<std::string>& names, const fs::path& folder)
    {
        return static_cast<std::size_t>(std::ranges::count_if(
            names, [&](const std::string& name) { return readFile(folder / name).substr(4, 4) == "ftyp"; }));
    }

    /// The presentation times of the packets of a stream, sorted, in units of its time base. Their order in the file depends
    /// on the encoder.
    static std::vector<std::int64_t> times(const fs::path& film, const std::string& stream)
    {
        const auto ffprobe = fs::canonical(*ProcessRunner::ffmpeg()).parent_path() / "ffprobe";
        std::istringstream lines(ProcessRunner::run(ffprobe,
            {"-v", "error", "-select_streams", stream, "-show_entries", "packet=pts", "-of", "csv=p=0", film.string()}));
        std::vector<std::int64_t> result;
        for (std::string line; std::getline(lines, line);)
            result.push_back(std::stoll(line));
        std::ranges::sort(result);
        return result;
    }

    std::string hash(const fs::path& film, const std::string& stream) const
    {
        const fs::path sums = folder / "sums";
        ffmpeg({"-i", film.string(), "-map", "0:" + stream, "-f", "md5", sums.string()});
        return readFile(sums);
    }

    void expectSameFilm(const fs::path& film, const fs::path& whole) const
    {
        EXPECT_EQ(times(film, "v"), times(whole, "v"));
        EXPECT_EQ(times(film, "a"), times(whole, "a"));
        EXPECT_EQ(hash(film, "a"), hash(whole, "a"));
        const auto figures = similarity(film, whole);
        EXPECT_EQ(figures.size(), static_cast<std::size_t>(probe(whole).frames));
        // Each piece begins with a key frame, which differs more in a film as small as this one.
        for (std::size_t i = 0; i < figures.size(); ++i)
            EXPECT_GE(figures[i], 0.97) << "frame " << i;
        EXPECT_GE(std::accumulate(figures.begin(), figures.end(), 0.0) / static_cast<double>(figures.size()), 0.995);
    }
};

/// Compares the frames bit by bit before they are encoded.
TEST_F(PiecedFilmTests, DrawsTheFramesOfTheWholeFilm)
{
    makeScreen();
    makeEverything();
    project.edit.cuts.edit().push_back({15.8, 16.3}); // The span before it is too short for whole fades.
    const RenderGraph::FrameSize size{.width = 320, .height = 180};
    const auto media = store.directory(project.id) / "media";
    const std::vector<RenderGraph::Input> inputs{{.track = project.tracks[0], .file = media / "screen.mov"},
        {.track = project.tracks[1], .file = media / "camera.mov"}};
    const fs::path annotations = folder / "annotations.ass";
    const fs::path graph = folder / "graph.txt";
    const auto hashes = [&](const VideoProject& shown, const std::string& text, std::vector<std::string> arguments) {
        writeFileAtomically(annotations, ExportService::annotations(shown, size.width, size.height));
        writeFileAtomically(graph, text);
        const fs::path sums = folder / "sums";
        arguments.insert(arguments.begin(), {"-filter_complex_threads", "1"});
        for (const auto& overlay : shown.edit.overlays) {
            if (overlay.kind == Overlay::Kind::image)
                arguments.insert(arguments.end(), {"-i", media / "image.png"});
        }
        arguments.insert(arguments.end(),
            {"-/filter_complex", graph, "-map", "[vout]", "-r", std::to_string(rate), "-f", "framehash", sums});
        if (text.contains("[aout]"))
            arguments.insert(arguments.end(), {"-map", "[aout]", "-f", "null", "-"});
        ffmpeg(arguments);
        std::vector<std::string> result;
        std::istringstream lines(readFile(sums));
        for (std::string line; std::getline(lines, line);) {
            if (!line.starts_with('#'))
                result.push_back(line.substr(line.rfind(' ')));
        }
        return result;
    };
    for (const bool zooms : {true, false}) {
        SCOPED_TRACE(zooms);
        if (!zooms)
            std::erase_if(project.edit.events.edit(), [](const auto& event) { return event.kind == PointerKind::zoom; });
        RenderGraph::VideoSettings settings{.size = size, .fps = rate, .annotations = annotations};
        const auto whole = hashes(project, RenderGraph::video(project, inputs, settings),
            {"-i", inputs[0].file, "-i", inputs[1].file, "-f", "lavfi", "-i", "anullsrc=r=48000:duration=48"});
        for (const bool isPaced : {false, true}) { // Whether the graph reads the camera.
            SCOPED_TRACE(isPaced);
            std::vector<std::string> joined;
            for (const auto& piece : RenderGraph::piecesOf(project, rate)) {
                const auto shown = RenderGraph::shownIn(project, piece, rate);
                const double start = std::max(static_cast<double>(piece.first()) / rate - 0.5, 0.0);
                settings.camera = isPaced ? PacedSource::filter(inputs[1].file, start, 2) : "";
                std::vector<std::string> arguments{"-copyts"};
                for (const auto& input : inputs | std::views::take(isPaced ? 1 : 2))
                    arguments.insert(arguments.end(), {"-noaccurate_seek", "-ss", std::to_string(start), "-i", input.file});
                const auto made = hashes(shown, RenderGraph::pieceVideo(shown, inputs, settings, piece), arguments);
                EXPECT_EQ(made.size(), static_cast<std::size_t>(piece.length()));
                joined.insert(joined.end(), made.begin(), made.end());
            }
            EXPECT_TRUE(joined == whole) << joined.size() << " frames, " << whole.size();
        }
    }
}

TEST_F(PiecedFilmTests, MatchesTheFilmRenderedWhole)
{
    makeScreen();
    makeEverything();
    project.edit.sharpen = true;
    constexpr std::int64_t fps = 12; // Not the rate of the recording.
    std::vector<double> values;
    progress = [&](double value) { values.push_back(value); };
    const auto film = exported("film.mp4", {.fps = fps, .quality = ExportQuality::high});
    EXPECT_TRUE(std::ranges::is_sorted(values));
    EXPECT_EQ(values.back(), 1);
    EXPECT_EQ(films(kept(), piecesFolder()), RenderGraph::piecesOf(project, fps).size());
    const auto whole = exported("whole.mp4", {.fps = fps, .quality = ExportQuality::high, .isWhole = true});
    expectSameFilm(film, whole);
    EXPECT_THAT(leftovers(), IsEmpty());
}

/// A publication: the smaller film of the package is encoded from the same frames and needs no second encoding.
TEST_F(PiecedFilmTests, EncodesTheStepsOfAPackageBesideTheFilm)
{
    makePlain();
    makeScreen();
    makeAudio(addTrack(TrackKind::microphone, "microphone.m4a"), "sine=frequency=300:duration=48,volume=0.1");
    project.width = 1280;
    project.height = 720;
    project.fps = rate;
    const ExportSettings streamed{.fps = rate, .isStreamed = true};
    const auto plain = exported("plain.mp4");
    fs::remove_all(cacheHome());
    fs::remove(store.directory(project.id) / "films.txt");
    const auto film = exported("film.mp4", streamed);
    const auto step = folder / "film-480.mp4";
    EXPECT_EQ(hash(film, "v"), hash(plain, "v")) << "the film does not depend on the smaller one";
    ASSERT_TRUE(fs::exists(step));
    EXPECT_EQ(probe(step).width, 852);
    EXPECT_EQ(numbersIn(step), expectedNumbers());
    EXPECT_EQ(hash(step, "a"), hash(film, "a"));
    const auto first = kept();
    EXPECT_EQ(films(first, piecesFolder()), 10U);

    ExportService::hls(film, project, folder / "hls");
    const auto received = [&](const std::string& height) {
        const auto file = folder / (height + ".mkv");
        ffmpeg({"-allowed_extensions", "ALL", "-i", folder / "hls" / height / "index.m3u8", "-c", "copy", file});
        return file;
    };
    const auto small = received("480");
    const auto large = received("720");
    for (const auto* stream : {"v", "a"})
        EXPECT_EQ(times(small, stream), times(large, stream));
    EXPECT_EQ(numbersIn(small), expectedNumbers());
    EXPECT_EQ(hash(small, "v"), hash(step, "v"));

    // After a correction, both films are encoded only where it is; an export of one film has no use for the other.
    project.edit.cuts.edit()[1].start = 9.2;
    EXPECT_EQ(numbersIn(exported("film.mp4", streamed)), expectedNumbers());
    EXPECT_EQ(numbersIn(step), expectedNumbers());
    EXPECT_LE(films(kept(), piecesFolder()) - films(first, piecesFolder()), 4U);

    // Pieces that an export has left without the smaller film are not rendered again, and no old film stays.
    project.edit.sharpen = true;
    exported("plain.mp4");
    fs::remove(folder / "plain.mp4");
    const auto second = kept();
    EXPECT_EQ(numbersIn(exported("film.mp4", streamed)), expectedNumbers());
    EXPECT_FALSE(fs::exists(step));
    EXPECT_EQ(kept(), second);
    EXPECT_THAT(leftovers(), IsEmpty());
}

/// Only as an input of its own does ffmpeg turn a movie upright.
TEST_F(PiecedFilmTests, ShowsATurnedCameraUpright)
{
    makePlain();
    makeScreen();
    const auto camera = addTrack(TrackKind::camera, "camera.mov");
    makeVideo(folder / "lying.mov", "testsrc=size=160x90:rate=25:duration=48");
    ffmpeg({"-display_rotation", "90", "-i", folder / "lying.mov", "-c", "copy", camera});
    const auto film = exported("film.mp4");
    EXPECT_GT(films(kept(), piecesFolder()), 2U);
    expectSameFilm(film, exported("whole.mp4", {.fps = rate, .isWhole = true}));
}

/// Recordings have no frames while nothing moves, audio may begin before the video, and frames may refer to later ones.
TEST_F(PiecedFilmTests, ShowsTheRightFramesOfIrregularRecordings)
{
    makePlain();
    makeScreen();
    const auto screen = store.directory(project.id) / "media/screen.mov";
    const auto steady = folder / "steady.mov";
    fs::rename(screen, steady);
    ffmpeg({"-i", steady.string(), "-f", "lavfi", "-i", "sine=frequency=300:duration=48", "-vf",
        "select='not(between(mod(t,17),4,7)+eq(mod(n,7),3))',setpts=PTS+0.081/TB", "-fps_mode", "passthrough", "-c:v",
        "libx264", "-preset", "veryfast", "-bf", "3", "-g", "60", "-c:a", "aac", screen.string()});
    std::vector<int> expected = expectedNumbers();
    for (int& number : expected) {
        while (number % 7 == 3 || (number % 255 >= 60 && number % 255 <= 105))
            --number;
    }

    const auto film = exported("film.mp4");

    EXPECT_EQ(numbersIn(film), expected);
    EXPECT_GT(films(kept(), piecesFolder()), 2U);
}

/// A film of three parallel runs, and one of which a run encodes with other parameters.
TEST_F(PiecedFilmTests, JoinsThePiecesOfSeveralRunsIfTheyFit)
{
    makePlain();
    makeScreen();
    const fs::path ffmpeg = *ProcessRunner::ffmpeg();
    const fs::path other = folder / "other-ffmpeg";
    const auto writeOther = [&](const char* change) {
        writeFileAtomically(other,
            std::format("#!/bin/bash\n[[ \"$*\" == *piece2.mp4* ]] && set -- \"${{@{}}}\"\nexec '{}' \"$@\"\n", change,
                ffmpeg.string()));
        fs::permissions(other, fs::perms::owner_all);
    };
    const auto made = [&](const fs::path& program) {
        PiecedFilm::Recipe recipe{.ffmpeg = program,
            .version = {},
            .project = project,
            .size = {.width = 320, .height = 180},
            .fps = rate,
            .encoder = {"-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p"},
            .container = {"-f", "mp4"},
            .steps = {{.width = 160, .height = 90, .bitRate = 400'000, .keyFrameInterval = 90, .bandwidth = 628'000}},
            .runs = 3};
        recipe.sources.push_back(
            {.input = {.track = project.tracks.front(), .file = store.directory(project.id) / "media/screen.mov"},
                .decoding = {}});
        const TemporaryFolder work;
        PieceCache cache(work / "cache");
        const auto makeSilence = [&](const fs::path& target, const std::stop_token& stop) {
            ProcessRunner::run(ffmpeg,
                {"-v", "error", "-f", "lavfi", "-i", "anullsrc=r=48000:duration=37", "-c:a", "aac", target.string()}, {}, 0,
                stop);
        };
        return PiecedFilm::of(std::move(recipe)).value().make(folder / "film.mp4", work.path(), makeSilence, cache);
    };

    const auto film = folder / "film.mp4";
    const auto step = folder / "film-90.mp4";
    EXPECT_TRUE(made(ffmpeg));
    for (const auto& one : {film, step}) {
        EXPECT_EQ(numbersIn(one), expectedNumbers());
        fs::remove(one);
    }
    // A decoder would need other parameters in the middle of the smaller film, then of the film.
    writeOther("/veryfast/ultrafast");
    EXPECT_TRUE(made(other));
    EXPECT_EQ(numbersIn(film), expectedNumbers());
    EXPECT_FALSE(fs::exists(step));
    fs::remove(film);
    writeOther("/ultrafast/veryfast");
    EXPECT_FALSE(made(other));
    EXPECT_THAT(namesIn(folder.path()), testing::Each(testing::Not(testing::HasSubstr(".mp4"))));
}

TEST_F(PiecedFilmTests, EncodesOnlyPiecesThatAnEditChanged)
{
    makePlain();
    makeScreen();
    makeAudio(addTrack(TrackKind::microphone, "microphone.m4a"), "sine=frequency=300:duration=48,volume=0.1");
    exported("film.mp4");
    const auto first = kept();
    ASSERT_EQ(films(first, piecesFolder()), 5U);

    project.edit.cuts.edit()[1].start = 9.2; // Cuts 0.541 s more, which is not a whole number of frames.
    const auto film = exported("film.mp4");

    EXPECT_EQ(numbersIn(film), expectedNumbers());
    std::set<std::string> added;
    std::ranges::set_difference(kept(), first, std::inserter(added, added.end()));
    // The window of the cut, and perhaps the last one, which adjusts the end of the film.
    EXPECT_THAT(added.size(), testing::AllOf(testing::Ge(1U), testing::Le(2U)));
    EXPECT_EQ(films(added, piecesFolder()), added.size()) << "cuts do not change the mix";

    // Another export of the same edit uses the same pieces.
    fs::remove(film);
    const auto second = kept();
    EXPECT_EQ(numbersIn(exported("other.mp4")), expectedNumbers());
    EXPECT_EQ(kept(), second);
}

TEST_F(PiecedFilmTests, RejectsDamagedPieces)
{
    makePlain();
    makeScreen();
    const auto film = exported("film.mp4");
    fs::remove(film);
    const auto names = kept();
    for (const auto& name : names) {
        std::string content = readFile(piecesFolder() / name);
        content[content.size() / 2] ^= 1;
        fs::remove(piecesFolder() / name);
        writeFileAtomically(piecesFolder() / name, content);
    }

    EXPECT_EQ(numbersIn(exported("film.mp4")), expectedNumbers());
    for (const auto& name : names)
        EXPECT_TRUE(
            !fs::exists(piecesFolder() / name) || PieceCache(piecesFolder()).take(name.substr(0, 64), folder / name));
}

TEST_F(PiecedFilmTests, WorksWithoutACache)
{
    makePlain();
    makeScreen();
    writeFileAtomically(cacheHome(), "no folder");
    EXPECT_EQ(numbersIn(exported("film.mp4")), expectedNumbers());
    EXPECT_EQ(readFile(cacheHome()), "no folder");
}

TEST_F(PiecedFilmTests, KeepsFinishedPiecesWhenCancelled)
{
    makePlain();
    makeScreen();
    std::stop_source stop;
    progress = [&](double done) {
        if (done > 0.5)
            stop.request_stop();
    };
    EXPECT_THROW(exported("film.mp4", {.fps = rate}, stop.get_token()), Cancelled);
    EXPECT_FALSE(fs::exists(folder / "film.mp4"));
    EXPECT_THAT(namesIn(folder.path()), testing::Each(testing::Not(testing::StartsWith(".orvo-export"))));
    EXPECT_THAT(leftovers(), IsEmpty());
    EXPECT_GE(films(kept(), piecesFolder()), 1U);
    EXPECT_EQ(numbersIn(exported("film.mp4")), expectedNumbers());
}

TEST_F(PiecedFilmTests, SharesTheCacheBetweenParallelExports)
{
    makePlain();
    makeScreen();
    std::vector<std::jthread> threads;
    for (const auto* name : {"one.mp4", "two.mp4"})
        threads.emplace_back([this, name] { exported(name); });
    threads.clear();
    for (const auto* name : {"one.mp4", "two.mp4"})
        EXPECT_EQ(numbersIn(folder / name), expectedNumbers());
}

TEST(PieceCacheTests, RemovesTheLeastRecentlyUsedFiles)
{
    const TemporaryFolder folder;
    const fs::path place = folder / "cache";
    PieceCache cache(place);
    const auto keyOf = [](char letter) { return std::string(64, letter); };
    for (const char letter : {'a', 'b', 'c'}) {
        const auto file = folder / std::string(1, letter);
        writeFileAtomically(file, std::string(1000, letter));
        cache.keep(keyOf(letter), file);
        fs::remove(file);
    }
    for (const auto& entry : fs::directory_iterator(place))
        fs::last_write_time(entry.path(), fs::file_time_type::clock::now() - std::chrono::hours(1));
    EXPECT_TRUE(cache.take(keyOf('b'), folder / "taken"));
    EXPECT_EQ(readFile(folder / "taken"), std::string(1000, 'b'));

    PieceCache(place).trim(1500);

    PieceCache later(place);
    EXPECT_TRUE(later.take(keyOf('b'), folder / "again"));
    EXPECT_FALSE(later.take(keyOf('a'), folder / "a"));
    EXPECT_FALSE(later.take(keyOf('c'), folder / "c"));
    EXPECT_FALSE(fs::exists(folder / "c"));
}

} // namespace

} // namespace orvo::test
