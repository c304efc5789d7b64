#pragma once

#include "OrvoVideo/playback/PreviewPlayer.h"
#include "VideoMedia/MediaProbe.h"

#include <QTimer>
#include <memory>
#include <optional>
#include <string>

namespace orvo {

class PreviewEngine;

/// The preview player on GStreamer. GStreamer decodes; the composition is assembled here.
///
/// Plays without audio backwards, below half and above twice the normal speed. Without an audio device, frames follow the
/// system clock.
class GstPreviewPlayer final : public PreviewPlayer {
    Q_OBJECT
public:
    /// `probe` reads the media files' properties. `audioSink` is the audio sink in gst-launch notation. Throws
    /// `captureError` when GStreamer is unusable.
    explicit GstPreviewPlayer(
        std::unique_ptr<MediaProbe> probe, const std::string& audioSink = "autoaudiosink", QObject* parent = nullptr);
    ~GstPreviewPlayer() override;

    void load(const PreviewComposition& composition) override;
    void clear() override;
    bool hasComposition() const override { return m_hasComposition; }
    void play() override { setRate(1); }
    void pause() override { setRate(0); }
    double rate() const override { return m_rate; }
    void setRate(double rate) override;
    void seek(double seconds) override;
    double position() const override;
    void setVolume(std::size_t index, double volume) override;
    void setHeard(std::vector<HeardSpan> spans) override;
    QImage frame() const override { return m_frame; }
    void setDisplaySize(QSize size) override;
    void expectSeek(double seconds) override;

private:
    struct Mailbox;

    void takeFrame();
    void changeRate(double rate);

    bool m_hasComposition = false;
    std::uint64_t m_orders = 0; ///< Order numbers given so far.
    std::optional<std::uint64_t> m_loading;
    struct Seek {
        std::uint64_t order = 0;
        double target = 0;
    };
    std::optional<Seek> m_seeking;
    std::uint64_t m_rateOrder = 0;
    double m_rate = 0;
    QImage m_frame;
    QTimer m_ticks;
    std::unique_ptr<Mailbox> m_mailbox;
    std::unique_ptr<PreviewEngine> m_engine; ///< Last member: its thread uses the others.
};

} // namespace orvo
