#include "OrvoVideo/capture/tracks/SampleWriter.h"

#include "OrvoVideo/capture/tracks/PictureTimeline.h"
#include "OrvoVideo/capture/tracks/SoundTimeline.h"
#include "OrvoVideo/capture/tracks/TrackFile.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

namespace orvo {

namespace {

/// Samples that may wait. The screen's pictures are fewer by themselves.
constexpr std::size_t mostPictures = 16;
constexpr std::size_t mostSoundBlocks = 500;

/// A picture that stands is written again after so many seconds, so that the file is never far behind.
constexpr double longestStanding = 0.25;

/// How late sound or a first picture may come, in seconds, before silence or black takes its place.
constexpr double longestDelay = 1;

} // namespace

class SampleWriter::Work {
public:
    Work(std::filesystem::path url, Settings settings)
        : m_url(std::move(url))
        , m_settings(std::move(settings))
    {
        // Sound's form is not known yet, but what would keep it from being written is.
        if (m_settings.size)
            beginPictures();
        else
            TrackFile(m_url, TrackFile::Sound{.channels = m_settings.channels});
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
            if (m_waiting.size() >= (m_settings.size ? mostPictures : mostSoundBlocks)) {
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
            // Only the newest word counts, and one that waits is behind every sample.
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
        m_thread.request_stop(); // Which happens when all that waits is written.
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
        std::optional<CaptureSample> sample; ///< Without one, only the time has gone on.
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
        if (const auto* picture = std::get_if<CapturedPicture>(&*step.sample)) {
            if (std::exchange(m_isStandIn, false))
                beginPictures(); // Black was only in case that none would come.
            const double seconds = std::max(secondsBetween(step.origin, picture->time), 0.0);
            m_pictures->add(picture->memory, seconds);
            m_standsSince = seconds;
        } else {
            const auto& block = std::get<SoundBlock>(*step.sample);
            sound(block.channels).add(block, secondsBetween(step.origin, block.time));
        }
    }

    /// The file goes on though nothing has come.
    void follow(double now)
    {
        if (!m_settings.size) {
            if (now > longestDelay)
                sound(m_settings.channels).fillUntil(now - longestDelay);
            return;
        }
        if (!m_pictures->hasBegun() && now > longestDelay)
            standIn();
        // What may still come belongs behind that.
        const double settled = now - m_settings.delay;
        if (m_pictures->hasBegun() && settled - m_standsSince > longestStanding) {
            m_pictures->standUntil(settled);
            m_standsSince = settled;
        }
    }

    void beginPictures()
    {
        m_file.reset(); // It lets go of the file before that is made anew.
        m_file = std::make_unique<TrackFile>(m_url, TrackFile::Pictures{.size = *m_settings.size, .fps = m_settings.fps});
        m_pictures.emplace(
            [this](const PictureTimeline::Placed& placed) { m_file->write(placed.picture, placed.start, placed.length); });
    }

    /// Black in place of pictures of which none has come.
    void standIn()
    {
        const auto black = std::make_shared<PictureMemory>(*m_settings.size);
        black->blacken();
        m_pictures->add(black, 0);
        m_isStandIn = true;
    }

    void close(std::optional<CaptureTime> end)
    {
        const std::optional<double> seconds =
            end && m_origin ? std::optional(std::max(secondsBetween(*m_origin, *end), 0.0)) : std::nullopt;
        if (m_pictures && !m_pictures->hasBegun() && seconds > 0)
            standIn();
        if (m_pictures)
            m_pictures->end(seconds.value_or(m_standsSince + 1.0 / m_settings.fps));
        else if (seconds)
            sound(m_settings.channels).fillUntil(*seconds);
        if (m_file)
            m_file->finish();
        else
            TrackFile::removeEmpty(m_url);
    }

    /// The sound of this track, which has as many channels as that which came first.
    SoundTimeline& sound(int channels)
    {
        if (!m_sound) {
            m_file = std::make_unique<TrackFile>(m_url, TrackFile::Sound{.channels = channels});
            m_sound.emplace(channels, [this](std::span<const float> samples) { m_file->write(samples); });
        }
        return *m_sound;
    }

    const std::filesystem::path m_url;
    const Settings m_settings;
    std::atomic<std::uint64_t> m_dropped = 0;

    // Of the thread alone, and of whoever closes the file behind it.
    std::unique_ptr<TrackFile> m_file;
    std::optional<PictureTimeline> m_pictures;
    std::optional<SoundTimeline> m_sound;
    std::optional<CaptureTime> m_origin;
    double m_standsSince = 0;
    bool m_isStandIn = false; ///< What is in the file is black until the first picture comes.
    std::exception_ptr m_failure;

    std::mutex m_mutex; ///< Guards what waits.
    std::condition_variable_any m_changed;
    std::condition_variable m_drained;
    bool m_isTaking = false; ///< The thread works on a sample that no longer waits.
    std::deque<Step> m_waiting;
    std::jthread m_thread; ///< Last, so that it has ended when the others go.
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
