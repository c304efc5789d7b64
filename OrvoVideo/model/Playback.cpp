#include "OrvoVideo/model/Playback.h"

#include "VideoCore/Suggestions.h"
#include "VideoCore/Timeline.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <ranges>
#include <span>
#include <utility>

namespace orvo {

namespace {

constexpr double ticksPerSecond = 600; ///< Seeks go to whole ticks. Frames of all usual rates begin on ticks.
constexpr double cameraTolerance = 0.15; ///< Maximum seconds between the camera and the main player.

constexpr double announcedAhead = 2; ///< Seconds before a cut at which it is announced to the player.

/// Whether two compositions are equal apart from volumes, which can change during playback.
bool sameButVolumes(const PreviewComposition& a, const PreviewComposition& b)
{
    const auto sameClip = [](const auto& x, const auto& y) { return x.file == y.file && x.start == y.start; };
    return a.width == b.width && a.height == b.height && a.fps == b.fps && std::ranges::equal(a.video, b.video, sameClip)
        && std::ranges::equal(a.audio, b.audio, sameClip);
}

/// The time of a seek in whole ticks, in the same frame as the exact time: at rates whose frames do not begin on ticks, the
/// nearest tick may be in the previous frame.
double ticksFor(double seconds, double fps)
{
    constexpr double tolerance = 1e-6; // In frames, for times computed from frame numbers.
    const double ticks = std::round(seconds * ticksPerSecond);
    const double frame = std::floor(seconds * fps + tolerance);
    return (std::floor(ticks / ticksPerSecond * fps + tolerance) < frame ? ticks + 1 : ticks) / ticksPerSecond;
}

} // namespace

Playback::Playback(PreviewPlayer& player, PreviewPlayer& cameraPlayer, OpenProject& project, const ProjectStore& store,
    std::shared_ptr<const MediaProbe> probe, Operation& operation, Workers& workers)
    : m_player(player)
    , m_cameraPlayer(cameraPlayer)
    , m_project(project)
    , m_store(store)
    , m_probe(std::move(probe))
    , m_operation(operation)
    , m_workers(workers)
{
    connect(&m_player, &PreviewPlayer::loaded, this, [this] { m_answer.give(Outcome::loaded); });
    connect(&m_player, &PreviewPlayer::failed, this, [this] {
        if (m_answer.isGiven()) // The playing file became unreadable.
            sayUnplayable();
        m_answer.give(Outcome::failed);
    });
    connect(&m_player, &PreviewPlayer::timeChanged, this, &Playback::watch);
    connect(&m_player, &PreviewPlayer::rateChanged, this, [this] {
        notePlaying();
        followWithCamera(m_player.position());
    });
    connect(&m_player, &PreviewPlayer::endReached, this, [this] {
        pause();
        m_ended = true;
    });
    connect(&m_project, &OpenProject::projectChanged, this, [this] {
        setTrial(std::nullopt);
        followCuts();
    });
    connect(&m_project, &OpenProject::tracksEdited, this, &Playback::followVolumes);
    connect(&m_project, &OpenProject::stepped, this, &Playback::follow);
    m_answer.give(Outcome::superseded); // No load is pending yet.
}

void Playback::shutDown()
{
    m_answer.give(Outcome::superseded);
    m_player.disconnect(this);
}

PreviewComposition Playback::compose(const VideoProject& project) const
{
    PreviewComposition composition{.width = static_cast<int>(project.width),
        .height = static_cast<int>(project.height),
        .fps = static_cast<int>(project.fps),
        .video = {},
        .audio = {}};
    for (const auto& track : project.tracks) {
        if (track.kind == TrackKind::camera)
            continue;
        std::filesystem::path file;
        try {
            file = m_store.mediaURL(project, track.file);
        } catch (const std::exception&) {
            continue; // It is outside the project.
        }
        if (track.kind == TrackKind::screen || track.kind == TrackKind::clip)
            composition.video.push_back({file, track.start});
        composition.audio.push_back({file, track.start, track.volume});
    }
    return composition;
}

std::optional<std::filesystem::path> Playback::cameraOf(const VideoProject& project) const
{
    const auto track = std::ranges::find(project.tracks, TrackKind::camera, &MediaTrack::kind);
    if (track == project.tracks.end())
        return std::nullopt;
    try {
        return m_store.mediaURL(project, track->file);
    } catch (const std::exception&) {
        return std::nullopt; // It is outside the project.
    }
}

QCoro::Task<> Playback::rebuild()
{
    if (!m_project)
        co_return;
    m_answer.give(Outcome::superseded);
    const Answer<Outcome> answer;
    m_answer = answer;
    setPreview(Preview::Loading);

    m_announced.reset();
    m_ended = false;
    m_composition = compose(*m_project);
    const auto camera = cameraOf(*m_project);
    if (m_composition.audio.empty()) {
        m_player.clear();
        answer.give(Outcome::loaded);
    } else {
        m_player.load(m_composition);
    }
    switch (co_await answer) {
    case Outcome::superseded:
        co_return;
    case Outcome::failed:
        setPreview(Preview::Failed);
        sayUnplayable();
        co_return;
    case Outcome::loaded:
        break;
    }
    setPreview(Preview::Ready);
    m_operation.clearFailedStatus();
    setPlayhead(0);
    notePlaying();
    co_await rebuildCamera(camera);
}

void Playback::sayUnplayable()
{
    m_operation.setFailedStatus(QStringLiteral("Usa Recuperar para preparar este archivo antes de reproducirlo."));
}

void Playback::clear()
{
    m_player.clear();
    m_cameraPlayer.clear();
    m_answer.give(Outcome::superseded);
    m_composition = {};
    m_cameraFile.reset();
    setPreview(Preview::Empty);
}

void Playback::setPreview(Preview preview)
{
    m_preview = preview;
    emit previewChanged();
}

QCoro::Task<> Playback::rebuildCamera(std::optional<std::filesystem::path> file)
{
    m_cameraFile = file;
    m_cameraEnd = 0;
    if (!file) {
        m_cameraPlayer.clear();
        co_return;
    }
    PreviewComposition composition;
    double end = std::numeric_limits<double>::infinity(); // Unless the file has a duration.
    try {
        // The camera keeps its own aspect ratio; the windows place it.
        const auto facts = co_await m_workers.run(
            [probe = m_probe, path = *file](const std::stop_token& stop) { return probe->facts(path, stop); });
        if (facts.video) {
            composition.width = static_cast<int>(facts.video->uprightWidth());
            composition.height = static_cast<int>(facts.video->uprightHeight());
            if (facts.video->frameRate >= 1)
                composition.fps = static_cast<int>(std::lround(facts.video->frameRate));
            composition.video.push_back({*file, 0});
            end = facts.duration.value_or(end);
        }
    } catch (const std::exception&) {
        // A camera that cannot be read is not shown; the rest plays.
    }
    if (m_cameraFile != file)
        co_return;
    m_cameraEnd = end;
    if (composition.video.empty()) {
        m_cameraPlayer.clear();
        co_return;
    }
    m_cameraPlayer.load(composition);
    if (m_playhead > 0) // It may have moved while the camera was probed.
        m_cameraPlayer.seek(ticksFor(m_playhead, static_cast<double>(m_project->fps)));
}

void Playback::followVolumes()
{
    const auto composition = compose(*m_project);
    if (!sameButVolumes(composition, m_composition))
        return;
    for (std::size_t i = 0; i < composition.audio.size(); ++i) {
        if (composition.audio[i].volume != m_composition.audio[i].volume)
            m_player.setVolume(i, composition.audio[i].volume);
    }
    m_composition = composition;
}

/// Fades the audio at the cuts as exports do. Returns early because most edits change no cut.
void Playback::followCuts()
{
    const auto* project = shown();
    KeptBy by;
    if (project)
        by = {project->edit.cuts, project->duration, project->edit.fade, project->fps};
    if (by == m_keptBy)
        return;
    m_keptBy = std::move(by);
    m_kept = project ? RenderGraph::keptSpans(*project, project->fps) : std::vector<RenderGraph::KeptSpan>();
    std::vector<PreviewPlayer::HeardSpan> heard;
    heard.reserve(m_kept.size());
    for (const auto& kept : m_kept)
        heard.push_back({.span = kept.span, .fadeIn = kept.audioIn, .fadeOut = kept.audioOut});
    m_player.setHeard(std::move(heard));
}

void Playback::follow()
{
    // The same files at the same times continue at the same position.
    if (sameButVolumes(compose(*m_project), m_composition) && cameraOf(*m_project) == m_cameraFile)
        followVolumes();
    else
        m_operation.start(rebuild());
}

void Playback::seek(double seconds)
{
    setTrial(std::nullopt);
    jump(seconds);
}

void Playback::jump(double seconds)
{
    const double time = seconds >= 0 && std::isfinite(seconds) ? seconds : 0;
    m_sought = ticksFor(time, m_project ? static_cast<double>(m_project->fps) : 0);
    m_player.seek(m_sought);
    m_cameraPlayer.seek(m_sought);
    m_announced.reset();
    m_ended = false;
    setPlayhead(time);
}

void Playback::stepFrames(int frames)
{
    if (!m_project || m_project->fps < 1)
        return;
    pause();
    const auto fps = static_cast<double>(m_project->fps);
    const double last = std::max(std::ceil(m_project->duration * fps) - 1, 0.0);
    // Counts from the shown frame, wherever the playhead is within it.
    const double shown = std::floor(m_playhead * fps + 0.001);
    seek(std::clamp(shown + frames, 0.0, last) / fps);
}

void Playback::play()
{
    if (!m_project || m_project.isLocked() || m_preview != Preview::Ready)
        return;
    if (m_ended || m_playhead >= m_project->duration)
        seek(0);
    m_player.play();
}

void Playback::pause()
{
    m_player.pause();
}

const VideoProject* Playback::shown() const
{
    if (m_trial)
        return &m_trial->project;
    return m_project ? &*m_project : nullptr;
}

void Playback::setTrial(std::optional<Trial> trial)
{
    if (!trial && !m_trial)
        return;
    m_trial = std::move(trial);
    m_announced.reset();
    followCuts();
    emit shownChanged();
}

void Playback::tryOut(const EditSuggestion& suggestion)
{
    if (!m_project || m_project.isLocked() || m_preview != Preview::Ready)
        return;
    Trial trial{.project = Suggestions::applied(*m_project, std::span(&suggestion, 1)), .end = 0};
    // Counts only time that remains after the other cuts.
    const auto merged = Timeline::merged(trial.project.edit.cuts, trial.project.duration);
    const double from = [&] {
        double at = suggestion.span.start;
        double left = aroundTrial;
        for (const auto& cut : merged | std::views::reverse) {
            if (cut.start >= at)
                continue;
            if (cut.end < at) {
                if (at - cut.end >= left)
                    break;
                left -= at - cut.end;
            }
            at = cut.start;
        }
        return std::max(at - left, 0.0);
    }();
    trial.end = [&] {
        double at = suggestion.span.end;
        double left = aroundTrial;
        for (const auto& cut : merged) {
            if (cut.end <= at)
                continue;
            if (cut.start > at) {
                if (cut.start - at >= left)
                    break;
                left -= cut.start - at;
            }
            at = cut.end;
        }
        return std::min(at + left, trial.project.duration);
    }();
    jump(from);
    setTrial(std::move(trial));
    m_player.play();
}

void Playback::rewind()
{
    pause();
    setPlayhead(0);
}

void Playback::togglePlaying()
{
    if (m_playing)
        pause();
    else
        play();
}

void Playback::watch(double seconds)
{
    // A paused player reports the tick of the last seek; the playhead is more exact.
    if (m_player.rate() != 0 || seconds != m_sought)
        setPlayhead(std::isfinite(seconds) ? seconds : 0);
    if (m_project && m_player.rate() > 0) {
        if (m_trial && m_playhead >= m_trial->end) {
            pause();
            return;
        }
        const auto cuts = shown()->edit.cuts;
        // Seeks go to whole ticks: a cut ends half a tick early.
        const auto cut = std::ranges::find_if(cuts,
            [&](const TimeSpan& span) { return span.start <= m_playhead && m_playhead + 0.51 / ticksPerSecond < span.end; });
        if (cut != cuts.end())
            jump(cut->end);
        announceNextCut();
    }
    followWithCamera(seconds);
}

/// Lets the player prepare the end of the next cut while it still plays up to the cut.
void Playback::announceNextCut()
{
    const TimeSpan* next = nullptr;
    for (const auto& cut : shown()->edit.cuts) {
        const bool isNear = cut.start > m_playhead && cut.start < m_playhead + announcedAhead;
        if (isNear && cut.start < cut.end && (!next || cut.start < next->start))
            next = &cut;
    }
    if (!next || m_announced == next->end)
        return;
    m_announced = next->end;
    m_player.expectSeek(next->end);
}

void Playback::followWithCamera(double seconds)
{
    if (!m_cameraPlayer.hasComposition())
        return;
    if (!(m_player.rate() > 0) || m_playhead >= m_cameraEnd) {
        m_cameraPlayer.pause();
        return;
    }
    if (std::abs(m_cameraPlayer.position() - m_playhead) > cameraTolerance)
        m_cameraPlayer.seek(seconds);
    if (m_cameraPlayer.rate() != m_player.rate())
        m_cameraPlayer.setRate(m_player.rate());
}

void Playback::notePlaying()
{
    const bool playing = m_player.rate() > 0;
    if (m_playing == playing)
        return;
    m_playing = playing;
    if (!playing)
        setTrial(std::nullopt);
    emit playingChanged();
}

void Playback::setPlayhead(double seconds)
{
    if (m_playhead == seconds)
        return;
    m_playhead = seconds;
    emit playheadChanged();
}

} // namespace orvo
