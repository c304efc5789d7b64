#include "VideoMedia/AnalysisAudio.h"

#include "TestSupport/Failure.h"
#include "TestSupport/Media.h"
#include "TestSupport/ProjectFixture.h"
#include "VideoMedia/FfprobeMediaProbe.h"

#include <fstream>
#include <gmock/gmock.h>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class AnalysisAudioTest : public ProjectFixture {
protected:
    AnalysisAudioTest()
        : ProjectFixture("library", 6)
    {
    }

    fs::path media(const std::string& name) { return store.directory(project.id) / "media" / name; }

    /// Makes the mix. Returns the text of the failure, or an empty text.
    std::string mix()
    {
        return failureOf([&] { analysisAudio(project, store, FfprobeMediaProbe(), destination); });
    }

    /// One character for each half second of the mix: "#" for audio, "." for silence.
    std::string halves() const
    {
        const auto samples = decodeAudio(destination);
        std::string result;
        for (double at = 0; at + 0.5 <= static_cast<double>(samples.size()) / 48'000 + 0.01; at += 0.5)
            result += level(samples, at + 0.1, at + 0.4) > 0.001 ? '#' : '.';
        return result;
    }

    const fs::path destination = store.directory(project.id) / "transcription.wav";
};

TEST_F(AnalysisAudioTest, PutsEveryTrackAtItsTime)
{
    // A late microphone with volume 0, telephone audio, and six channels of which only the last has a signal.
    makeAudio(media("microphone.m4a"), "sine=440:d=1");
    ffmpeg({"-f", "lavfi", "-i", "sine=300:d=0.5:r=8000", "-ar", "8000", media("system.wav").string()});
    ffmpeg({"-f", "lavfi", "-i", "aevalsrc=0|0|0|0|0|sin(1000*t):c=5.1:d=0.5", media("clip.wav").string()});
    makeVideo(media("screen.mov"), "testsrc2=size=64x36:rate=10:duration=6"); // Without audio.
    project.tracks = {track(TrackKind::screen, "media/screen.mov", 0, 6),
        track(TrackKind::microphone, "media/microphone.m4a", 2.5, 1), track(TrackKind::system, "media/system.wav", 0, 0.5),
        track(TrackKind::clip, "media/clip.wav", 5, 0.5)};
    project.tracks.edit()[1].volume = 0;
    EXPECT_EQ(mix(), "");
    EXPECT_EQ(halves(), "#....##...#");
    EXPECT_EQ(probe(destination).audioCodec, "pcm_s16le");
    EXPECT_EQ(probe(destination).audioChannels, 1);
}

TEST_F(AnalysisAudioTest, IgnoresTheAudioOfCameras)
{
    ffmpeg({"-f", "lavfi", "-i", "testsrc2=size=64x36:rate=10:duration=1", "-f", "lavfi", "-i", "sine=440:d=1",
        media("camera.mov").string()});
    project.tracks = {track(TrackKind::camera, "media/camera.mov", 0, 1)};
    EXPECT_EQ(mix(), "El proyecto no contiene audio para transcribir.");
    project.tracks = {};
    EXPECT_EQ(mix(), "El proyecto no contiene audio para transcribir.");
}

TEST_F(AnalysisAudioTest, ReportsDamagedAndMissingFiles)
{
    project.tracks = {track(TrackKind::microphone, "media/microphone.m4a", 0, 1)};
    EXPECT_THAT(mix(), HasSubstr("microphone.m4a"));
    std::ofstream(media("microphone.m4a")) << "no es sonido";
    EXPECT_THAT(mix(), HasSubstr("microphone.m4a"));
    project.tracks = {track(TrackKind::microphone, "../../elsewhere.m4a", 0, 1)};
    EXPECT_NE(mix(), "");
}

} // namespace

} // namespace orvo::test
