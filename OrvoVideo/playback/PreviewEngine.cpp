#include "OrvoVideo/playback/PreviewEngine.h"

#include "OrvoVideo/gstreamer/GstHandles.h"
#include "VideoCore/Error.h"

#include <algorithm>
#include <cmath>
#include <format>
#include <ranges>
#include <system_error>
#include <utility>

namespace orvo {

namespace fs = std::filesystem;
using std::chrono::steady_clock;

namespace {

/// While newer targets arrive, shows an intermediate frame at this interval.
constexpr auto scrubbingPace = std::chrono::milliseconds(70);

/// Seconds of delay from which non-reference frames are skipped to catch up.
constexpr double lateness = 0.25;
/// From this speed on, non-reference frames are skipped to keep pace.
constexpr double fastSpeed = 3;

/// Opens a clip's file this many seconds before the clip starts.
constexpr double openAhead = 2;

VideoFile look(const fs::path& file, int rotation)
{
    std::error_code ignored;
    return {.path = file,
        .rotation = rotation,
        .size = fs::file_size(file, ignored),
        .changed = fs::last_write_time(file, ignored)};
}

} // namespace

/// A loaded composition.
struct PreviewEngine::Composition {
    QSize size;
    CompositionLayout layout;
    std::vector<VideoFile> video; ///< In the order of the layout's clips.
    std::vector<std::shared_ptr<AudioTrack>> audio; ///< By index in the description; null for a file without audio.
    std::shared_ptr<PlaybackClock> clock;
};

PreviewEngine::PreviewEngine(std::unique_ptr<MediaProbe> probe, std::string audioSink, Listener listener)
    : m_probe(std::move(probe))
    , m_audioSink(std::move(audioSink))
    , m_listener(std::move(listener))
    , m_thread([this](const std::stop_token& stop) { run(stop); })
{
}

// Orders

void PreviewEngine::order(const std::function<void(Orders&)>& change, bool interruptsLoad)
{
    {
        const std::scoped_lock lock(m_mutex);
        change(m_orders);
        if (interruptsLoad)
            m_loading.request_stop();
    }
    m_ordered.notify_all();
}

void PreviewEngine::load(std::uint64_t number, PreviewComposition composition)
{
    order([&](Orders& orders) { orders = {.load = {{number, std::move(composition)}}, .displaySize = orders.displaySize}; },
        true);
}

void PreviewEngine::clear()
{
    order([](Orders& orders) { orders = {.clear = true, .displaySize = orders.displaySize}; }, true);
}

void PreviewEngine::seek(std::uint64_t number, double seconds)
{
    order([&](Orders& orders) { orders.seek = {.number = number, .value = seconds}; });
}

void PreviewEngine::setRate(std::uint64_t number, double rate)
{
    order([&](Orders& orders) { orders.rate = {.number = number, .value = rate}; });
}

void PreviewEngine::setVolume(std::size_t index, double volume)
{
    order([&](Orders& orders) { orders.volumes.emplace_back(index, volume); });
}

void PreviewEngine::setHeard(HeardSpans spans)
{
    const std::scoped_lock lock(m_mutex);
    m_heard = std::move(spans);
    if (m_composition)
        m_composition->clock->setHeard(m_heard);
}

void PreviewEngine::setDisplaySize(QSize size)
{
    order([&](Orders& orders) { orders.displaySize = size; });
}

void PreviewEngine::expectSeek(double seconds)
{
    order([&](Orders& orders) { orders.expected = seconds; });
}

bool PreviewEngine::hasOrders()
{
    const std::scoped_lock lock(m_mutex);
    return m_orders.any();
}

std::shared_ptr<PreviewEngine::Composition> PreviewEngine::composition()
{
    const std::scoped_lock lock(m_mutex);
    return m_composition;
}

double PreviewEngine::position()
{
    const auto composition = this->composition();
    // The audio continues in silence until the thread notices the end.
    return composition ? std::clamp(composition->clock->position(), 0.0, composition->layout.duration()) : 0;
}

// The engine's thread

void PreviewEngine::run(const std::stop_token& stop)
{
    try {
        // On this thread, because the first call can take a second.
        startGStreamer();
    } catch (const Error&) {
        // Every load reports it.
    }
    std::optional<TimePoint> nextFrame;
    while (!stop.stop_requested()) {
        std::unique_lock lock(m_mutex);
        const auto ordered = [this] { return m_orders.any(); };
        if (nextFrame)
            m_ordered.wait_until(lock, stop, *nextFrame, ordered);
        else
            m_ordered.wait(lock, stop, ordered);
        Orders orders = std::exchange(m_orders, {});
        m_loading = {};
        lock.unlock();
        try {
            perform(std::move(orders), stop);
            if (m_rate.value == 0)
                nextFrame.reset();
            else
                nextFrame = hasOrders() ? steady_clock::now() : playOn(stop);
        } catch (const Cancelled&) {
            // Stopped, or replaced by a new load.
        } catch (const std::exception&) {
            // A file vanished or broke after loading: the last frame stays, the rest continues.
            nextFrame = steady_clock::now() + std::chrono::milliseconds(100);
        }
    }
}

void PreviewEngine::perform(Orders orders, const std::stop_token& stop)
{
    if (orders.clear) {
        halt();
        {
            const std::scoped_lock lock(m_mutex);
            m_composition.reset();
        }
        m_shelf.clear();
        m_convertedSample = {};
        m_convertedImage = m_shownImage = {};
        m_listener.frame({});
    }
    if (orders.displaySize && *orders.displaySize != std::exchange(m_displaySize, *orders.displaySize) && m_composition) {
        m_upcoming.reset();
        showExactly(m_shown, stop);
    }
    if (orders.load)
        performLoad(orders.load->first, orders.load->second, stop);
    for (const auto& [index, volume] : orders.volumes) {
        if (m_composition && index < m_composition->audio.size() && m_composition->audio[index])
            m_composition->audio[index]->setGain(volume);
    }
    if (orders.seek)
        performSeek(*orders.seek, stop);
    if (orders.expected)
        m_expected = orders.expected;
    if (orders.rate)
        performRate(*orders.rate, stop);
}

void PreviewEngine::halt()
{
    if (m_composition) {
        m_composition->clock->stop();
        m_paused = m_composition->clock->position();
    }
    m_rate.value = 0;
    m_upcoming.reset();
}

void PreviewEngine::performLoad(std::uint64_t number, const PreviewComposition& description, const std::stop_token& stop)
{
    const std::stop_source loading = [this] {
        const std::scoped_lock lock(m_mutex);
        if (m_orders.load || m_orders.clear)
            throw Cancelled();
        return m_loading;
    }();
    const std::stop_callback forward(stop, [&loading] { loading.request_stop(); });
    std::shared_ptr<Composition> opened;
    QImage first;
    const auto present = m_composition;
    const auto takeInUse = [this](std::shared_ptr<Composition> composition) {
        const std::scoped_lock lock(m_mutex);
        m_composition = std::move(composition);
        if (m_composition)
            m_composition->clock->setHeard(m_heard);
    };
    halt();
    try {
        opened = open(description, loading.get_token());
        takeInUse(opened);
        first = frameOf(0, VideoSource::Want::Exact, loading.get_token());
    } catch (const Cancelled&) {
        takeInUse(present);
        throw;
    } catch (const std::exception& error) {
        takeInUse(present);
        m_listener.failed(number, describe(error));
        return;
    }
    m_rate = {};
    m_paused = 0;
    m_shown = 0;
    m_expected.reset();
    m_shownImage = {};
    show(first);
    m_listener.loaded(number);
}

MediaFacts PreviewEngine::factsOf(const fs::path& path, const std::stop_token& stop)
{
    const VideoFile file = look(path, 0);
    if (const auto known = m_known.find(path); known != m_known.end() && known->second.file == file)
        return known->second.facts;
    const MediaFacts facts = m_probe->facts(path, stop);
    m_known[path] = {.file = file, .facts = facts};
    return facts;
}

/// Opens every file once, so that a load fails if one is broken.
///
/// Opens as many files at a time as the shelf keeps open, each on its own threads. The first clips come last, so that
/// they are still open when playback starts.
void PreviewEngine::openAll(std::span<const VideoFile> clips, const std::stop_token& stop)
{
    std::vector<VideoFile> files;
    for (const VideoFile& file : clips) {
        if (!std::ranges::contains(files, file))
            files.push_back(file);
    }
    for (std::size_t end = files.size(); end > 0;) {
        const std::size_t begin = (end - 1) / VideoShelf::kept * VideoShelf::kept;
        const auto together = std::span(files).subspan(begin, end - begin) | std::views::reverse;
        for (const VideoFile& file : together)
            m_shelf.source(file);
        for (const VideoFile& file : together)
            m_shelf.source(file).open(stop);
        end = begin;
    }
}

std::shared_ptr<PreviewEngine::Composition> PreviewEngine::open(
    const PreviewComposition& description, const std::stop_token& stop)
{
    auto composition = std::make_shared<Composition>();
    composition->size = QSize(std::max(description.width, 1), std::max(description.height, 1));
    std::vector<CompositionLayout::Clip> clips;
    double audioEnd = 0;
    for (const auto& clip : description.video) {
        const MediaFacts facts = factsOf(clip.file, stop);
        if (!facts.video)
            continue;
        composition->video.push_back(look(clip.file, facts.video->rotation));
        clips.push_back({.start = clip.start, .length = facts.duration.value_or(0)});
    }
    std::vector<std::shared_ptr<AudioTrack>> heard;
    for (const auto& clip : description.audio) {
        const MediaFacts facts = factsOf(clip.file, stop);
        composition->audio.emplace_back();
        if (facts.audioStreams == 0)
            continue;
        audioEnd = std::max(audioEnd, clip.start + facts.duration.value_or(0));
        composition->audio.back() = std::make_shared<AudioTrack>(clip.file, clip.start, clip.volume);
        heard.push_back(composition->audio.back());
    }
    openAll(composition->video, stop);
    for (const auto& track : heard)
        track->open(stop);
    composition->layout = CompositionLayout(description.fps, std::move(clips), audioEnd);
    composition->clock = std::make_shared<PlaybackClock>(std::move(heard), m_audioSink);
    return composition;
}

void PreviewEngine::performSeek(Numbered seek, const std::stop_token& stop)
{
    if (!m_composition) {
        m_listener.sought(seek.number, seek.value);
        return;
    }
    const double target = std::clamp(seek.value, 0.0, m_composition->layout.duration());
    const long frame = m_composition->layout.frameAt(target);
    m_upcoming.reset();
    m_expected.reset();
    m_paused = target;
    // The audio gets ready on its own threads meanwhile.
    m_composition->clock->prepare(target, m_rate.value);

    const TimePoint begun = steady_clock::now();
    bool gaveUp = false;
    const auto giveUp = [this, begun, &gaveUp] {
        if (gaveUp || steady_clock::now() - begun < scrubbingPace)
            return gaveUp;
        const std::scoped_lock lock(m_mutex);
        return gaveUp = m_orders.seek || m_orders.load || m_orders.clear;
    };
    if (const auto place = m_composition->layout.placeOf(frame))
        m_shelf.useExpected(m_composition->video[place->clip], place->time);
    showExactly(frame, stop, giveUp);
    if (gaveUp)
        return;
    if (m_rate.value != 0)
        m_composition->clock->run();
    m_listener.sought(seek.number, seek.value);
}

void PreviewEngine::performRate(Numbered rate, const std::stop_token& stop)
{
    if (!m_composition) {
        m_rate = {.number = rate.number};
        return;
    }
    halt();
    m_rate = rate;
    if (rate.value == 0) {
        // Fast or late playback may have shown an approximate frame.
        showExactly(m_composition->layout.frameAt(m_paused), stop);
        return;
    }
    m_composition->clock->prepare(m_paused, rate.value);
    m_composition->clock->run();
}

// Frames

QSize PreviewEngine::canvas() const
{
    const QSize size = m_composition->size;
    const QSize shown = m_displaySize.isEmpty() ? size : size.scaled(m_displaySize, Qt::KeepAspectRatio);
    return shown.width() < size.width() ? shown.expandedTo(QSize(1, 1)) : size;
}

QImage PreviewEngine::frameOf(
    long frame, VideoSource::Want want, const std::stop_token& stop, const VideoSource::GiveUp& giveUp)
{
    const auto place = m_composition->layout.placeOf(frame);
    if (!place)
        return m_converter.black(canvas());
    VideoSource& source = m_shelf.source(m_composition->video[place->clip]);
    const auto decoded = source.frameAt(place->time, want, stop, giveUp);
    if (!decoded.sample)
        return m_converter.black(canvas());
    if (decoded.sample.data != m_convertedSample.data || m_convertedImage.size() != canvas()) {
        m_convertedImage = m_converter.convert(decoded.sample, canvas());
        m_convertedSample = decoded.sample;
    }
    return m_convertedImage;
}

void PreviewEngine::showExactly(long frame, const std::stop_token& stop, const VideoSource::GiveUp& giveUp)
{
    m_shown = frame;
    try {
        show(frameOf(frame, VideoSource::Want::Exact, stop, giveUp));
    } catch (const Error&) {
        // Its file vanished or broke after loading.
        show(m_converter.black(canvas()));
    }
}

void PreviewEngine::show(QImage image)
{
    if (image.isNull() || image.cacheKey() == m_shownImage.cacheKey())
        return;
    m_shownImage = image;
    m_listener.frame(std::move(image));
}

// Playing

/// Shows the due frame and prepares the next one. Returns when to be called again.
PreviewEngine::TimePoint PreviewEngine::playOn(const std::stop_token& stop)
{
    const CompositionLayout& layout = m_composition->layout;
    PlaybackClock& clock = *m_composition->clock;
    const double rate = m_rate.value;
    const bool isForward = rate > 0;
    double now = clock.position();
    if (isForward ? now >= layout.duration() : now <= 0) {
        const double end = isForward ? layout.duration() : 0;
        const auto number = m_rate.number;
        halt();
        m_paused = end;
        clock.prepare(end, 0);
        showExactly(layout.frameAt(end), stop);
        m_listener.ended(number, end);
        return steady_clock::now();
    }
    const auto until = [&](double time) {
        const double wait = std::clamp((time - now) / rate, 0.0, 0.1);
        return steady_clock::now() + std::chrono::duration_cast<steady_clock::duration>(std::chrono::duration<double>(wait));
    };
    if (!m_upcoming) {
        const long step = std::lround(std::ceil(std::abs(rate)));
        const long due = layout.frameAt(now);
        const long frame = isForward ? std::max(m_shown + step, due) : std::min(m_shown - step, due);
        if (frame < 0 || frame > layout.lastFrame())
            return until(isForward ? layout.duration() : 0);
        const bool isLate = (now - layout.timeOf(m_shown)) / rate > lateness;
        const auto want =
            isForward && (isLate || rate >= fastSpeed) ? VideoSource::Want::Hurried : VideoSource::Want::Following;
        m_upcoming = {.frame = frame, .image = frameOf(frame, want, stop)};
        expectNext();
        now = clock.position();
    }
    const double time = layout.timeOf(m_upcoming->frame);
    if (isForward ? now < time : now > time + 1.0 / layout.fps())
        return until(isForward ? time : time + 1.0 / layout.fps());
    m_shown = m_upcoming->frame;
    show(std::move(std::exchange(m_upcoming, std::nullopt)->image));
    return steady_clock::now();
}

/// Prepares the expected seek and the next clip, in the time between two frames.
void PreviewEngine::expectNext()
{
    const CompositionLayout& layout = m_composition->layout;
    const double now = layout.timeOf(m_shown);
    if (m_expected) {
        if (const auto place = layout.placeOf(layout.frameAt(*m_expected)))
            m_shelf.expect(m_composition->video[place->clip], place->time);
    }
    if (const auto next = layout.clipAfter(now); next && m_rate.value > 0) {
        if (layout.clipAfter(now + openAhead * m_rate.value) != next)
            m_shelf.source(m_composition->video[*next]);
    }
}

} // namespace orvo
