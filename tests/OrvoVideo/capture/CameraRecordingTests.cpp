#include "RecordingFixture.h"
#include "TestSupport/Media.h"
#include "TestSupport/VirtualCamera.h"
#include "VideoCore/Error.h"

#include <cstdlib>
#include <gmock/gmock.h>

namespace orvo::test {

namespace {

constexpr std::uint32_t red = 0xc02020;
constexpr std::uint32_t green = 0x20c020;

/// Recordings of a display with a camera beside it.
class CameraRecording : public RecordingFixture {
protected:
    CameraRecording() { plan.options.camera = true; }

    /// The colour of the camera's track over time.
    struct Colours {
        explicit Colours(const std::filesystem::path& file)
            : frames(framesAtRate(file, 10, "scale=64:36"))
        {
        }

        bool are(std::uint32_t colour, double time) const
        {
            constexpr int tolerance = 12; // Of two conversions between limited-range YUV and RGB.
            const auto place = std::min(static_cast<std::size_t>(time * 10), frames.size() - 1);
            const auto shown = frames.at(place).mean(0.1, 0.1, 0.9, 0.9);
            const auto isNear = [](int value, std::uint32_t wanted) {
                return std::abs(value - static_cast<int>(wanted & 0xFF)) <= tolerance;
            };
            return isNear(shown.red, colour >> 16) && isNear(shown.green, colour >> 8) && isNear(shown.blue, colour);
        }

        std::vector<Frame> frames;
    };

    Colours coloursOf(const VideoProject& project)
    {
        const auto file = mediaOf(project, TrackKind::camera);
        const auto probed = probe(file);
        EXPECT_EQ(probed.width, 1280);
        EXPECT_EQ(probed.height, 720);
        EXPECT_EQ(probed.videoCodec, "h264");
        EXPECT_NEAR(probed.videoDuration, project.duration, 0.03);
        return Colours(file);
    }

    AudioWorld world; // Its PipeWire has the cameras.
    RecordingSession::Plan plan = planOf(CaptureSources::displays().front());
};

TEST_F(CameraRecording, RecordsTheCameraInItsColours)
{
    EXPECT_THAT([&] { start(plan); }, testing::ThrowsMessage<Error>("No hay una cámara disponible."));
    const VirtualCamera camera(red);
    const auto listed = Cameras::list();
    ASSERT_EQ(listed.size(), 1U);
    EXPECT_EQ(listed[0].id, VirtualCamera::id);
    EXPECT_EQ(listed[0].label, VirtualCamera::label);
    plan.options.cameraDevice = "otra";
    EXPECT_THAT([&] { start(plan); }, testing::ThrowsMessage<Error>("No hay una cámara disponible."));

    plan.options.cameraDevice = VirtualCamera::id;
    const auto project = record(plan, 3).project;
    EXPECT_EQ(project.state, ProjectState::ready);
    EXPECT_GT(probe(mediaOf(project, TrackKind::camera)).frames, 45);
    const auto colours = coloursOf(project);
    for (const double time : {0.0, 1.5, project.duration})
        EXPECT_TRUE(colours.are(red, time)) << time;
}

TEST_F(CameraRecording, ResumesWhenTheCameraIsPluggedInAgain)
{
    auto camera = std::make_unique<VirtualCamera>(red);
    auto session = start(plan); // Uses the first camera.
    waitFor(*session, 2);
    camera.reset();
    const double unplugged = session->time();
    waitFor(*session, unplugged + 3);
    ASSERT_TRUE(comesToHold([&] { return !devices().empty(); }));
    EXPECT_THAT(devices(), testing::ElementsAre(std::pair(TrackKind::camera, true)));
    const double plugged = session->time();
    camera = std::make_unique<VirtualCamera>(green);
    waitFor(*session, plugged + 5);
    EXPECT_THAT(devices(), testing::ElementsAre(std::pair(TrackKind::camera, true), std::pair(TrackKind::camera, false)));
    const auto project = session->stop().project;
    EXPECT_EQ(project.state, ProjectState::ready);
    EXPECT_THAT(error(), testing::IsEmpty());

    const auto colours = coloursOf(project);
    for (const double time : {0.5, unplugged + 0.5, unplugged + 2.5})
        EXPECT_TRUE(colours.are(red, time)) << time << ": the last frame stays";
    for (const double time : {plugged + 4.5, project.duration})
        EXPECT_TRUE(colours.are(green, time)) << time << ": the camera is back";
}

} // namespace

} // namespace orvo::test
