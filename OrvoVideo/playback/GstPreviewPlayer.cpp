#include "OrvoVideo/playback/GstPreviewPlayer.h"

#include "OrvoVideo/playback/PreviewEngine.h"
#include "VideoMedia/FfprobeMediaProbe.h"

#include <algorithm>
#include <cmath>
#include <mutex>
#include <utility>

namespace orvo {

std::unique_ptr<PreviewPlayer> PreviewPlayer::create()
{
    return std::make_unique<GstPreviewPlayer>(std::make_unique<FfprobeMediaProbe>());
}

/// The newest frame for the main thread. A frame not fetched in time is replaced.
struct GstPreviewPlayer::Mailbox {
    std::mutex mutex;
    std::optional<QImage> frame;
};

GstPreviewPlayer::GstPreviewPlayer(std::unique_ptr<MediaProbe> probe, const std::string& audioSink, QObject* parent)
    : PreviewPlayer(parent)
    , m_mailbox(std::make_unique<Mailbox>())
{
    m_ticks.setTimerType(Qt::PreciseTimer);
    connect(&m_ticks, &QTimer::timeout, this, [this] { emit timeChanged(position()); });

    // Reports of the engine's thread are queued; Qt drops queued ones when this object is destroyed.
    const auto onMainThread = [this](
                                  auto report) { QMetaObject::invokeMethod(this, std::move(report), Qt::QueuedConnection); };
    PreviewEngine::Listener listener;
    listener.frame = [this, onMainThread](QImage frame) {
        const std::scoped_lock lock(m_mailbox->mutex);
        if (!std::exchange(m_mailbox->frame, std::move(frame)))
            onMainThread([this] { takeFrame(); });
    };
    listener.loaded = [this, onMainThread](std::uint64_t order) {
        onMainThread([this, order] {
            if (m_loading != order)
                return;
            m_loading.reset();
            m_hasComposition = true;
            emit loaded();
        });
    };
    listener.failed = [this, onMainThread](std::uint64_t order, const std::string& reason) {
        onMainThread([this, order, text = QString::fromStdString(reason)] {
            if (m_loading != order)
                return;
            m_loading.reset();
            if (!m_hasComposition)
                changeRate(0);
            emit failed(text);
        });
    };
    listener.sought = [this, onMainThread](std::uint64_t order, double seconds) {
        onMainThread([this, order, seconds] {
            if (!m_seeking || m_seeking->order != order)
                return;
            m_seeking.reset();
            emit seekFinished(seconds);
            emit timeChanged(seconds);
        });
    };
    listener.ended = [this, onMainThread](std::uint64_t order, double seconds) {
        onMainThread([this, order, seconds] {
            if (m_rateOrder != order || m_rate == 0)
                return;
            const bool wasForward = m_rate > 0;
            changeRate(0);
            emit timeChanged(seconds);
            if (wasForward)
                emit endReached();
        });
    };
    m_engine = std::make_unique<PreviewEngine>(std::move(probe), audioSink, std::move(listener));
}

GstPreviewPlayer::~GstPreviewPlayer()
{
    m_engine.reset();
}

void GstPreviewPlayer::takeFrame()
{
    {
        const std::scoped_lock lock(m_mailbox->mutex);
        m_frame = *std::exchange(m_mailbox->frame, std::nullopt);
    }
    emit frameChanged();
}

void GstPreviewPlayer::load(const PreviewComposition& composition)
{
    m_loading = ++m_orders;
    m_seeking.reset();
    m_engine->load(*m_loading, composition);
    changeRate(0);
}

void GstPreviewPlayer::clear()
{
    m_loading.reset();
    m_seeking.reset();
    m_hasComposition = false;
    m_engine->clear();
    changeRate(0);
}

void GstPreviewPlayer::changeRate(double rate)
{
    if (rate == m_rate)
        return;
    m_rate = rate;
    if (rate == 0)
        m_ticks.stop();
    else
        m_ticks.start(std::chrono::milliseconds(std::clamp(static_cast<int>(1000.0 / 12 / std::abs(rate)), 20, 1000)));
    emit rateChanged();
}

void GstPreviewPlayer::setRate(double rate)
{
    if (!std::isfinite(rate) || rate == m_rate || (!m_hasComposition && !m_loading))
        return;
    m_rateOrder = ++m_orders;
    m_engine->setRate(m_rateOrder, rate);
    changeRate(rate);
}

void GstPreviewPlayer::seek(double seconds)
{
    m_seeking = {.order = ++m_orders, .target = seconds > 0 && std::isfinite(seconds) ? seconds : 0};
    m_engine->seek(m_seeking->order, m_seeking->target);
}

double GstPreviewPlayer::position() const
{
    return m_seeking ? m_seeking->target : m_engine->position();
}

void GstPreviewPlayer::setVolume(std::size_t index, double volume)
{
    m_engine->setVolume(index, volume);
}

void GstPreviewPlayer::setHeard(std::vector<HeardSpan> spans)
{
    m_engine->setHeard(HeardSpans(std::move(spans)));
}

void GstPreviewPlayer::setDisplaySize(QSize size)
{
    m_engine->setDisplaySize(size);
}

void GstPreviewPlayer::expectSeek(double seconds)
{
    m_engine->expectSeek(seconds);
}

} // namespace orvo
