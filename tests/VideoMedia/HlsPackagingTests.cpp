#include "ExportFixture.h"
#include "TestSupport/SmallDisk.h"
#include "VideoCore/FileIO.h"
#include "VideoCore/Timeline.h"

#include <algorithm>
#include <array>
#include <format>
#include <fstream>
#include <gmock/gmock.h>
#include <memory>
#include <openssl/evp.h>
#include <set>
#include <sstream>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

/// A rendered movie of 13.5 seconds whose picture is red, then green from second 5, then blue from second 10, over a tone.
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
        line.push_back(movie);
        ffmpeg(line);
    }

    std::string failure(const fs::path& destination, const std::stop_token& stop = {})
    {
        try {
            ExportService::hls(movie, project, destination, {}, stop);
        } catch (const std::exception& error) {
            return describe(error);
        }
        return {};
    }

    /// What ffmpeg, playing a playlist from `start` on, shows and sounds.
    fs::path played(const fs::path& playlist, double start = 0)
    {
        const auto file = folder / "played.mkv";
        ffmpeg({"-allowed_extensions", "ALL", "-ss", std::to_string(start), "-i", playlist, "-vf", "scale=64:36", "-c:v",
            "ffv1", "-c:a", "pcm_s16le", "-fps_mode", "passthrough", file});
        return file;
    }

    static std::string dominant(const Picture& picture)
    {
        const auto mean = picture.mean(0, 0, 1, 1);
        return mean.red > 150 ? "red" : mean.blue > 150 ? "blue" : "green";
    }

    fs::path movie = folder / "movie.mp4";
};

/// The lines of a playlist that begin so.
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

/// The bit rate of every run of segments that lasts about as long as one of them: half as long to one and a half times.
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

/// The vector of a segment: the one that the playlist fixes for all, else its number.
std::array<unsigned char, 16> vectorOf(const std::string& playlist, unsigned number)
{
    std::array<unsigned char, 16> vector{};
    vector[15] = static_cast<unsigned char>(number);
    const auto at = playlist.find(",IV=0x");
    for (std::size_t i = 0; at != std::string::npos && i < vector.size(); ++i)
        vector[i] = static_cast<unsigned char>(std::stoul(playlist.substr(at + 6 + 2 * i, 2), nullptr, 16));
    return vector;
}

/// A segment as a player decrypts it.
std::string decrypted(const std::string& cipher, const std::string& key, std::array<unsigned char, 16> vector)
{
    const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context(EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
    std::string clear(cipher.size() + 16, '\0');
    auto* const out = reinterpret_cast<unsigned char*>(clear.data());
    int length = 0;
    int rest = 0;
    if (EVP_DecryptInit_ex(
            context.get(), EVP_aes_128_cbc(), nullptr, reinterpret_cast<const unsigned char*>(key.data()), vector.data())
            != 1
        || EVP_DecryptUpdate(context.get(), out, &length, reinterpret_cast<const unsigned char*>(cipher.data()),
               static_cast<int>(cipher.size()))
            != 1
        || EVP_DecryptFinal_ex(context.get(), out + length, &rest) != 1)
        return {};
    clear.resize(static_cast<std::size_t>(length + rest));
    return clear;
}

TEST_F(HlsPackaging, EveryRenditionPlaysFromItsKey)
{
    makeMovie();
    const auto package = folder / "100 % año/hls";
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
    EXPECT_EQ(probe(package / "poster.jpg").width, 960);
    EXPECT_EQ(dominant(decodeFrames(package / "poster.jpg").front()), "red");

    for (const auto& [step, width] : {std::pair{"480", 852}, {"720", 1280}}) {
        SCOPED_TRACE(step);
        const std::string playlist = readFile(package / step / "index.m3u8");
        EXPECT_THAT(playlist, HasSubstr("#EXT-X-KEY:METHOD=AES-128,URI=\"../key.bin\""));
        EXPECT_THAT(playlist, Not(HasSubstr(folder.path().string())));
        EXPECT_THAT(
            lines(playlist, "#EXTINF"), ElementsAre("#EXTINF:6.000000,", "#EXTINF:6.000000,", StartsWith("#EXTINF:1.5")));
        // Every segment alone: encrypted with the key, beginning with a picture that needs no other.
        for (const unsigned number : {0U, 1U, 2U}) {
            const std::string clear =
                decrypted(readFile(package / step / std::format("{:05}.ts", number)), key, vectorOf(playlist, number));
            ASSERT_FALSE(clear.empty());
            EXPECT_EQ(clear[0], 0x47);
            EXPECT_EQ(clear[188], 0x47);
            std::ofstream(folder / "clear.ts", std::ios::binary) << clear;
            EXPECT_THAT(ffmpeg({"-v", "debug", "-skip_frame", "nokey", "-i", folder / "clear.ts", "-frames:v", "1", "-vf",
                            "showinfo", "-f", "null", "-"}),
                HasSubstr("type:I"));
            EXPECT_EQ(probe(folder / "clear.ts").width, width);
        }
        const auto frames = decodeFrames(played(package / step / "index.m3u8"));
        ASSERT_EQ(frames.size(), 135U);
        EXPECT_EQ(dominant(frames[49]), "red");
        EXPECT_EQ(dominant(frames[50]), "green");
        EXPECT_EQ(dominant(frames[99]), "green");
        EXPECT_EQ(dominant(frames[100]), "blue");
        const auto sound = decodeSound(played(package / step / "index.m3u8"));
        EXPECT_NEAR(static_cast<double>(sound.size()) / 48'000, 13.5, 0.1);
        EXPECT_GT(level(sound, 6, 13), 0.05);
        // After a jump into the middle of a segment.
        EXPECT_EQ(dominant(decodeFrames(played(package / step / "index.m3u8", 8.0)).front()), "green");
        EXPECT_EQ(dominant(decodeFrames(played(package / step / "index.m3u8", 12.6)).front()), "blue");
    }
    // A player that is given the master playlist finds both.
    EXPECT_EQ(decodeFrames(played(package / "master.m3u8")).size(), 135U);

    // A second package has another key.
    ExportService::hls(movie, project, folder / "again");
    EXPECT_NE(readFile(folder / "again/key.bin"), key);
}

TEST_F(HlsPackaging, AStepThatTheMovieIsAlreadyHasItsFrames)
{
    const auto hashes = [&](const fs::path& media) {
        std::vector<std::string> command{"-y", "-i", media, "-map", "0:v", "-f", "framehash", folder / "frames"};
        if (media != movie)
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
    EXPECT_EQ(dominant(decodeFrames(played(folder / "hls/720/index.m3u8", 12.6)).front()), "blue");

    // More bits than the step declares: it is encoded.
    ffmpeg({"-y", "-f", "lavfi", "-i", "nullsrc=size=320x180:rate=10:duration=7,geq=random(1)*255:128:128", "-c:v",
        "libx264", "-preset", "ultrafast", "-qp", "10", "-pix_fmt", "yuv420p", "-force_key_frames", "expr:gte(t,n_forced*6)",
        movie});
    project.width = 320;
    project.height = 180;
    ExportService::hls(movie, project, folder / "noise");
    const auto declared = lines(readFile(folder / "noise/master.m3u8"), "#EXT-X-STREAM-INF:BANDWIDTH=");
    EXPECT_LE(std::ranges::max(bitRates(folder / "noise/180")), std::stod(declared.at(0).substr(28)));
}

TEST_F(HlsPackaging, FoldersMayBeNamedLikePatterns)
{
    project.width = 320;
    project.height = 180;
    makeMovie();
    for (const auto* name : {"50%descuento", "a%03d b"}) {
        const auto package = folder / name;
        EXPECT_EQ(failure(package), "");
        EXPECT_TRUE(fs::exists(package / "poster.jpg"));
        EXPECT_EQ(decodeFrames(played(package / "180/index.m3u8")).size(), 135U) << name;
    }
    std::set<std::string> there;
    for (const auto& entry : fs::directory_iterator(folder.path()))
        there.insert(entry.path().filename());
    EXPECT_THAT(there, testing::IsSubsetOf({"50%descuento", "a%03d b", "library", "movie.mp4", "played.mkv"}));
}

TEST_F(HlsPackaging, ThePosterIsTheFirstFrameBehindTheOpeningFade)
{
    ffmpeg({"-f", "lavfi", "-i", "color=red:size=320x180:rate=25:duration=2,fade=t=in:d=0.5", movie});
    project.width = 320;
    project.height = 180;
    project.duration = 2;
    project.edit.fade = 0.5;
    ExportService::hls(movie, project, folder / "hls");
    EXPECT_EQ(dominant(decodeFrames(folder / "hls/poster.jpg").front()), "red");
}

TEST_F(HlsPackaging, NoSegmentTakesMoreThanIsDeclared)
{
    // What is still for long saves bits that what moves afterwards would spend at once. The last segment is a short one.
    ffmpeg({"-f", "lavfi", "-i", "color=gray:size=320x240:rate=30:duration=18", "-f", "lavfi", "-i",
        "nullsrc=size=320x240:rate=30:duration=9.5,geq=random(1)*255:128:128", "-f", "lavfi", "-i",
        "anoisesrc=d=27.5:r=48000", "-filter_complex", "[0][1]concat=n=2", "-c:v", "libx264", "-preset", "ultrafast",
        "-pix_fmt", "yuv420p", "-c:a", "aac", movie});
    project.fps = 30;
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

TEST_F(HlsPackaging, WhatFailsLeavesNoMasterPlaylistAndNoKeyInformation)
{
    std::ofstream(movie) << "no movie";
    const auto package = folder / "hls";
    const auto isHalfMade = [&] { return !fs::exists(package / "key-info.txt") && !fs::exists(package / "master.m3u8"); };
    EXPECT_THAT(failure(package), StartsWith("El proceso de vídeo falló: "));
    EXPECT_TRUE(isHalfMade());
    EXPECT_TRUE(fs::exists(package / "key.bin"));

    project.height = 0;
    EXPECT_EQ(failure(folder / "none"), "El tamaño del proyecto no es válido.");
    EXPECT_FALSE(fs::exists(folder / "none"));
    project.height = 720;

    // An older package does not hide that the new one is not complete.
    makeMovie();
    std::ofstream(package / "master.m3u8") << "old";
    std::stop_source stop;
    EXPECT_THROW(
        ExportService::hls(movie, project, package, [&](double) { stop.request_stop(); }, stop.get_token()), Cancelled);
    EXPECT_TRUE(isHalfMade());

    std::ofstream(folder / "file") << "in the way";
    EXPECT_THAT(failure(folder / "file"), HasSubstr("file"));
}

TEST_F(HlsPackaging, AFullDiskIsAFailure)
{
    ffmpeg({"-f", "lavfi", "-i", "nullsrc=size=320x240:rate=10:duration=20,geq=random(1)*255:128:128", "-c:v", "libx264",
        "-preset", "ultrafast", "-pix_fmt", "yuv420p", movie});
    project.width = 320;
    project.height = 240;
    // The second and the last segment are those that do not fit.
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
