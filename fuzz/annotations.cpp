#include "Fuzz.h"
#include "VideoCore/DocumentCodec.h"
#include "VideoCore/Timeline.h"
#include "VideoMedia/ExportService.h"

#include <algorithm>
#include <regex>
#include <string>
#include <vector>

namespace orvo::fuzz {

namespace {

std::vector<std::string_view> linesOf(std::string_view text)
{
    require(text.ends_with('\n'), "a document ends with a line break");
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        const auto length = text.find('\n');
        lines.push_back(text.substr(0, length));
        text.remove_prefix(length + 1);
    }
    return lines;
}

/// Whether a text has no unescaped brace, which would open or close a command.
bool isHarmless(std::string_view text)
{
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\')
            ++i; // An escaped character or a line break.
        else if (text[i] == '{' || text[i] == '}')
            return false;
    }
    return true;
}

void checkEvent(const std::string& line)
{
    static const std::regex form(R"(Dialogue: ([0-3]),(\d+:\d\d:\d\d\.\d\d),(\d+:\d\d:\d\d\.\d\d),Default,,0,0,0,,)"
                                 R"(\{\\pos\(-?\d+,-?\d+\)[^{}]*\})");
    std::smatch match;
    require(std::regex_search(line, match, form, std::regex_constants::match_continuous), "an event has ten fields");
    require(match[1] != "3" || match[0].str().ends_with(")}"), "a text has only a position");
    require(isHarmless(match.suffix().str()), "no text has commands");
    require(line.find_first_of(std::string_view("\r\0", 2)) == line.npos, "no character ends a line early");
}

void checkAnnotations(const VideoProject& project)
{
    constexpr std::size_t headerLines = 9;
    for (const auto& [width, height] : {std::pair<std::int64_t, std::int64_t>{2, 2}, {1920, 1080}}) {
        const std::string document = ExportService::annotations(project, width, height);
        const auto lines = linesOf(document);
        require(lines.size() >= headerLines && lines[headerLines - 2] == "[Events]", "the header is complete");
        for (const auto line : std::span(lines).subspan(headerLines))
            checkEvent(std::string(line));

        const auto texts = std::ranges::count_if(project.edit.overlays, [&](const Overlay& overlay) {
            return overlay.kind == Overlay::Kind::text && overlay.start < std::min(overlay.end, project.duration);
        });
        require(
            texts == std::ranges::count_if(lines, [](std::string_view line) { return line.starts_with("Dialogue: 3,"); }),
            "every visible text is one event");
    }
}

void checkSubtitles(const VideoProject& project)
{
    for (const auto format : {Timeline::SubtitleFormat::subRip, Timeline::SubtitleFormat::webVtt}) {
        const bool vtt = format == Timeline::SubtitleFormat::webVtt;
        static const std::regex times(R"(\d\d+:\d\d:\d\d[.,]\d\d\d --> \d\d+:\d\d:\d\d[.,]\d\d\d)");
        const std::string file = Timeline::subtitles(project, format);
        const auto lines = linesOf(file);
        std::size_t line = 0;
        if (vtt)
            require(lines[line++] == "WEBVTT" && lines[line++].empty(), "the file begins with its signature");
        for (std::size_t cue = 1; line + 1 < lines.size(); ++cue) {
            require(lines.size() - line >= 4, "a cue has four lines");
            require(lines[line++] == std::to_string(cue), "cues are numbered");
            require(std::regex_match(std::string(lines[line++]), times), "a cue has its times");
            require(lines[line].find("-->") == std::string_view::npos
                    && lines[line].find_first_of("<>\r") == std::string_view::npos,
                "no text is markup");
            ++line;
            require(lines[line++].empty(), "an empty line ends a cue");
        }
    }
}

} // namespace

} // namespace orvo::fuzz

// Annotations and subtitle files of any project: no text of the author is parsed as markup.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace orvo;
    try {
        const auto project = decodeDocument(std::string(fuzz::textOf(data, size)));
        fuzz::checkAnnotations(project);
        fuzz::checkSubtitles(project);
    } catch (const DocumentError&) {
        return 0;
    }
    return 0;
}
