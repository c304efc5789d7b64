#pragma once

#include "VideoCore/VideoProject.h"

#include <string>
#include <string_view>
#include <vector>

/// The changes an author makes to a project. Each is a small pure function on a value; the owner of the project applies
/// it to a copy, dates it and saves it. All times are seconds on the recording timeline.
namespace orvo::Edits {

/// A selection must be longer than this to be cut. Seconds.
inline constexpr double shortestCut = 0.01;
/// How long a new overlay is shown, at most to the end of the recording. Seconds.
inline constexpr double overlayLength = 5;

/// Adds a cut. Afterwards the stored cuts are sorted, clamped, disjoint and merged.
void cut(VideoProject& project, TimeSpan span);

/// Removes every cut with exactly this start and end. Returns how many were removed.
std::size_t restore(VideoProject& project, TimeSpan span);

/// Replaces the text of a word. Returns false and changes nothing when no word has this identifier.
bool correctWord(VideoProject& project, const Uuid& id, std::string text);

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

/// The boolean and number fields of `EditState` that an author sets, by document key. Return a null member for any other
/// key.
bool EditState::* flagNamed(std::string_view key);
double EditState::* valueNamed(std::string_view key);

} // namespace orvo::Edits
