#pragma once

#include "EditorGeometry/WaveformPeaks.h"
#include "OrvoVideo/model/Workers.h"

#include <QCache>
#include <QCoroTask>
#include <QImage>
#include <QObject>
#include <QSet>
#include <chrono>
#include <filesystem>
#include <map>
#include <set>
#include <vector>

namespace orvo {

/// Waveforms and thumbnail frames of the media files, for the timeline.
///
/// Workers decode them with ffmpeg; the user's cache makes them available at once the next time. Main thread only; no call
/// blocks.
class MediaStrips final : public QObject {
    Q_OBJECT
public:
    /// Height of the thumbnails, in pixels.
    static constexpr int frameHeight = 96;
    /// Minimum distance between two thumbnails, in seconds.
    static constexpr double minFrameStep = 0.5;

    struct Source {
        std::filesystem::path file;
        double duration = 0; ///< Seconds.
        bool frames = false; ///< Whether it has video to show.
        bool audio = false; ///< Whether to read its waveform.

        friend bool operator==(const Source&, const Source&) = default;
    };

    /// A frame of a file; `time` is in milliseconds.
    struct FrameKey {
        std::filesystem::path file;
        qint64 time = 0;

        friend auto operator<=>(const FrameKey&, const FrameKey&) = default;
    };

    explicit MediaStrips(QObject* parent = nullptr);
    ~MediaStrips() override;

    /// Replaces the shown files and starts reading the missing waveforms.
    void setSources(std::vector<Source> sources);

    /// The waveform of a file; null until it is read, and for files without audio.
    const WaveformPeaks* peaks(const std::filesystem::path& file) const;

    /// The frame at exactly this time; null until it is read, and if it cannot be read.
    QImage frame(const FrameKey& key) const;
    /// Replaces the queue of frames to read.
    void want(std::vector<FrameKey> frames);

    /// Whether waveforms are being read, and the progress, 0..1.
    bool preparing() const { return m_preparing; }
    double progress() const { return m_progress; }
    /// Cancels reading the missing waveforms; `resume` starts again.
    void cancel();
    void resume();
    /// Whether `cancel` stopped the reading.
    bool cancelled() const { return m_cancelled; }

signals:
    /// Another waveform or frame is available, or the sources changed.
    void changed();
    void preparingChanged();

private:
    QCoro::Task<> readWaveforms();
    QCoro::Task<> readFrames();
    using Clock = std::chrono::steady_clock;
    static WaveformPeaks readPeaks(
        const Source& source, Clock::time_point from, const std::stop_token& stop, const ProgressCallback& progress);
    static QImage readFrame(const FrameKey& key, Clock::time_point from, const std::stop_token& stop);
    void setPreparing(bool preparing);

    std::vector<Source> m_sources;
    Clock::time_point m_readFrom; ///< No file is decoded before this time; the cache is always read.
    std::map<std::filesystem::path, WaveformPeaks> m_peaks;
    std::set<std::filesystem::path> m_silent; ///< Files without readable audio.
    std::stop_source m_waveformStop;
    bool m_preparing = false;
    bool m_cancelled = false;
    double m_progress = 0;

    mutable QCache<QString, QImage> m_frames; ///< By `memoryName`; costs are bytes.
    std::vector<FrameKey> m_wanted;
    std::set<FrameKey> m_unreadable;
    bool m_readingFrames = false;

    Workers m_workers;
};

} // namespace orvo
