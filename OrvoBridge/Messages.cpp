#include "OrvoBridge/Messages.h"

#include <algorithm>
#include <cmath>
#include <format>
#include <initializer_list>
#include <memory>
#include <openssl/evp.h>
#include <utility>
#include <yyjson.h>

namespace orvo::bridge {

namespace {

constexpr double maxRecordingSeconds = 7 * 24 * 3600;
constexpr std::size_t maxEvents = 10'000;

using Document = std::unique_ptr<yyjson_doc, void (*)(yyjson_doc*)>;
using MutableDocument = std::unique_ptr<yyjson_mut_doc, void (*)(yyjson_mut_doc*)>;

yyjson_val* require(yyjson_val* object, const char* key)
{
    yyjson_val* value = yyjson_obj_get(object, key);
    if (!value)
        throw ProtocolError(std::format("«{}» is missing", key));
    return value;
}

std::string_view textOf(yyjson_val* object, const char* key)
{
    yyjson_val* value = require(object, key);
    if (!yyjson_is_str(value))
        throw ProtocolError(std::format("«{}» is no text", key));
    return {yyjson_get_str(value), yyjson_get_len(value)};
}

std::int64_t wholeNumber(yyjson_val* object, const char* key, std::int64_t minimum, std::int64_t maximum)
{
    yyjson_val* value = require(object, key);
    // JavaScript may send an integer as 30.0.
    const double number = yyjson_is_num(value) ? yyjson_get_num(value) : NAN;
    if (!(number >= static_cast<double>(minimum) && number <= static_cast<double>(maximum)) || number != std::floor(number))
        throw ProtocolError(std::format("«{}» is no whole number from {} to {}", key, minimum, maximum));
    return static_cast<std::int64_t>(number);
}

double number(yyjson_val* object, const char* key, double minimum, double maximum)
{
    yyjson_val* value = require(object, key);
    const double result = yyjson_is_num(value) ? yyjson_get_num(value) : NAN;
    if (!(result >= minimum && result <= maximum))
        throw ProtocolError(std::format("«{}» is no number from {} to {}", key, minimum, maximum));
    return result;
}

yyjson_val* listOf(yyjson_val* object, const char* key, std::size_t maximum)
{
    yyjson_val* value = require(object, key);
    if (!yyjson_is_arr(value) || yyjson_arr_size(value) > maximum)
        throw ProtocolError(std::format("«{}» is no list of at maximum {}", key, maximum));
    return value;
}

TrackKind trackOf(std::string_view text)
{
    const auto kind = parseTrackKind(text);
    if (!kind
        || !std::ranges::contains(std::initializer_list{TrackKind::screen, TrackKind::microphone, TrackKind::camera}, *kind))
        throw ProtocolError("there is no such track");
    return *kind;
}

Start parseStart(yyjson_val* root)
{
    Start start{.title = std::string(textOf(root, "title")),
        .width = wholeNumber(root, "width", 2, 16'384),
        .height = wholeNumber(root, "height", 2, 16'384),
        .fps = wholeNumber(root, "fps", 1, 240)};
    if (start.title.size() > maxTitleBytes)
        throw ProtocolError("the title is too long");
    if (start.width % 2 != 0 || start.height % 2 != 0)
        throw ProtocolError("the size is odd");
    std::size_t index = 0;
    std::size_t count = 0;
    yyjson_val* item = nullptr;
    yyjson_arr_foreach(listOf(root, "tracks", 3), index, count, item)
    {
        if (!yyjson_is_str(item))
            throw ProtocolError("a track is no text");
        const TrackKind kind = trackOf({yyjson_get_str(item), yyjson_get_len(item)});
        if (std::ranges::contains(start.tracks, kind))
            throw ProtocolError("a track is there twice");
        start.tracks.push_back(kind);
    }
    if (!std::ranges::contains(start.tracks, TrackKind::screen))
        throw ProtocolError("there is no screen track");
    return start;
}

std::string decoded(std::string_view base64)
{
    if (base64.size() % 4 != 0)
        throw ProtocolError("the data is no base64");
    std::string data(base64.size() / 4 * 3, '\0');
    const int length = EVP_DecodeBlock(reinterpret_cast<unsigned char*>(data.data()),
        reinterpret_cast<const unsigned char*>(base64.data()), static_cast<int>(base64.size()));
    if (length < 0 || static_cast<std::size_t>(length) > data.size())
        throw ProtocolError("the data is no base64");
    // The decoder also decodes the padding.
    const auto padding = static_cast<std::size_t>(base64.ends_with("==") ? 2 : base64.ends_with('=') ? 1 : 0);
    data.resize(static_cast<std::size_t>(length) - padding);
    return data;
}

Chunk parseChunk(yyjson_val* root)
{
    return {.track = trackOf(textOf(root, "track")),
        .sequence = wholeNumber(root, "sequence", 0, std::int64_t{1} << 40),
        .data = decoded(textOf(root, "data"))};
}

Starts parseStarts(yyjson_val* root)
{
    Starts starts;
    std::size_t index = 0;
    std::size_t count = 0;
    yyjson_val* item = nullptr;
    yyjson_arr_foreach(listOf(root, "tracks", 3), index, count, item) starts.entries.push_back(
        {.track = trackOf(textOf(item, "track")), .seconds = number(item, "seconds", -60, maxRecordingSeconds)});
    return starts;
}

Pointer parsePointer(yyjson_val* root)
{
    Pointer pointer;
    yyjson_val* list = listOf(root, "events", maxEvents);
    pointer.events.reserve(yyjson_arr_size(list));
    std::size_t index = 0;
    std::size_t count = 0;
    yyjson_val* item = nullptr;
    yyjson_arr_foreach(list, index, count, item)
    {
        const auto kind = parsePointerKind(textOf(item, "kind"));
        if (!kind)
            throw ProtocolError("there is no such event");
        pointer.events.push_back({.time = number(item, "time", 0, maxRecordingSeconds),
            .x = number(item, "x", 0, 1),
            .y = number(item, "y", 0, 1),
            .kind = *kind});
    }
    return pointer;
}

/// Builds a reply of the given type.
class Answer {
public:
    explicit Answer(const char* type)
        : m_document(yyjson_mut_doc_new(nullptr), yyjson_mut_doc_free)
        , m_root(yyjson_mut_obj(m_document.get()))
    {
        yyjson_mut_doc_set_root(m_document.get(), m_root);
        yyjson_mut_obj_add_str(m_document.get(), m_root, "type", type);
    }

    Answer& add(const char* key, std::string_view text)
    {
        yyjson_mut_obj_add_strncpy(m_document.get(), m_root, key, text.data(), text.size());
        return *this;
    }

    Answer& add(const char* key, std::int64_t value)
    {
        yyjson_mut_obj_add_sint(m_document.get(), m_root, key, value);
        return *this;
    }

    std::string text() const
    {
        std::size_t length = 0;
        const std::unique_ptr<char, decltype(&std::free)> written(
            yyjson_mut_write(m_document.get(), YYJSON_WRITE_ALLOW_INVALID_UNICODE, &length), &std::free);
        return {written.get(), length};
    }

private:
    MutableDocument m_document;
    yyjson_mut_val* m_root;
};

} // namespace

Message parseMessage(std::string_view text)
{
    const Document document(yyjson_read(text.data(), text.size(), 0), yyjson_doc_free);
    yyjson_val* root = yyjson_doc_get_root(document.get());
    if (!yyjson_is_obj(root))
        throw ProtocolError("this is no message");
    const std::string_view type = textOf(root, "type");
    if (type == "chunk")
        return parseChunk(root);
    if (type == "pointer")
        return parsePointer(root);
    if (type == "progress")
        return Progress{number(root, "seconds", 0, maxRecordingSeconds)};
    if (type == "hello")
        return Hello{wholeNumber(root, "version", 1, 1'000'000)};
    if (type == "start")
        return parseStart(root);
    if (type == "starts")
        return parseStarts(root);
    if (type == "stop")
        return Stop{number(root, "seconds", 0, maxRecordingSeconds)};
    if (type == "open") {
        const auto project = Uuid::parse(textOf(root, "project"));
        if (!project)
            throw ProtocolError("this is no project");
        return Open{*project};
    }
    throw ProtocolError("there is no such message");
}

namespace answer {

std::string hello()
{
    return Answer("hello").add("version", protocolVersion).text();
}

std::string started(const Uuid& project)
{
    return Answer("started").add("project", project.text()).text();
}

std::string written(TrackKind track, std::int64_t sequence)
{
    return Answer("written").add("track", orvo::textOf(track)).add("sequence", sequence).text();
}

std::string finished(const Uuid& project)
{
    return Answer("finished").add("project", project.text()).text();
}

std::string opened(const Uuid& project)
{
    return Answer("opened").add("project", project.text()).text();
}

std::string failed(Failure failure, std::string_view detail)
{
    constexpr std::string_view names[] = {"busy", "disk", "library", "protocol"};
    return Answer("failed").add("reason", names[std::to_underlying(failure)]).add("detail", detail).text();
}

} // namespace answer

} // namespace orvo::bridge
