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

/// What the timeline shows of the media files: waveforms of their sound, and small pictures of their video.
///
/// They are read by the media program on other threads and kept in the cache of the user, so that they are there at once the
/// next time. Main thread; nothing here blocks.
class MediaStrips final : public QObject {
    Q_OBJECT
public:
    /// Height of the pictures in pixels.
    static constexpr int frameHeight = 96;
    /// The closest distance of two pictures, in seconds.
    static constexpr double closestFrames = 0.5;

    struct Source {
        std::filesystem::path file;
        double duration = 0; ///< Seconds.
        bool frames = false; ///< Whether it has a picture to show.
        bool audio = false; ///< Whether its waveform is wanted.

        friend bool operator==(const Source&, const Source&) = default;
    };

    /// A picture of a file at a time, in milliseconds.
    struct FrameKey {
        std::filesystem::path file;
        qint64 time = 0;

        friend auto operator<=>(const FrameKey&, const FrameKey&) = default;
    };

    explicit MediaStrips(QObject* parent = nullptr);
    ~MediaStrips() override;

    /// What is shown from now on. Waveforms that are not there are begun.
    void setSources(std::vector<Source> sources);

    /// The waveform of a file; null while it is not there, and for files without sound.
    const WaveformPeaks* peaks(const std::filesystem::path& file) const;

    /// The picture at exactly this time; null when it is not there (yet).
    QImage frame(const FrameKey& key) const;
    /// Gets these pictures, the first one first, in place of those asked for before.
    void want(std::vector<FrameKey> frames);

    /// Whether waveforms are being read, and how far they are: 0..1.
    bool preparing() const { return m_preparing; }
    double progress() const { return m_progress; }
    /// Gives the waveforms up that are not there; `resume` begins them again.
    void cancel();
    void resume();
    /// Whether waveforms were given up.
    bool cancelled() const { return m_cancelled; }

signals:
    /// There is more to show.
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
    Clock::time_point m_readFrom; ///< Nothing that is not kept is read before.
    std::map<std::filesystem::path, WaveformPeaks> m_peaks;
    std::set<std::filesystem::path> m_silent; ///< Files that have no sound to show.
    std::stop_source m_waveformStop;
    bool m_preparing = false;
    bool m_cancelled = false;
    double m_progress = 0;

    mutable QCache<QString, QImage> m_frames; ///< By `cacheName`; its costs are bytes.
    std::vector<FrameKey> m_wanted;
    std::set<FrameKey> m_unreadable;
    bool m_readingFrames = false;

    Workers m_workers;
};

} // namespace orvo
