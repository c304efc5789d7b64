#pragma once

#include "VideoCore/DateTime.h"
#include "VideoCore/SharedList.h"
#include "VideoCore/Uuid.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// The records of the project document.
///
/// All of them are plain values with field-by-field equality. Times are seconds on the recording timeline (0 is the first
/// frame of the screen track). Positions and sizes on the frame are fractions of it, with the origin at the top left.

namespace orvo {

/// The content of a media file of a project.
enum class TrackKind : std::uint8_t { screen, camera, microphone, system, clip };

/// The kind of a logged pointer event.
enum class PointerKind : std::uint8_t { move, click, zoom };

/// The kind of a suggestion.
enum class SuggestionKind : std::uint8_t { silence, filler, zoom };

/// The document text of an enumeration value, and its parser.
std::string_view textOf(TrackKind kind);
std::string_view textOf(PointerKind kind);
std::string_view textOf(SuggestionKind kind);
std::optional<TrackKind> parseTrackKind(std::string_view text);
std::optional<PointerKind> parsePointerKind(std::string_view text);

/// All kinds of track, in declaration order.
std::span<const TrackKind> allTrackKinds();

/// A stretch of the timeline: a cut, a kept stretch, a selection. Not necessarily ordered or within the recording.
struct TimeSpan {
    double start = 0; ///< Seconds.
    double end = 0; ///< Seconds.

    /// `end` − `start` when that is zero or more; otherwise (also for NaN) 0.
    double duration() const noexcept;

    friend bool operator==(const TimeSpan&, const TimeSpan&) = default;
};

/// One media file of a project.
struct MediaTrack {
    Uuid id = Uuid::random();
    TrackKind kind = TrackKind::screen;
    std::string file; ///< Relative to the project folder; resolved only by `ProjectStore::mediaURL`.
    double start = 0; ///< Position of the file's first sample, in seconds.
    double duration = 0; ///< Length of the file's media, in seconds.
    double volume = 1; ///< Linear gain of the track's audio.

    friend bool operator==(const MediaTrack&, const MediaTrack&) = default;
};

/// One recognised word of the transcript.
struct TranscriptWord {
    Uuid id = Uuid::random();
    std::string text;
    double start = 0; ///< Seconds.
    double end = 0; ///< Seconds.

    friend bool operator==(const TranscriptWord&, const TranscriptWord&) = default;
};

/// One logged pointer event, or one zoom point.
struct PointerEvent {
    Uuid id = Uuid::random();
    double time = 0; ///< Seconds.
    double x = 0; ///< Fraction of the captured width; may lie outside 0..1.
    double y = 0; ///< Fraction of the captured height; may lie outside 0..1.
    PointerKind kind = PointerKind::move;
    double duration = 2.5; ///< How long a zoom point holds, in seconds.
    double scale = 1.8; ///< Magnification of a zoom point; the export limits it to 1..4.

    friend bool operator==(const PointerEvent&, const PointerEvent&) = default;
};

/// A text or an image shown over the video.
struct Overlay {
    enum class Kind : std::uint8_t { text, image };

    Uuid id = Uuid::random();
    Kind kind = Kind::text;
    std::string content; ///< The text, or the image's path relative to the project folder.
    double start = 0; ///< Seconds.
    double end = 5; ///< Seconds.
    double x = 0.08; ///< Left edge, fraction of the frame width.
    double y = 0.08; ///< Top edge, fraction of the frame height.
    double width = 0.3; ///< Fraction of the frame width; images only.

    friend bool operator==(const Overlay&, const Overlay&) = default;
};

std::string_view textOf(Overlay::Kind kind);
std::optional<Overlay::Kind> parseOverlayKind(std::string_view text);

/// The whole non-destructive edit of a project.
struct EditState {
    SharedList<TimeSpan> cuts; ///< Stretches to remove, as the user made them; merged on use.
    SharedList<Overlay> overlays;
    SharedList<TranscriptWord> words; ///< The transcript, in time order.
    SharedList<PointerEvent> events;
    double cameraX = 0.75; ///< Left edge of the camera frame, fraction of the frame width.
    double cameraY = 0.72; ///< Top edge of the camera frame, fraction of the frame height.
    double cameraWidth = 0.22; ///< Fraction of the frame width.
    bool cameraVisible = true;
    bool clickHalo = true;
    bool pointerHighlight = true;
    bool noiseReduction = true;
    bool normalizeVoice = true;
    bool sharpen = false;
    double fade = 0.15; ///< Fade at both ends of every kept stretch, in seconds.

    friend bool operator==(const EditState&, const EditState&) = default;
};

/// The publication of a project on a server.
struct Publication {
    std::string videoID; ///< The server's identifier of the video.
    std::string url; ///< Public address of the player page.
    std::vector<std::string> domains; ///< Web origins that may embed the player.
    bool publicLink = false; ///< Whether the link may be opened outside those origins.

    friend bool operator==(const Publication&, const Publication&) = default;
};

/// The project document. Its text form is in DocumentCodec.h.
struct VideoProject {
    /// The only format version that is read and written.
    static constexpr std::int64_t currentSchemaVersion = 1;

    std::int64_t schemaVersion = currentSchemaVersion;
    Uuid id;
    std::string title;
    DateTime createdAt;
    DateTime updatedAt;
    double duration = 0; ///< Length of the recorded timeline before cuts, in seconds.
    std::int64_t width = 1920; ///< Pixels.
    std::int64_t height = 1080; ///< Pixels.
    std::int64_t fps = 30; ///< Frames per second.
    std::string state = "ready"; ///< One of the texts in `ProjectState`, or an unknown one.
    SharedList<MediaTrack> tracks;
    EditState edit;
    std::optional<Publication> publication;

    /// A new project with the given title, a new identifier, the current time and defaults for everything else.
    static VideoProject make(std::string title);

    /// Length of the video after the cuts, in seconds.
    double playableDuration() const;

    friend bool operator==(const VideoProject&, const VideoProject&) = default;
};

/// The values of `VideoProject::state` that the application writes and checks.
namespace ProjectState {
inline constexpr std::string_view ready = "ready";
inline constexpr std::string_view recording = "recording"; ///< Also the prefix of every state of a running recording.
inline constexpr std::string_view recordingTab = "recording-tab";
inline constexpr std::string_view processingTab = "processing-tab";
inline constexpr std::string_view recoverable = "recoverable";
inline constexpr std::string_view recoverableTab = "recoverable-tab";
inline constexpr std::string_view needsRecovery = "needs-recovery";
inline constexpr std::string_view importFailed = "import-failed"; ///< It has no tracks; `MovieImport::failure` says why.
} // namespace ProjectState

/// A suggestion of the analysis. Never saved.
struct EditSuggestion {
    Uuid id = Uuid::random();
    SuggestionKind kind = SuggestionKind::silence;
    TimeSpan span; ///< The stretch concerned.
    std::string label; ///< Shown to the user, in Spanish.
    std::optional<PointerEvent> event; ///< The zoom point to add, for a zoom suggestion.

    friend bool operator==(const EditSuggestion&, const EditSuggestion&) = default;
};

} // namespace orvo
