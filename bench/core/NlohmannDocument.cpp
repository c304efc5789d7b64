#include "core/NlohmannDocument.h"

#include <nlohmann/json.hpp>
#include <stdexcept>

namespace nlohmann {

template <typename T> struct adl_serializer<orvo::SharedList<T>> {
    static void to_json(json& out, const orvo::SharedList<T>& list) { out = list.items(); }
    static void from_json(const json& in, orvo::SharedList<T>& list)
    {
        list = orvo::SharedList<T>(in.get<std::vector<T>>());
    }
};

template <> struct adl_serializer<orvo::DateTime> {
    static void to_json(json& out, const orvo::DateTime& instant) { out = orvo::formatIso8601(instant); }
    static void from_json(const json& in, orvo::DateTime& instant)
    {
        instant = orvo::parseIso8601(in.get<std::string>()).value();
    }
};

} // namespace nlohmann

namespace orvo {

void to_json(nlohmann::json& out, const Uuid& id)
{
    out = id.text();
}

void from_json(const nlohmann::json& in, Uuid& id)
{
    id = Uuid::parse(in.get<std::string>()).value();
}

NLOHMANN_JSON_SERIALIZE_ENUM(TrackKind,
    {{TrackKind::screen, "screen"}, {TrackKind::camera, "camera"}, {TrackKind::microphone, "microphone"},
        {TrackKind::system, "system"}, {TrackKind::clip, "clip"}})
NLOHMANN_JSON_SERIALIZE_ENUM(
    PointerKind, {{PointerKind::move, "move"}, {PointerKind::click, "click"}, {PointerKind::zoom, "zoom"}})

// Reuses the conversion of the document code.
void to_json(nlohmann::json& out, const Overlay::Kind& kind)
{
    out = textOf(kind);
}

void from_json(const nlohmann::json& in, Overlay::Kind& kind)
{
    kind = parseOverlayKind(in.get<std::string>()).value();
}

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(TimeSpan, start, end)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(MediaTrack, id, kind, file, start, duration, volume)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(TranscriptWord, id, text, start, end)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(PointerEvent, id, time, x, y, kind, duration, scale)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Overlay, id, kind, content, start, end, x, y, width)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(EditState, cuts, overlays, words, events, cameraX, cameraY, cameraWidth, cameraVisible,
    clickHalo, pointerHighlight, noiseReduction, normalizeVoice, sharpen, fade)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Publication, videoID, url, domains, publicLink)

void to_json(nlohmann::json& out, const VideoProject& project)
{
    out = {{"schemaVersion", project.schemaVersion}, {"id", project.id}, {"title", project.title},
        {"createdAt", project.createdAt}, {"updatedAt", project.updatedAt}, {"duration", project.duration},
        {"width", project.width}, {"height", project.height}, {"fps", project.fps}, {"state", project.state},
        {"tracks", project.tracks}, {"edit", project.edit}};
    if (project.publication)
        out["publication"] = *project.publication;
}

void from_json(const nlohmann::json& in, VideoProject& project)
{
    in.at("schemaVersion").get_to(project.schemaVersion);
    in.at("id").get_to(project.id);
    in.at("title").get_to(project.title);
    in.at("createdAt").get_to(project.createdAt);
    in.at("updatedAt").get_to(project.updatedAt);
    in.at("duration").get_to(project.duration);
    in.at("width").get_to(project.width);
    in.at("height").get_to(project.height);
    in.at("fps").get_to(project.fps);
    in.at("state").get_to(project.state);
    in.at("tracks").get_to(project.tracks);
    in.at("edit").get_to(project.edit);
    if (in.contains("publication"))
        project.publication = in.at("publication").get<Publication>();
}

namespace bench {

std::string encodeWithNlohmann(const VideoProject& project)
{
    return nlohmann::json(project).dump(2) + '\n';
}

VideoProject decodeWithNlohmann(std::string_view document)
{
    return nlohmann::json::parse(document).get<VideoProject>();
}

} // namespace bench

} // namespace orvo
