#pragma once

#include "OrvoVideo/playback/CompositionLayout.h"
#include "OrvoVideo/playback/FrameConverter.h"
#include "OrvoVideo/playback/HeardSpans.h"
#include "OrvoVideo/playback/PlaybackClock.h"
#include "OrvoVideo/playback/PreviewPlayer.h"
#include "OrvoVideo/playback/VideoShelf.h"
#include "VideoMedia/MediaProbe.h"

#include <QImage>
#include <QSize>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <span>
#include <thread>

namespace orvo {

/// The worker of a preview player: one thread that loads, seeks and plays, and reports the outcome.
///
/// Orders are accepted on any thread and return at once. A new order replaces an earlier one of its kind that has not
/// started. Each has a number that identifies its outcome.
///
///              loaded             setRate(not 0)
///     Empty ──────────► Paused ─────────────────────► Playing
///       ▲                 │    ◄────────────────────     │
///       │      clear      │     setRate(0), load, end    │
///       └─────────────────┴──────────────────────────────┘
///
/// A load pauses first. If it fails, the earlier composition stays, paused. A seek changes no state.
class PreviewEngine {
public:
    /// Called on the engine's thread.
    struct Listener {
        std::function<void(QImage)> frame;
        std::function<void(std::uint64_t load)> loaded;
        std::function<void(std::uint64_t load, std::string reason)> failed;
        std::function<void(std::uint64_t seek, double seconds)> sought;
        /// Playback reached the end (backwards, the beginning) at the given time.
        std::function<void(std::uint64_t rate, double seconds)> ended;
    };

    /// `audioSink` is the audio sink in gst-launch notation. Throws `captureError` when GStreamer is unusable.
    PreviewEngine(std::unique_ptr<MediaProbe> probe, std::string audioSink, Listener listener);
    /// Stops within the decoding of one frame.
    ~PreviewEngine() = default;
    PreviewEngine(const PreviewEngine&) = delete;
    PreviewEngine& operator=(const PreviewEngine&) = delete;

    void load(std::uint64_t number, PreviewComposition composition);
    void clear();
    void seek(std::uint64_t number, double seconds);
    void setRate(std::uint64_t number, double rate);
    void setVolume(std::size_t index, double volume);
    void setHeard(HeardSpans spans);
    void setDisplaySize(QSize size);
    void expectSeek(double seconds);

    /// The playback position in seconds.
    double position();

private:
    struct Composition;
    struct Numbered {
        std::uint64_t number = 0;
        double value = 0;
    };
    struct Orders {
        std::optional<std::pair<std::uint64_t, PreviewComposition>> load;
        bool clear = false;
        std::optional<Numbered> seek;
        std::optional<Numbered> rate;
        std::vector<std::pair<std::size_t, double>> volumes;
        std::optional<QSize> displaySize;
        std::optional<double> expected;

        bool any() const { return load || clear || seek || rate || !volumes.empty() || displaySize || expected; }
    };
    using TimePoint = std::chrono::steady_clock::time_point;

    void order(const std::function<void(Orders&)>& change, bool interruptsLoad = false);
    void run(const std::stop_token& stop);
    void perform(Orders orders, const std::stop_token& stop);
    void performLoad(std::uint64_t number, const PreviewComposition& description, const std::stop_token& stop);
    std::shared_ptr<Composition> open(const PreviewComposition& description, const std::stop_token& stop);
    void openAll(std::span<const VideoFile> clips, const std::stop_token& stop);
    void performSeek(Numbered seek, const std::stop_token& stop);
    void performRate(Numbered rate, const std::stop_token& stop);
    TimePoint playOn(const std::stop_token& stop);
    void expectNext();

    MediaFacts factsOf(const std::filesystem::path& file, const std::stop_token& stop);
    QImage frameOf(long frame, VideoSource::Want want, const std::stop_token& stop, const VideoSource::GiveUp& giveUp = {});
    void showExactly(long frame, const std::stop_token& stop, const VideoSource::GiveUp& giveUp = {});
    void show(QImage image);
    QSize canvas() const;
    bool hasOrders();
    std::shared_ptr<Composition> composition();
    void halt();

    std::unique_ptr<MediaProbe> m_probe;
    std::string m_audioSink;
    Listener m_listener;

    std::mutex m_mutex; ///< Guards the orders, `m_heard`, `m_loading` and the pointer to the composition.
    std::condition_variable_any m_ordered;
    Orders m_orders;
    HeardSpans m_heard;
    std::stop_source m_loading;
    std::shared_ptr<Composition> m_composition; ///< Changed only by the engine's thread.

    // Used only by the engine's thread.
    struct KnownFile {
        VideoFile file;
        MediaFacts facts;
    };
    std::map<std::filesystem::path, KnownFile> m_known; ///< Kept because many edits load the same project again.
    VideoShelf m_shelf;
    FrameConverter m_converter;
    QSize m_displaySize;
    Numbered m_rate;
    double m_paused = 0; ///< The position while paused.
    long m_shown = 0; ///< The last frame shown.
    struct Upcoming {
        long frame = 0;
        QImage image;
    };
    std::optional<Upcoming> m_upcoming;
    std::optional<double> m_expected;
    MediaSample m_convertedSample;
    QImage m_convertedImage;
    QImage m_shownImage;

    std::jthread m_thread; ///< Last member: stops before the others are destroyed.
};

} // namespace orvo
