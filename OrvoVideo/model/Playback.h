#pragma once

#include "OrvoVideo/model/Answer.h"
#include "OrvoVideo/model/OpenProject.h"
#include "OrvoVideo/model/Operation.h"
#include "OrvoVideo/model/Workers.h"
#include "OrvoVideo/playback/PreviewPlayer.h"
#include "VideoMedia/KeptSpans.h"
#include "VideoMedia/MediaProbe.h"

#include <QCoroTask>
#include <QObject>
#include <QtQml/qqmlregistration.h>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

namespace orvo {

/// Plays the open project with a playhead and two players: one for the frames and the audio, one for the camera. Main thread
/// only. Times are seconds on the recording timeline.
///
///               rebuild               every file can be played
///     Empty ─────────────► Loading ──────────────────────────► Ready ──► (rebuild) Loading
///       ▲                     │ a file cannot be played
///       │ clear               └──────────────────────────────► Failed ─► (rebuild) Loading
class Playback : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the model")
public:
    /// The state of the players for the open project.
    enum class Preview : quint8 {
        Empty, ///< No project was opened yet.
        Loading,
        Ready,
        Failed ///< A file cannot be played: the player does not show this project, and `play` does nothing.
    };
    Q_ENUM(Preview)

    /// Follows `project`. Reports files that cannot be played in the status of `operation`.
    Playback(PreviewPlayer& player, PreviewPlayer& cameraPlayer, OpenProject& project, const ProjectStore& store,
        std::shared_ptr<const MediaProbe> probe, Operation& operation, Workers& workers);

    PreviewPlayer& player() const { return m_player; }
    PreviewPlayer& cameraPlayer() const { return m_cameraPlayer; }
    double playhead() const { return m_playhead; }
    /// The end of the camera's file; infinity if unknown, 0 until it was probed. From there on no camera is shown.
    double cameraEnd() const { return m_cameraEnd; }
    bool playing() const { return m_playing; }
    Preview preview() const { return m_preview; }

    /// Loads the open project into the players, at 0. If a file cannot be played, the players keep their content. If calls
    /// overlap, the last one wins.
    QCoro::Task<> rebuild();
    /// Rebuilds only if the media files or their start times have changed.
    void follow();
    /// Empties the players and ends a pending rebuild.
    void clear();

    /// Moves both players and the playhead to a time, at least 0.
    void seek(double seconds);
    /// Moves by whole frames of the project, within the recording, and pauses.
    void stepFrames(int frames);
    /// Plays from the playhead, or from the beginning if the playhead is at the end.
    void play();
    void pause();
    void togglePlaying();
    /// Plays a trial of a suggestion, as if it were applied, from `aroundTrial` seconds before it to `aroundTrial` seconds
    /// after it. A seek, a pause or an edit ends the trial.
    void tryOut(const EditSuggestion& suggestion);
    static constexpr double aroundTrial = 1;
    /// The project that plays: the trial or the open one; null without one.
    const VideoProject* shown() const;
    /// The spans of `shown` that remain after the cuts, at the project's frame rate.
    const std::vector<RenderGraph::KeptSpan>& kept() const { return m_kept; }
    /// Pauses and sets the playhead to 0, for another project.
    void rewind();

    /// Ends a pending rebuild and disconnects from the players.
    void shutDown();

signals:
    void playheadChanged();
    void playingChanged();
    void previewChanged();
    /// `shown` has changed to or from a trial; the open project has not.
    void shownChanged();

private:
    /// The project with one suggestion applied.
    struct Trial {
        VideoProject project;
        double end = 0; ///< Where it stops.
    };
    /// The inputs of the kept spans.
    struct KeptBy {
        SharedList<TimeSpan> cuts;
        double duration = 0;
        double fade = 0;
        std::int64_t fps = 0;

        friend bool operator==(const KeptBy&, const KeptBy&) = default;
    };
    enum class Outcome : std::uint8_t { loaded, failed, superseded };

    PreviewComposition compose(const VideoProject& project) const;
    std::optional<std::filesystem::path> cameraOf(const VideoProject& project) const;
    QCoro::Task<> rebuildCamera(std::optional<std::filesystem::path> file);
    void followVolumes();
    void followCuts();
    void watch(double seconds);
    void announceNextCut();
    void followWithCamera(double seconds);
    void notePlaying();
    void setPreview(Preview preview);
    void setPlayhead(double seconds);
    void jump(double seconds);
    void setTrial(std::optional<Trial> trial);
    void sayUnplayable();

    PreviewPlayer& m_player;
    PreviewPlayer& m_cameraPlayer;
    OpenProject& m_project;
    const ProjectStore& m_store;
    const std::shared_ptr<const MediaProbe> m_probe;
    Operation& m_operation;
    Workers& m_workers;

    double m_playhead = 0;
    double m_sought = 0; ///< The target of the last seek: the playhead in whole ticks.
    double m_cameraEnd = 0;
    bool m_playing = false;
    bool m_ended = false; ///< Playback has reached the end, which may be before the project's end.
    std::optional<Trial> m_trial;
    KeptBy m_keptBy;
    std::vector<RenderGraph::KeptSpan> m_kept;
    std::optional<double> m_announced; ///< The seek target last announced with `expectSeek`: the end of a cut.
    Preview m_preview = Preview::Empty;
    PreviewComposition m_composition; ///< The last load request to `player`.
    std::optional<std::filesystem::path> m_cameraFile; ///< The last load request to `cameraPlayer`.
    Answer<Outcome> m_answer; ///< The outcome of the pending load.
};

} // namespace orvo
