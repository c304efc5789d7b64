#pragma once

#include "VideoCore/TextSearch.h"
#include "VideoCore/Transcript.h"
#include "VideoCore/VideoProject.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

/// The changes an author makes to a project. Each is a small pure function on a value; the owner of the project applies
/// it to a copy, dates it and saves it. All times are seconds on the recording timeline.
namespace orvo::Edits {

/// A selection must be longer than this to be cut. Seconds.
inline constexpr double minCut = 0.01;
/// Length of a new overlay in seconds, unless the recording ends earlier.
inline constexpr double overlayLength = 5;

/// Adds a cut. Afterwards the stored cuts are sorted, clamped, disjoint and merged.
void cut(VideoProject& project, TimeSpan span);

/// Removes every cut with exactly this start and end. Returns how many were removed.
std::size_t restore(VideoProject& project, TimeSpan span);

/// Replaces a cut, found by its exact start and end, by another stretch. Returns false and changes nothing when there is no
/// such cut.
bool moveCut(VideoProject& project, TimeSpan stored, TimeSpan span);

/// Replaces the text of a word. Returns false and changes nothing when no word has this identifier.
bool correctWord(VideoProject& project, const Uuid& id, std::string text);

// Edits of the transcript (TranscriptEdits.cpp).

/// Cuts the words with these identifiers, each from its start to its end.
void cutWords(VideoProject& project, std::span<const Uuid> ids);

/// The length of a shortened pause, in seconds.
inline constexpr double shortenedPause = 0.3;
/// Restoring part of a cut also restores remainders shorter than this, in seconds.
inline constexpr double minRest = 0.12;

/// The stretch of these words, from the beginning of the first to the end of the last. The range must not be empty.
TimeSpan spanOf(std::span<const TranscriptWord> words, const Transcript::WordRange& range);

/// Takes the stretch out of every cut. The remainders on both sides stay cut unless they are shorter than `minRest`.
void restorePart(VideoProject& project, TimeSpan span);

/// Cuts every filler word that is not cut. Returns how many.
std::size_t cutFillers(VideoProject& project);

/// The number of pauses that an edit shortened, and the total seconds cut.
struct Shortening {
    std::size_t count = 0;
    double seconds = 0;
};

/// Cuts the middle of a pause so that `shortenedPause` of it remains. Does nothing if no more than that is left.
Shortening shortenPause(VideoProject& project, TimeSpan pause);

/// Shortens every pause of which more than `longerThan` seconds are left.
Shortening shortenPauses(VideoProject& project, double longerThan);

/// Replaces every hit by `text`, word by word. Surplus new words join the last word found; surplus old words are removed,
/// and the last new word takes over their time. A text of blanks changes nothing. Returns how many hits were replaced.
std::size_t replaceText(VideoProject& project, std::span<const TextSearch::Hit> hits, std::string_view text);

/// An overlay shown from `playhead` on, with the default place and width.
Overlay makeOverlay(const VideoProject& project, Overlay::Kind kind, std::string content, double playhead);

/// A zoom point at the centre of the frame with the default length and magnification.
PointerEvent makeZoom(double playhead);

/// Adds the zoom point of a suggestion, or cuts its span.
void apply(VideoProject& project, const EditSuggestion& suggestion);

/// Remove every element with this identifier and return how many were removed.
std::size_t removeEvent(VideoProject& project, const Uuid& id);
std::size_t removeOverlay(VideoProject& project, const Uuid& id);

/// Set one field of the element with this identifier. Return false and change nothing when there is no such element.
bool setEventValue(VideoProject& project, const Uuid& id, double PointerEvent::* field, double value);
bool setOverlayValue(VideoProject& project, const Uuid& id, double Overlay::* field, double value);
bool setVolume(VideoProject& project, const Uuid& trackId, double value);
/// The same for the text of a text overlay. Returns false for an image.
bool setOverlayText(VideoProject& project, const Uuid& id, std::string text);

/// The boolean or number field of a record with this document key, or nullptr. For `EditState`, `Overlay` and
/// `PointerEvent`.
template <typename Value, typename Record> Value Record::* fieldNamed(std::string_view key);

} // namespace orvo::Edits
