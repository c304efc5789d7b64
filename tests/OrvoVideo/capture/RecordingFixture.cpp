#include "RecordingFixture.h"

#include "TestSupport/Waiting.h"

#include <QProcess>
#include <algorithm>
#include <stdexcept>

namespace orvo::test {

RecordingFixture::RecordingFixture()
{
    display.enter();
    engine = std::make_unique<CaptureEngine>(PointerMonitor::create());
}

RecordingSession::Plan RecordingFixture::planOf(const CaptureSource& source)
{
    return {.source = source, .options = {.microphone = false, .systemAudio = false}, .title = "Prueba"};
}

std::unique_ptr<RecordingSession> RecordingFixture::start(const RecordingSession::Plan& plan)
{
    {
        const std::lock_guard lock(m_mutex);
        m_error.clear();
        m_devices.clear();
    }
    RecordingSession::Listener listener{.onError =
                                            [this](const std::string& text) {
                                                const std::lock_guard lock(m_mutex);
                                                m_error = text;
                                            },
        .onDevice =
            [this](TrackKind kind, bool isAway) {
                const std::lock_guard lock(m_mutex);
                m_devices.emplace_back(kind, isAway);
            }};
    return std::make_unique<RecordingSession>(store, *engine, plan, std::move(listener));
}

RecordingSession::Result RecordingFixture::record(const RecordingSession::Plan& plan, double seconds)
{
    const auto session = start(plan);
    waitFor(*session, seconds);
    return session->stop();
}

void RecordingFixture::waitFor(const RecordingSession& session, double seconds)
{
    if (!pollUntil([&] { return session.time() >= seconds; }))
        throw std::runtime_error("the recording time stands still");
}

std::string RecordingFixture::error() const
{
    const std::lock_guard lock(m_mutex);
    return m_error;
}

std::vector<std::pair<TrackKind, bool>> RecordingFixture::devices() const
{
    const std::lock_guard lock(m_mutex);
    return m_devices;
}

std::filesystem::path RecordingFixture::mediaOf(const VideoProject& project, TrackKind kind) const
{
    const auto track = std::ranges::find(project.tracks, kind, &MediaTrack::kind);
    if (track == project.tracks.end())
        throw std::runtime_error("there is no such track");
    return store.mediaURL(project, track->file);
}

void RecordingFixture::expectCorners(const Frame& frame, const PatternWindow::Place& place)
{
    constexpr int inside = 3;
    const int right = place.x + place.width - 1 - inside;
    const int bottom = place.y + place.height - 1 - inside;
    const auto isLike = [](Frame::Colour colour, bool red, bool green, bool blue) {
        constexpr int half = 128;
        return (colour.red > half) == red && (colour.green > half) == green && (colour.blue > half) == blue;
    };
    EXPECT_TRUE(isLike(frame.at(place.x + inside, place.y + inside), true, false, false));
    EXPECT_TRUE(isLike(frame.at(right, place.y + inside), false, true, false));
    EXPECT_TRUE(isLike(frame.at(place.x + inside, bottom), false, false, true));
    EXPECT_TRUE(isLike(frame.at(right, bottom), true, true, false));
}

void RecordingFixture::expectEvenTime(const std::vector<TimePattern::TimedFrame>& frames)
{
    std::vector<double> delays;
    for (const auto& frame : frames) {
        ASSERT_TRUE(frame.shown) << "the frame at " << frame.time << " cannot be read";
        delays.push_back(frame.time - *frame.shown);
    }
    const auto median = [](std::vector<double> values) {
        std::ranges::nth_element(values, values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2));
        return values[values.size() / 2];
    };
    const auto third = static_cast<std::ptrdiff_t>(delays.size() / 3);
    EXPECT_NEAR(median({delays.begin(), delays.begin() + third}), median({delays.end() - third, delays.end()}), 0.01);
}

bool RecordingFixture::run(const QString& program, const QStringList& arguments)
{
    return QProcess::execute(program, arguments) == 0;
}

} // namespace orvo::test
