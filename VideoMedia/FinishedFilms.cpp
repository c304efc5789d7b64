#include "VideoMedia/FinishedFilms.h"

#include "VideoCore/DocumentCodec.h"
#include "VideoCore/FileIO.h"
#include "VideoMedia/FileState.h"
#include "VideoMedia/RenderGraph.h"
#include "VideoMedia/Sha256.h"

#include <algorithm>
#include <exception>
#include <format>
#include <ranges>
#include <string_view>
#include <vector>

namespace orvo::FinishedFilms {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view fileName = "films.txt";
constexpr std::size_t maxFilms = 8;
constexpr int renderer = 2; ///< Increment when the same edit renders differently.

struct Film {
    std::string signature;
    std::string state;
    std::string path;
};

fs::path listOf(const VideoProject& project, const ProjectStore& store)
{
    return store.directory(project.id) / fileName;
}

/// Films whose files are unchanged, newest first.
std::vector<Film> filmsIn(const fs::path& list)
{
    std::vector<Film> films;
    if (!fs::is_regular_file(list))
        return films;
    const std::string text = readFile(list);
    for (const auto part : std::views::split(std::string_view(text), '\n')) {
        const std::string_view line(part);
        const auto first = line.find(' ');
        const auto second = first == line.npos ? line.npos : line.find(' ', first + 1);
        if (second == line.npos)
            continue;
        Film film{.signature = std::string(line.substr(0, first)),
            .state = std::string(line.substr(first + 1, second - first - 1)),
            .path = std::string(line.substr(second + 1))};
        if (!film.state.empty() && fileState(film.path) == film.state)
            films.push_back(std::move(film));
    }
    return films;
}

} // namespace

std::string signature(const VideoProject& project, const ProjectStore& store, const ExportSettings& settings)
{
    VideoProject shown = project;
    shown.title.clear();
    shown.createdAt = {};
    shown.updatedAt = {};
    shown.publication.reset();
    if (settings.burned() == SubtitleCues::none)
        shown.edit.words = {};
    const auto size = RenderGraph::outputSize(project, settings.height);
    Sha256 sum;
    sum.add(std::format("{}:{}x{}:{}:{}:{}\n", renderer, size.width, size.height, settings.fps, textOf(settings.quality),
        static_cast<int>(settings.burned())));
    if (settings.format != ExportFormat::mp4 || settings.maxBytes)
        sum.add(std::format("{}:{}\n", static_cast<int>(settings.format), settings.maxBytes.value_or(0)));
    if (settings.isWhole)
        sum.add("whole\n");
    sum.add(encodeDocument(shown));
    for (const auto& track : project.tracks)
        sum.add(std::format("\n{}", fileState(store.mediaURL(project, track.file))));
    for (const auto& overlay : project.edit.overlays) {
        if (overlay.kind == Overlay::Kind::image)
            sum.add(std::format("\n{}", fileState(store.mediaURL(project, overlay.content))));
    }
    return sum.finish();
}

std::optional<fs::path> find(const VideoProject& project, const ProjectStore& store, const std::string& signature)
{
    try {
        const auto films = filmsIn(listOf(project, store));
        const auto found = std::ranges::find(films, signature, &Film::signature);
        return found == films.end() ? std::nullopt : std::optional<fs::path>(found->path);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

void remember(const VideoProject& project, const ProjectStore& store, const std::string& signature, const fs::path& film)
{
    try {
        if (film.native().contains('\n'))
            return;
        const fs::path list = listOf(project, store);
        std::string text = std::format("{} {} {}\n", signature, fileState(film), film.string());
        std::size_t count = 1;
        for (const auto& other : filmsIn(list)) {
            if (other.path != film && count++ < maxFilms)
                text += std::format("{} {} {}\n", other.signature, other.state, other.path);
        }
        writeFileAtomically(list, text);
    } catch (const std::exception&) { // NOLINT(bugprone-empty-catch): the next export renders again.
    }
}

} // namespace orvo::FinishedFilms
