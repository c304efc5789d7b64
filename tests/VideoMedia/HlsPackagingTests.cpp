#include "ExportFixture.h"
#include "TestSupport/SmallDisk.h"
#include "VideoCore/FileIO.h"
#include "VideoCore/Timeline.h"

#include <algorithm>
#include <format>
#include <fstream>
#include <gmock/gmock.h>
#include <regex>
#include <set>
#include <sstream>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

/// A rendered movie of 13.5 seconds: red, green from second 5, blue from second 10, with a tone.
class HlsPackaging : public ProjectFixture {
protected:
    HlsPackaging()
    {
        project.width = 1280;
        project.height = 720;
        project.fps = 10;
        project.duration = 13.5;
        project.edit.words = {word("Hola", 1, 2)};
    }

    void makeMovie(const std::vector<std::string>& options = {"-preset", "ultrafast"})
    {
        const auto colour = [](const char* name, double seconds) {
            return std::format("color={}:size=1280x720:rate=10:duration={}", name, seconds);
        };
        std::vector<std::string> line{"-f", "lavfi", "-i", colour("red", 5), "-f", "lavfi", "-i", colour("green", 5), "-f",
            "lavfi", "-i", colour("blue", 3.5), "-f", "lavfi", "-i", "sine=440:d=13.5:r=48000", "-filter_complex",
            "[0][1][2]concat=n=3", "-c:v", "libx264", "-pix_fmt", "yuv420p", "-c:a", "aac", "-shortest"};
        line.insert(line.end(), options.begin(), options.end());
        makeMedia(movie, std::move(line));
    }

    std::string failure(const fs::path& destination)
    {
        return failureOf([&] { ExportService::hls(movie, project, destination); });
    }

    /// The video and audio that ffmpeg plays from a playlist, beginning at `start`.
    fs::path played(const fs::path& playlist, double start = 0)
    {
        const auto file = folder / "played.mkv";
        ffmpeg({"-allowed_extensions", "ALL", "-ss", std::to_string(start), "-i", playlist, "-vf", "scale=64:36", "-c:v",
            "ffv1", "-c:a", "pcm_s16le", "-fps_mode", "passthrough", file});
        return file;
    }

    static std::string dominant(const Frame& frame)
    {
        const auto mean = frame.mean(0, 0, 1, 1);
        return mean.red > 150 ? "red" : mean.blue > 150 ? "blue" : "green";
    }

    fs::path movie = folder / "movie.mp4";
};

/// The lines of a playlist with a beginning.
std::vector<std::string> lines(const std::string& playlist, const std::string& beginning)
{
    std::vector<std::string> result;
    std::istringstream in(playlist);
    for (std::string line; std::getline(in, line);) {
        if (line.starts_with(beginning))
            result.push_back(line);
    }
    return result;
}

/// The bit rate of every run of adjacent segments that lasts between half a segment and one and a half.
std::vector<double> bitRates(const fs::path& rendition)
{
    std::vector<double> durations;
    for (const auto& line : lines(readFile(rendition / "index.m3u8"), "#EXTINF:"))
        durations.push_back(std::stod(line.substr(8)));
    std::vector<double> rates;
    for (std::size_t first = 0; first < durations.size(); ++first) {
        double bits = 0;
        double seconds = 0;
        for (std::size_t last = first; last < durations.size(); ++last) {
            bits += 8.0 * static_cast<double>(fs::file_size(rendition / std::format("{:05}.ts", last)));
            seconds += durations[last];
            if (seconds >= 3 && seconds <= 9)
                rates.push_back(bits / seconds);
        }
    }
    return rates;
}

/// A playlist of a single segment. Keeps its number, which players need to decrypt it.
std::string alone(const std::string& playlist, unsigned number)
{
    std::string result = std::regex_replace(playlist, std::regex("#EXTINF:[^\n]*\n[^\n]*\n"), "");
    result = std::regex_replace(result, std::regex("MEDIA-SEQUENCE:0|#EXT-X-ENDLIST\n"),
        "MEDIA-SEQUENCE:" + std::to_string(number), std::regex_constants::format_first_only);
    return std::regex_replace(result, std::regex("#EXT-X-ENDLIST\n"), "")
        + std::format("#EXTINF:6.0,\n{:05}.ts\n#EXT-X-ENDLIST\n", number);
}

TEST_F(HlsPackaging, MakesPlayableRenditions)
{
    makeMovie();
    const auto package = folder / "100%03d año/hls";
    std::vector<double> shares;
    ExportService::hls(movie, project, package, [&](double share) { shares.push_back(share); });

    std::set<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(package))
        names.insert(fs::relative(entry.path(), package));
    EXPECT_THAT(names,
        ElementsAre("480", "480/00000.ts", "480/00001.ts", "480/00002.ts", "480/index.m3u8", "720", "720/00000.ts",
            "720/00001.ts", "720/00002.ts", "720/index.m3u8", "captions.vtt", "key.bin", "master.m3u8", "poster.jpg"));
    EXPECT_TRUE(std::ranges::is_sorted(shares));
    EXPECT_EQ(shares.back(), 1);
    const std::string key = readFile(package / "key.bin");
    EXPECT_EQ(key.size(), 16U);
    EXPECT_EQ(readFile(package / "captions.vtt"), Timeline::subtitles(project, Timeline::SubtitleFormat::webVtt));
    fs::copy_file(package / "poster.jpg", folder / "poster.jpg"); // The folder's name would be a pattern.
    EXPECT_EQ(probe(folder / "poster.jpg").width, 960);
    EXPECT_EQ(dominant(decodeFrames(folder / "poster.jpg").front()), "red");

    for (const auto& [step, width] : {std::pair{"480", 852}, {"720", 1280}}) {
        SCOPED_TRACE(step);
        const std::string playlist = readFile(package / step / "index.m3u8");
        EXPECT_THAT(playlist, HasSubstr("#EXT-X-KEY:METHOD=AES-128,URI=\"../key.bin\""));
        EXPECT_THAT(playlist, Not(HasSubstr(folder.path().string())));
        EXPECT_THAT(
            lines(playlist, "#EXTINF"), ElementsAre("#EXTINF:6.000000,", "#EXTINF:6.000000,", StartsWith("#EXTINF:1.5")));
        // Every segment plays alone: encrypted with the key, and beginning with a key frame.
        for (const unsigned number : {0U, 1U, 2U}) {
            EXPECT_NE(readFile(package / step / std::format("{:05}.ts", number))[0], 0x47);
            std::ofstream(package / step / "alone.m3u8") << alone(playlist, number);
            EXPECT_THAT(ffmpeg({"-v", "debug", "-allowed_extensions", "ALL", "-i", package / step / "alone.m3u8",
                            "-frames:v", "1", "-vf", "showinfo", "-f", "null", "-"}),
                AllOf(HasSubstr("n:   0 "), HasSubstr("iskey:1 type:I"), HasSubstr(std::format("s:{}x", width))));
        }
        const auto frames = decodeFrames(played(package / step / "index.m3u8"));
        ASSERT_EQ(frames.size(), 135U);
        EXPECT_EQ(dominant(frames[49]), "red");
        EXPECT_EQ(dominant(frames[50]), "green");
        EXPECT_EQ(dominant(frames[99]), "green");
        EXPECT_EQ(dominant(frames[100]), "blue");
        const auto audio = decodeAudio(played(package / step / "index.m3u8"));
        EXPECT_NEAR(static_cast<double>(audio.size()) / 48'000, 13.5, 0.1);
        EXPECT_GT(level(audio, 6, 13), 0.05);
        // After a seek into the middle of a segment.
        EXPECT_EQ(dominant(decodeFrames(played(package / step / "index.m3u8", 8.0)).front()), "green");
        EXPECT_EQ(dominant(decodeFrames(played(package / step / "index.m3u8", 12.6)).front()), "blue");
    }
    // The master playlist plays too.
    EXPECT_EQ(decodeFrames(played(package / "master.m3u8")).size(), 135U);

    // A second package has another key.
    ExportService::hls(movie, project, folder / "again");
    EXPECT_NE(readFile(folder / "again/key.bin"), key);
}

TEST_F(HlsPackaging, CopiesTheFramesForAStepThatTheMovieSuits)
{
    const auto hashes = [&](const fs::path& media, const char* stream = "0:v") {
        std::vector<std::string> command{"-y", "-i", media, "-map", stream, "-f", "framehash", folder / "frames"};
        if (media.extension() == ".m3u8")
            command.insert(command.begin(), {"-allowed_extensions", "ALL"});
        ffmpeg(command);
        std::vector<std::string> list;
        for (const auto& line : lines(readFile(folder / "frames"), "0,"))
            list.push_back(line.substr(line.rfind(',')));
        return list;
    };
    makeMovie({"-preset", "veryfast", "-force_key_frames", "expr:gte(t,n_forced*6)"});
    ExportService::hls(movie, project, folder / "hls");
    const std::string playlist = readFile(folder / "hls/720/index.m3u8");
    EXPECT_THAT(
        lines(playlist, "#EXTINF"), ElementsAre("#EXTINF:6.000000,", "#EXTINF:6.000000,", StartsWith("#EXTINF:1.5")));
    const auto own = hashes(movie);
    EXPECT_EQ(own.size(), 135U);
    EXPECT_EQ(hashes(folder / "hls/720/index.m3u8"), own);
    EXPECT_EQ(hashes(folder / "hls/480/index.m3u8").size(), 135U);
    // The audio is the movie's. Only the movie declares that the first frame is skipped and the last one shortened.
    auto audio = hashes(movie, "0:a");
    audio.pop_back();
    for (const auto* step : {"480", "720"}) {
        const auto heard = hashes(folder / "hls" / step / "index.m3u8", "0:a");
        ASSERT_GT(heard.size(), audio.size());
        EXPECT_TRUE(std::equal(audio.begin(), audio.end(), heard.begin() + 1)) << step;
    }
    EXPECT_EQ(dominant(decodeFrames(played(folder / "hls/720/index.m3u8", 12.6)).front()), "blue");

    // So are those of a smaller film beside the movie, unless it has no key frames where segments begin.
    const fs::path smaller = ExportService::stepFilm(movie, 480);
    ffmpeg({"-i", movie, "-vf", "scale=852:480,negate", "-preset", "veryfast", "-g", "250", "-force_key_frames",
        "expr:gte(t,n_forced*6)", "-c:a", "copy", smaller});
    ExportService::hls(movie, project, folder / "both");
    EXPECT_EQ(hashes(folder / "both/480/index.m3u8"), hashes(smaller));
    EXPECT_EQ(hashes(folder / "both/720/index.m3u8"), own);
    project.height = 700; // Above the largest step.
    ffmpeg({"-y", "-i", movie, "-vf", "scale=876:480,negate", "-preset", "veryfast", "-g", "250", "-force_key_frames",
        "expr:gte(t,n_forced*6)", "-c:a", "copy", smaller});
    ExportService::hls(movie, project, folder / "largest");
    EXPECT_EQ(hashes(folder / "largest/480/index.m3u8"), hashes(smaller));
    project.height = 720;
    ffmpeg({"-y", "-i", movie, "-vf", "scale=852:480,negate", "-preset", "veryfast", "-g", "250", "-c:a", "copy", smaller});
    ExportService::hls(movie, project, folder / "one");
    EXPECT_EQ(dominant(decodeFrames(played(folder / "one/480/index.m3u8", 12.6)).front()), "blue");

    // A movie with more bits than the step declares is encoded.
    ffmpeg({"-y", "-f", "lavfi", "-i", "nullsrc=size=320x180:rate=10:duration=7,geq=random(1)*255:128:128", "-c:v",
        "libx264", "-preset", "ultrafast", "-qp", "10", "-pix_fmt", "yuv420p", "-force_key_frames", "expr:gte(t,n_forced*6)",
        movie});
    project.width = 320;
    project.height = 180;
    ExportService::hls(movie, project, folder / "noise");
    const auto declared = lines(readFile(folder / "noise/master.m3u8"), "#EXT-X-STREAM-INF:BANDWIDTH=");
    EXPECT_LE(std::ranges::max(bitRates(folder / "noise/180")), std::stod(declared.at(0).substr(28)));
}

TEST_F(HlsPackaging, TakesThePosterAfterTheOpeningFade)
{
    ffmpeg({"-f", "lavfi", "-i", "color=red:size=320x180:rate=25:duration=2,fade=t=in:d=0.5", movie});
    project.width = 320;
    project.height = 180;
    project.duration = 2;
    project.edit.fade = 0.5;
    ExportService::hls(movie, project, folder / "hls");
    EXPECT_EQ(dominant(decodeFrames(folder / "hls/poster.jpg").front()), "red");
}

TEST_F(HlsPackaging, KeepsSegmentsWithinTheDeclaredBandwidth)
{
    // A long still part saves bits, which an encoder could spend at once on the noise after it. The last segment is short.
    // The audio of the movie takes more than a step plans for it.
    ffmpeg({"-f", "lavfi", "-i", "color=gray:size=320x240:rate=10:duration=18", "-f", "lavfi", "-i",
        "nullsrc=size=320x240:rate=10:duration=9.5,geq=random(1)*255:128:128", "-f", "lavfi", "-i",
        "anoisesrc=d=27.5:r=48000", "-filter_complex", "[0][1]concat=n=2", "-c:v", "libx264", "-preset", "ultrafast",
        "-pix_fmt", "yuv420p", "-c:a", "aac", "-ac", "2", "-b:a", "400k", movie});
    for (const auto& [width, height] : {std::pair{320, 240}, {852, 480}}) {
        project.width = width;
        project.height = height;
        const auto package = folder / std::to_string(height);
        ExportService::hls(movie, project, package);
        const auto declared = lines(readFile(package / "master.m3u8"), "#EXT-X-STREAM-INF:BANDWIDTH=");
        const auto rates = bitRates(package / std::to_string(height));
        ASSERT_EQ(declared.size(), 1U);
        ASSERT_GE(rates.size(), 5U);
        EXPECT_LE(std::ranges::max(rates), std::stod(declared[0].substr(28))) << height;
    }
}

TEST_F(HlsPackaging, LeavesNoMasterPlaylistAndKeyInformationWhenItFails)
{
    std::ofstream(movie) << "no movie";
    const auto package = folder / "hls";
    const auto isIncomplete = [&] { return !fs::exists(package / "key-info.txt") && !fs::exists(package / "master.m3u8"); };
    EXPECT_THAT(failure(package), StartsWith("El proceso de vídeo falló: "));
    EXPECT_TRUE(isIncomplete());
    EXPECT_TRUE(fs::exists(package / "key.bin"));

    project.height = 0;
    EXPECT_EQ(failure(folder / "none"), "El tamaño del proyecto no es válido.");
    EXPECT_FALSE(fs::exists(folder / "none"));
    project.height = 720;

    // An older master playlist must not make an incomplete package look complete.
    makeMovie();
    std::ofstream(package / "master.m3u8") << "old";
    std::stop_source stop;
    EXPECT_THROW(
        ExportService::hls(movie, project, package, [&](double) { stop.request_stop(); }, stop.get_token()), Cancelled);
    EXPECT_TRUE(isIncomplete());

    std::ofstream(folder / "file") << "in the way";
    EXPECT_THAT(failure(folder / "file"), HasSubstr("file"));
}

TEST_F(HlsPackaging, FailsOnAFullDisk)
{
    ffmpeg({"-f", "lavfi", "-i", "nullsrc=size=320x240:rate=10:duration=20,geq=random(1)*255:128:128", "-c:v", "libx264",
        "-preset", "ultrafast", "-pix_fmt", "yuv420p", movie});
    project.width = 320;
    project.height = 240;
    // The second segment does not fit, then the last one.
    for (const std::size_t room : {450'000U, 1'000'000U}) {
        const SmallDisk disk(room);
        if (!disk)
            GTEST_SKIP() << "this process may not mount";
        EXPECT_THAT(failure(disk.path() / "hls"), Not(testing::IsEmpty())) << room;
        EXPECT_FALSE(fs::exists(disk.path() / "hls/master.m3u8"));
        EXPECT_FALSE(fs::exists(disk.path() / "hls/key-info.txt"));
    }
}

} // namespace

} // namespace orvo::test
