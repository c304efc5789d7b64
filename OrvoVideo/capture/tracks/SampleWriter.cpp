#include "OrvoVideo/capture/tracks/SampleWriter.h"

#include "OrvoVideo/capture/tracks/AudioTimeline.h"
#include "OrvoVideo/capture/tracks/FrameTimeline.h"
#include "OrvoVideo/capture/tracks/TrackFile.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

namespace orvo {

namespace {

/// Maximum queue length. The screen delivers few frames by itself.
constexpr std::size_t maxFrames = 16;
constexpr std::size_t maxAudioBlocks = 500;

/// A still frame is written again after this time, so that the file stays close behind.
constexpr double maxStillTime = 0.25;

/// Seconds to wait for audio or a first frame before writing silence or black.
constexpr double maxDelay = 1;

} // namespace

class SampleWriter::Work {
public:
    Work(std::filesystem::path url, Settings settings)
        : m_url(std::move(url))
        , m_settings(std::move(settings))
    {
        // The audio format is not known yet, but this reports errors early.
        if (m_settings.size)
            beginFrames();
        else
            TrackFile(m_url, TrackFile::Audio{.channels = m_settings.channels});
        m_thread = std::jthread([this](const std::stop_token& stop) { run(stop); });
    }

    ~Work()
    {
        m_thread.request_stop();
        m_changed.notify_all();
    }

    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;

    const std::filesystem::path& url() const noexcept { return m_url; }
    std::uint64_t dropped() const noexcept { return m_dropped; }

    void append(CaptureSample sample, CaptureTime origin)
    {
        {
            const std::lock_guard lock(m_mutex);
            if (m_waiting.size() >= (m_settings.size ? maxFrames : maxAudioBlocks)) {
                ++m_dropped;
                return;
            }
            m_waiting.push_back({.sample = std::move(sample), .origin = origin});
        }
        m_changed.notify_all();
    }

    void advance(CaptureTime now, CaptureTime origin)
    {
        {
            const std::lock_guard lock(m_mutex);
            // Only the latest time counts, and a queued one is later than every sample.
            if (!m_waiting.empty() && !m_waiting.back().sample)
                m_waiting.pop_back();
            m_waiting.push_back({.sample = std::nullopt, .origin = origin, .now = now});
        }
        m_changed.notify_all();
    }

    void drain()
    {
        std::unique_lock lock(m_mutex);
        m_drained.wait(lock, [this] { return m_waiting.empty() && !m_isTaking; });
    }

    void finish(std::optional<CaptureTime> end)
    {
        m_thread.request_stop(); // The thread stops after writing its queue.
        m_changed.notify_all();
        m_thread.join();
        if (!m_failure)
            attempt([&] { close(end); });
        m_file.reset();
        if (m_failure)
            std::rethrow_exception(m_failure);
    }

private:
    struct Step {
        std::optional<CaptureSample> sample; ///< Empty if only the time is reported.
        CaptureTime origin;
        CaptureTime now;
    };

    void run(const std::stop_token& stop)
    {
        std::unique_lock lock(m_mutex);
        for (;;) {
            m_changed.wait(lock, stop, [this] { return !m_waiting.empty(); });
            if (m_waiting.empty())
                return;
            const Step step = std::move(m_waiting.front());
            m_waiting.pop_front();
            m_isTaking = true;
            lock.unlock();
            if (!m_failure)
                attempt([&] { take(step); });
            lock.lock();
            m_isTaking = false;
            m_drained.notify_all();
        }
    }

    template <typename Action> void attempt(Action action)
    {
        try {
            action();
        } catch (const std::exception&) {
            m_failure = std::current_exception();
            if (m_settings.onFailure)
                m_settings.onFailure(m_failure);
        }
    }

    void take(const Step& step)
    {
        m_origin = step.origin;
        if (!step.sample)
            return follow(secondsBetween(step.origin, step.now));
        if (const auto* frame = std::get_if<CapturedFrame>(&*step.sample)) {
            if (std::exchange(m_isStandIn, false))
                beginFrames(); // The black was a stand-in for a missing frame.
            const double seconds = std::max(secondsBetween(step.origin, frame->time), 0.0);
            m_frames->add(frame->memory, seconds);
            m_standsSince = seconds;
        } else {
            const auto& block = std::get<AudioBlock>(*step.sample);
            audio(block.channels).add(block, secondsBetween(step.origin, block.time));
        }
    }

    /// Extends the file while no samples arrive.
    void follow(double now)
    {
        if (!m_settings.size) {
            if (now > maxDelay)
                audio(m_settings.channels).fillUntil(now - maxDelay);
            return;
        }
        if (!m_frames->hasBegun() && now > maxDelay)
            standIn();
        // Frames that still arrive belong after this time.
        const double settled = now - m_settings.delay;
        if (m_frames->hasBegun() && settled - m_standsSince > maxStillTime) {
            m_frames->standUntil(settled);
            m_standsSince = settled;
        }
    }

    void beginFrames()
    {
        m_file.reset(); // Closes the file before it is created again.
        m_file = std::make_unique<TrackFile>(
            m_url, TrackFile::Frames{.size = *m_settings.size, .fps = m_settings.fps, .encoder = m_settings.encoder});
        m_frames.emplace(
            [this](const FrameTimeline::Placed& placed) { m_file->write(placed.frame, placed.start, placed.length); });
    }

    /// Writes black until the first frame.
    void standIn()
    {
        const auto black = std::make_shared<FrameMemory>(*m_settings.size);
        black->blacken();
        m_frames->add(black, 0);
        m_isStandIn = true;
    }

    void close(std::optional<CaptureTime> end)
    {
        const std::optional<double> seconds =
            end && m_origin ? std::optional(std::max(secondsBetween(*m_origin, *end), 0.0)) : std::nullopt;
        if (m_frames && !m_frames->hasBegun() && seconds > 0)
            standIn();
        if (m_frames)
            m_frames->end(seconds.value_or(m_standsSince + 1.0 / m_settings.fps));
        else if (seconds)
            audio(m_settings.channels).fillUntil(*seconds);
        if (m_file)
            m_file->finish();
        else
            TrackFile::removeEmpty(m_url);
    }

    /// The track's audio; it keeps the channel count of the first block.
    AudioTimeline& audio(int channels)
    {
        if (!m_audio) {
            m_file = std::make_unique<TrackFile>(m_url, TrackFile::Audio{.channels = channels});
            m_audio.emplace(channels, [this](std::span<const float> samples) { m_file->write(samples); });
        }
        return *m_audio;
    }

    const std::filesystem::path m_url;
    const Settings m_settings;
    std::atomic<std::uint64_t> m_dropped = 0;

    // Used by the thread, and after it by the caller of `finish`.
    std::unique_ptr<TrackFile> m_file;
    std::optional<FrameTimeline> m_frames;
    std::optional<AudioTimeline> m_audio;
    std::optional<CaptureTime> m_origin;
    double m_standsSince = 0;
    bool m_isStandIn = false; ///< The file is black until the first frame.
    std::exception_ptr m_failure;

    std::mutex m_mutex; ///< Guards the queue.
    std::condition_variable_any m_changed;
    std::condition_variable m_drained;
    bool m_isTaking = false; ///< The thread is working on a sample taken from the queue.
    std::deque<Step> m_waiting;
    std::jthread m_thread; ///< Last member: stops before the others are destroyed.
};

SampleWriter::SampleWriter(std::filesystem::path url, Settings settings)
    : m_work(std::make_unique<Work>(std::move(url), std::move(settings)))
{
}

SampleWriter::~SampleWriter() = default;

const std::filesystem::path& SampleWriter::url() const noexcept
{
    return m_work->url();
}

void SampleWriter::append(CaptureSample sample, CaptureTime origin)
{
    m_work->append(std::move(sample), origin);
}

void SampleWriter::advance(CaptureTime now, CaptureTime origin)
{
    m_work->advance(now, origin);
}

void SampleWriter::drain()
{
    m_work->drain();
}

void SampleWriter::finish(std::optional<CaptureTime> end)
{
    m_work->finish(end);
}

std::uint64_t SampleWriter::dropped() const noexcept
{
    return m_work->dropped();
}

} // namespace orvo
