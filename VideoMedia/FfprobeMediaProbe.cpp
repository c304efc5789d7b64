#include "VideoMedia/FfprobeMediaProbe.h"

#include "VideoCore/Error.h"
#include "VideoMedia/ProcessRunner.h"

#include <charconv>
#include <cmath>
#include <format>
#include <memory>
#include <optional>
#include <string_view>
#include <unistd.h>
#include <yyjson.h>

namespace orvo {

namespace fs = std::filesystem;

namespace {

/// Containers that hold media themselves, by ffmpeg's names. Excludes playlists and scripts.
constexpr std::string_view containers = "aac,ac3,aiff,asf,avi,caf,dv,eac3,flac,flv,gif,h264,hevc,image2,jpeg_pipe,matroska,"
                                        "webm,mov,mp4,m4a,3gp,3g2,mj2,mp3,mpeg,mpegts,"
                                        "mxf,nut,ogg,png_pipe,rm,wav,w64,webp_pipe,wtv,y4m,yuv4mpegpipe";

/// The requested fields, for `-show_entries`.
constexpr std::string_view wantedEntries =
    "format=duration:"
    "stream=codec_type,codec_name,width,height,pix_fmt,color_range,avg_frame_rate,channels,bit_rate:"
    "stream_disposition=attached_pic:"
    "stream_side_data=rotation";

/// The `ffprobe` beside `ffmpeg`, or beside the target of its link.
std::optional<fs::path> findFfprobe(const fs::path& ffmpeg)
{
    std::error_code ignored;
    for (const auto& program : {ffmpeg, fs::canonical(ffmpeg, ignored)}) {
        fs::path candidate = program.parent_path() / "ffprobe";
        if (::access(candidate.c_str(), X_OK) == 0)
            return candidate;
    }
    return std::nullopt;
}

std::string_view text(yyjson_val* object, const char* key)
{
    yyjson_val* value = yyjson_obj_get(object, key);
    return yyjson_is_str(value) ? std::string_view(yyjson_get_str(value), yyjson_get_len(value)) : std::string_view();
}

/// Parses a number from ffprobe's text.
std::optional<double> number(std::string_view digits)
{
    double value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error != std::errc() || end == digits.data())
        return std::nullopt;
    return value;
}

/// Parses a fraction such as "30000/1001"; returns 0 for any other text.
double fraction(std::string_view value)
{
    const std::size_t slash = value.find('/');
    if (slash == std::string_view::npos)
        return number(value).value_or(0);
    const double over = number(value.substr(slash + 1)).value_or(0);
    return over > 0 ? number(value.substr(0, slash)).value_or(0) / over : 0;
}

/// Clockwise degrees of the display matrix; files store them counter-clockwise.
int rotation(yyjson_val* stream)
{
    std::size_t index = 0;
    std::size_t count = 0;
    yyjson_val* data = nullptr;
    yyjson_arr_foreach(yyjson_obj_get(stream, "side_data_list"), index, count, data)
    {
        yyjson_val* degrees = yyjson_obj_get(data, "rotation");
        if (!yyjson_is_num(degrees))
            continue;
        const auto quarters = std::lround(-yyjson_get_num(degrees) / 90);
        return static_cast<int>((quarters % 4 + 4) % 4 * 90);
    }
    return 0;
}

bool isCoverImage(yyjson_val* stream)
{
    return yyjson_get_int(yyjson_obj_get(yyjson_obj_get(stream, "disposition"), "attached_pic")) != 0;
}

MediaFacts factsIn(yyjson_val* root)
{
    MediaFacts facts;
    facts.duration = number(text(yyjson_obj_get(root, "format"), "duration"));
    std::size_t index = 0;
    std::size_t count = 0;
    yyjson_val* stream = nullptr;
    yyjson_arr_foreach(yyjson_obj_get(root, "streams"), index, count, stream)
    {
        const auto type = text(stream, "codec_type");
        if (type == "audio" && facts.audioStreams++ == 0) {
            facts.audio = MediaFacts::Audio{.codec = std::string(text(stream, "codec_name")),
                .channels = yyjson_get_int(yyjson_obj_get(stream, "channels")),
                .bitRate = static_cast<std::int64_t>(number(text(stream, "bit_rate")).value_or(0))};
        }
        if (type == "video" && !facts.video && !isCoverImage(stream)) {
            facts.video = MediaFacts::Video{.width = yyjson_get_sint(yyjson_obj_get(stream, "width")),
                .height = yyjson_get_sint(yyjson_obj_get(stream, "height")),
                .rotation = rotation(stream),
                .frameRate = fraction(text(stream, "avg_frame_rate")),
                .codec = std::string(text(stream, "codec_name")),
                .pixelFormat = std::string(text(stream, "pix_fmt")),
                .colorRange = std::string(text(stream, "color_range"))};
        }
    }
    return facts;
}

} // namespace

MediaFacts FfprobeMediaProbe::facts(const fs::path& file, const std::stop_token& stop) const
{
    const auto ffprobe = findFfprobe(ProcessRunner::requireFfmpeg());
    if (!ffprobe)
        throw captureError("Falta ffprobe, que viene con FFmpeg. Vuelve a instalar FFmpeg.");
    const auto unreadable = [&] {
        return captureError(std::format("«{}» no se puede leer como archivo de vídeo o sonido.", file.filename().string()));
    };
    std::string answer;
    try {
        answer = ProcessRunner::run(*ffprobe,
            {"-v", "quiet", "-protocol_whitelist", "file", "-format_whitelist", std::string(containers), "-show_entries",
                std::string(wantedEntries), "-of", "json", fs::absolute(file).string()},
            {}, 0, stop);
    } catch (const Error&) {
        throw unreadable();
    }
    const std::unique_ptr<yyjson_doc, decltype(&yyjson_doc_free)> parsed(
        yyjson_read(answer.data(), answer.size(), 0), &yyjson_doc_free);
    yyjson_val* root = yyjson_doc_get_root(parsed.get());
    if (!root || yyjson_arr_size(yyjson_obj_get(root, "streams")) == 0)
        throw unreadable();
    return factsIn(root);
}

} // namespace orvo
