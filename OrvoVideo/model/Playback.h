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

/// Plays the open project: the playhead and the two players, of the picture with the audio and of the camera. Main thread
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
    /// How far the players are with the open project.
    enum class Preview : quint8 {
        Empty, ///< No project was opened yet.
        Loading,
        Ready,
        Failed ///< A file cannot be played: what the player shows is not this project, and nothing plays.
    };
    Q_ENUM(Preview)

    /// Follows `project`. What cannot be played is said in `operation`'s status.
    Playback(PreviewPlayer& player, PreviewPlayer& cameraPlayer, OpenProject& project, const ProjectStore& store,
        std::shared_ptr<const MediaProbe> probe, Operation& operation, Workers& workers);

    PreviewPlayer& player() const { return m_player; }
    PreviewPlayer& cameraPlayer() const { return m_cameraPlayer; }
    double playhead() const { return m_playhead; }
    /// Where the camera's file ends; infinity if that is not known, 0 until it is looked at. Nothing of the camera is shown
    /// from there on.
    double cameraEnd() const { return m_cameraEnd; }
    bool playing() const { return m_playing; }
    Preview preview() const { return m_preview; }

    /// Gives the open project to the players, at 0. When a file cannot be played the players keep what they had. If calls
    /// overlap, the last one wins.
    QCoro::Task<> rebuild();
    /// Rebuilds only when the media or their places are not those that are playing.
    void follow();
    /// Empties the players; a rebuild under way ends.
    void clear();

    /// Moves both players and the playhead to a time, at least 0.
    void seek(double seconds);
    /// Moves by whole frames of the project, within the recording, and pauses.
    void stepFrames(int frames);
    /// Plays from the playhead, or from the beginning when it is at the end.
    void play();
    void pause();
    void togglePlaying();
    /// Plays the film around a suggestion as it would be with it, from `aroundTrial` seconds before to as long behind, and
    /// stops. What is done meanwhile (a seek, a pause, an edit) ends it.
    void tryOut(const EditSuggestion& suggestion);
    static constexpr double aroundTrial = 1;
    /// What plays: the project as it would be with what is tried out, or the open one; null without one.
    const VideoProject* shown() const;
    /// The spans of `shown` that the film keeps at the project's frame rate.
    const std::vector<RenderGraph::KeptSpan>& kept() const { return m_kept; }
    /// Pauses with the playhead at 0, for another project.
    void rewind();

    /// Ends a rebuild under way and follows the players no more.
    void shutDown();

signals:
    void playheadChanged();
    void playingChanged();
    void previewChanged();
    /// `shown` is another version, while the open project is the same.
    void shownChanged();

private:
    /// What is tried out.
    struct Trial {
        VideoProject project;
        double end = 0; ///< Where it stops.
    };
    /// What the kept spans depend on.
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
    double m_sought = 0; ///< What the player was last asked for: the playhead in whole ticks.
    double m_cameraEnd = 0;
    bool m_playing = false;
    bool m_ended = false; ///< Playback has come to the end, which may lie before the project's.
    std::optional<Trial> m_trial;
    KeptBy m_keptBy;
    std::vector<RenderGraph::KeptSpan> m_kept;
    std::optional<double> m_announced; ///< The seek target last announced with `expectSeek`: the end of a cut.
    Preview m_preview = Preview::Empty;
    PreviewComposition m_composition; ///< What `player` was last asked to load.
    std::optional<std::filesystem::path> m_cameraFile; ///< What `cameraPlayer` was last asked to load.
    Answer<Outcome> m_answer; ///< Of the load under way.
};

} // namespace orvo
