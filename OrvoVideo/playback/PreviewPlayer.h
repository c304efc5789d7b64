#pragma once

#include <QImage>
#include <QObject>
#include <filesystem>
#include <memory>
#include <vector>

namespace orvo {

/// What a preview player plays: media files laid on one timeline, in seconds.
struct PreviewComposition {
    struct VideoClip {
        std::filesystem::path file;
        double start = 0; ///< Where the file's first frame lies.
    };
    struct AudioClip {
        std::filesystem::path file;
        double start = 0; ///< Where the file's first sample lies.
        double volume = 1; ///< Linear gain.
    };

    int width = 1920; ///< Size of the picture in pixels; every clip is fitted into it, upright, centred on black.
    int height = 1080;
    int fps = 30;
    std::vector<VideoClip> video; ///< On one track; where clips overlap the later in the list is seen.
    std::vector<AudioClip> audio; ///< Each on a track of its own, mixed.
};

/// Plays a composition live, with accurate seeks.
///
/// An object of the main thread; its work runs on threads of its own and nothing here blocks. Signals arrive on the main
/// thread.
class PreviewPlayer : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    /// The implementation of this system. Throws `captureError` when the media framework cannot be used.
    static std::unique_ptr<PreviewPlayer> create();

    /// Loads a composition in place of the present one, which is paused; the new one is paused at 0. Answers with `loaded()`
    /// or `failed()`; after a failure the present one stays. A load that is asked for during another replaces it: only the
    /// last one answers.
    virtual void load(const PreviewComposition& composition) = 0;

    /// Plays nothing any more.
    virtual void clear() = 0;

    /// Whether there is a composition to play.
    virtual bool hasComposition() const = 0;

    virtual void play() = 0;
    virtual void pause() = 0;

    /// Playing speed: 0 while paused, 1 at normal speed.
    virtual double rate() const = 0;
    /// Sets the speed; 0 pauses, a negative one plays backwards. Ignored without a composition.
    virtual void setRate(double rate) = 0;

    /// Shows exactly the frame at `seconds` (0 or more; past the end, the last). Playing goes on from there. A seek that
    /// arrives during another replaces it: only the last one answers, but a picture on the way to the other may be shown
    /// meanwhile.
    virtual void seek(double seconds) = 0;

    /// The present time in seconds; while a seek runs, its target.
    virtual double position() const = 0;

    /// Sets the gain of the audio clip `index` of the composition while it plays.
    virtual void setVolume(std::size_t index, double volume) = 0;

    /// A stretch that is heard, and how long its sound rises and falls at its ends; in seconds.
    struct HeardSpan {
        double start = 0;
        double end = 0;
        double fadeIn = 0;
        double fadeOut = 0;

        friend bool operator==(const HeardSpan&, const HeardSpan&) = default;
    };

    /// What is heard while playing, of this composition and every later one: the rest is silent. The spans are sorted and
    /// disjoint; without any everything is heard. At first everything is.
    virtual void setHeard(std::vector<HeardSpan>) { }

    /// The picture to show now; null before the first.
    virtual QImage frame() const = 0;

    /// The size in pixels at which pictures are shown: larger ones are scaled down to it, never up. At first, and with an
    /// empty size, they have the size of the composition.
    virtual void setDisplaySize(QSize) { }

    /// A seek to `seconds` is likely while playing (the end of a cut ahead): what it takes may be made ready. Holds until
    /// the next seek or the next call.
    virtual void expectSeek(double) { }

signals:
    void loaded();
    void failed(const QString& reason);
    void rateChanged();
    /// Every 1/12 second of playback, and after every finished seek.
    void timeChanged(double seconds);
    void frameChanged();
    void seekFinished(double seconds);
    /// Playback has come to the end and stands there, paused. Not told for the beginning, reached backwards.
    void endReached();
};

} // namespace orvo
