#pragma once

#include "VideoCore/VideoProject.h"

#include <QImage>
#include <QObject>
#include <filesystem>
#include <memory>
#include <vector>

namespace orvo {

/// The content of a preview player: media files on one timeline, in seconds.
struct PreviewComposition {
    struct VideoClip {
        std::filesystem::path file;
        double start = 0; ///< Time of the file's first frame.
    };
    struct AudioClip {
        std::filesystem::path file;
        double start = 0; ///< Time of the file's first sample.
        double volume = 1; ///< Linear gain.
    };

    int width = 1920; ///< Frame size in pixels; every clip is fitted into it, upright, centred on black.
    int height = 1080;
    int fps = 30;
    std::vector<VideoClip> video; ///< On one track; where clips overlap, the later one in the list is shown.
    std::vector<AudioClip> audio; ///< Each on its own track, mixed.
};

/// Plays a composition live, with exact seeks.
///
/// Main thread only. Work runs on other threads; calls do not block, and signals arrive on the main thread.
class PreviewPlayer : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    /// The platform's implementation. Throws `captureError` when the media framework is unusable.
    static std::unique_ptr<PreviewPlayer> create();

    /// Pauses the current composition and replaces it; the new one is paused at 0. Emits `loaded()` or `failed()`; after
    /// a failure the current one stays. If loads overlap, the last one wins, and only it emits a signal.
    virtual void load(const PreviewComposition& composition) = 0;

    /// Removes the composition.
    virtual void clear() = 0;

    /// Whether a composition is loaded.
    virtual bool hasComposition() const = 0;

    virtual void play() = 0;
    virtual void pause() = 0;

    /// Playback speed: 0 when paused, 1 at normal speed.
    virtual double rate() const = 0;
    /// Sets the speed: 0 pauses, negative speeds play backwards. Ignored without a composition.
    virtual void setRate(double rate) = 0;

    /// Shows exactly the frame at `seconds` (0 or more; past the end, the last frame), and playback continues there. If
    /// seeks overlap, the last one wins, and only it emits `seekFinished`; intermediate frames may be shown meanwhile.
    virtual void seek(double seconds) = 0;

    /// The current time in seconds; during a seek, its target.
    virtual double position() const = 0;

    /// Sets the gain of audio clip `index` of the composition.
    virtual void setVolume(std::size_t index, double volume) = 0;

    /// An audible span and the durations of its fades, in seconds.
    struct HeardSpan {
        TimeSpan span;
        double fadeIn = 0;
        double fadeOut = 0;

        friend bool operator==(const HeardSpan&, const HeardSpan&) = default;
    };

    /// Sets the audible spans of this composition and all later ones; the rest is silent. The spans are sorted and disjoint.
    /// Without spans, as initially, everything is audible.
    virtual void setHeard(std::vector<HeardSpan>) { } // NOLINT(performance-unnecessary-value-param): others keep them.

    /// The current frame; null before the first one.
    virtual QImage frame() const = 0;

    /// The display size in pixels: larger frames are scaled down to it. Initially, and with an empty size, frames have
    /// the composition's size.
    virtual void setDisplaySize(QSize) { }

    /// Announces a likely seek to `seconds` during playback (the end of the next cut), so that it can be prepared. Valid
    /// until the next seek or call.
    virtual void expectSeek(double) { }

signals:
    void loaded();
    void failed(const QString& reason);
    void rateChanged();
    /// Every 1/12 second of playback, and after every finished seek.
    void timeChanged(double seconds);
    void frameChanged();
    void seekFinished(double seconds);
    /// Playback reached the end and is paused there. Not emitted for the beginning when playing backwards.
    void endReached();
};

} // namespace orvo
