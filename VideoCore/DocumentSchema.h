#pragma once

#include "VideoCore/VideoProject.h"

#include <string_view>
#include <tuple>

/// The keys of every record of the document and their fields, in sorted order. Encoder and decoder both follow these
/// tables, so that they cannot disagree.

namespace orvo::schema {

template <typename Record, typename Value> struct Field {
    std::string_view key;
    Value Record::* member;
};

template <typename Record, typename Value> Field(std::string_view, Value Record::*) -> Field<Record, Value>;

template <typename Record> inline constexpr auto fieldsOf = nullptr;

template <>
inline constexpr auto fieldsOf<TimeSpan> = std::tuple{
    Field{"end", &TimeSpan::end},
    Field{"start", &TimeSpan::start},
};

template <>
inline constexpr auto fieldsOf<MediaTrack> = std::tuple{
    Field{"duration", &MediaTrack::duration},
    Field{"file", &MediaTrack::file},
    Field{"id", &MediaTrack::id},
    Field{"kind", &MediaTrack::kind},
    Field{"start", &MediaTrack::start},
    Field{"volume", &MediaTrack::volume},
};

template <>
inline constexpr auto fieldsOf<TranscriptWord> = std::tuple{
    Field{"end", &TranscriptWord::end},
    Field{"id", &TranscriptWord::id},
    Field{"start", &TranscriptWord::start},
    Field{"text", &TranscriptWord::text},
};

template <>
inline constexpr auto fieldsOf<PointerEvent> = std::tuple{
    Field{"duration", &PointerEvent::duration},
    Field{"id", &PointerEvent::id},
    Field{"kind", &PointerEvent::kind},
    Field{"scale", &PointerEvent::scale},
    Field{"time", &PointerEvent::time},
    Field{"x", &PointerEvent::x},
    Field{"y", &PointerEvent::y},
};

template <>
inline constexpr auto fieldsOf<Overlay> = std::tuple{
    Field{"content", &Overlay::content},
    Field{"end", &Overlay::end},
    Field{"id", &Overlay::id},
    Field{"kind", &Overlay::kind},
    Field{"start", &Overlay::start},
    Field{"width", &Overlay::width},
    Field{"x", &Overlay::x},
    Field{"y", &Overlay::y},
};

template <>
inline constexpr auto fieldsOf<EditState> = std::tuple{
    Field{"cameraVisible", &EditState::cameraVisible},
    Field{"cameraWidth", &EditState::cameraWidth},
    Field{"cameraX", &EditState::cameraX},
    Field{"cameraY", &EditState::cameraY},
    Field{"clickHalo", &EditState::clickHalo},
    Field{"cuts", &EditState::cuts},
    Field{"events", &EditState::events},
    Field{"fade", &EditState::fade},
    Field{"noiseReduction", &EditState::noiseReduction},
    Field{"normalizeVoice", &EditState::normalizeVoice},
    Field{"overlays", &EditState::overlays},
    Field{"pointerHighlight", &EditState::pointerHighlight},
    Field{"sharpen", &EditState::sharpen},
    Field{"words", &EditState::words},
};

template <>
inline constexpr auto fieldsOf<Publication> = std::tuple{
    Field{"domains", &Publication::domains},
    Field{"publicLink", &Publication::publicLink},
    Field{"url", &Publication::url},
    Field{"videoID", &Publication::videoID},
};

template <>
inline constexpr auto fieldsOf<VideoProject> = std::tuple{
    Field{"createdAt", &VideoProject::createdAt},
    Field{"duration", &VideoProject::duration},
    Field{"edit", &VideoProject::edit},
    Field{"fps", &VideoProject::fps},
    Field{"height", &VideoProject::height},
    Field{"id", &VideoProject::id},
    Field{"publication", &VideoProject::publication},
    Field{"schemaVersion", &VideoProject::schemaVersion},
    Field{"state", &VideoProject::state},
    Field{"title", &VideoProject::title},
    Field{"tracks", &VideoProject::tracks},
    Field{"updatedAt", &VideoProject::updatedAt},
    Field{"width", &VideoProject::width},
};

/// A type with a table of fields; encoded as an object.
template <typename T>
concept Record = !std::is_null_pointer_v<std::remove_cvref_t<decltype(fieldsOf<T>)>>;

template <Record T> inline constexpr std::size_t fieldCount = std::tuple_size_v<std::remove_cvref_t<decltype(fieldsOf<T>)>>;

} // namespace orvo::schema
